// The filters of the simulated FPGA, read back from its registers and put into words.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/acl/AclTypes.h"
#include "platform/network/IntfId.h"
#include "read/Device.h"

namespace Sim {

class SimFpga;

struct SlotRegisters {
  uint8_t slot = 0;
  uint32_t maskHigh = 0;
  uint32_t maskLow = 0;
  uint32_t addrHigh = 0;
  uint32_t addrLow = 0;

  bool operator==(const SlotRegisters&) const = default;
  bool isZero() const { return maskHigh == 0 && maskLow == 0 && addrHigh == 0 && addrLow == 0; }
};

// One filter, as its registers are.
struct FilterDump {
  Platform::IntfId intf;
  Acl::AclDirection direction = Acl::AclDirection::in;
  std::string path;  // With a slash at its end.
  uint32_t enable = 0;
  uint32_t action = 0;
  uint32_t tcp = 0;
  uint32_t udp = 0;
  std::vector<SlotRegisters> slots;  // All that the filter has.

  bool operator==(const FilterDump&) const = default;
  bool isZero() const;
  bool slotEnabled(uint8_t slot) const;
  unsigned slotsInUse() const;
  bool permitsUnmatched() const;

  // Every set bit in words.
  std::string enableWords() const;
  std::string actionWords() const;
  std::string tcpWords() const;
  std::string udpWords() const;
  // What a packet must be to meet the slot, and what becomes of it.
  std::string slotWords(const SlotRegisters& registers) const;
};

// All filters of the device.
class FilterDumps {
 public:
  FilterDumps(const SimFpga& fpga, const Device& device);

  // In the order of the device's interfaces, ingress before egress.
  const std::vector<FilterDump>& all() const { return all_; }
  // The filter of an interface of the device.
  const FilterDump& of(Platform::IntfId intf, Acl::AclDirection direction) const {
    return all_[ingress_.at(intf) + (direction == Acl::AclDirection::in ? 0 : 1)];
  }

 private:
  std::vector<FilterDump> all_;
  std::unordered_map<Platform::IntfId, size_t> ingress_;  // Positions of the ingress filters.
};

}  // namespace Sim
