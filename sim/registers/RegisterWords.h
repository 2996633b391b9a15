// The filters of a device, read back from its registers and put into words.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "hw/RegisterLayout.h"
#include "platform/acl/AclTypes.h"
#include "platform/network/IntfId.h"
#include "read/Device.h"

namespace Sim {

// What a device has at the path of a register; 0 where it has nothing.
using RegisterAt = std::function<uint32_t(const std::string& path)>;

// A bit of a register.
struct BitWords {
  uint8_t bit = 0;
  bool isSet = false;
  std::string meaning;  // Of the set bit; empty for a bit that has none.
};

// One slot, as its registers are.
struct SlotDump {
  uint8_t slot = 0;
  std::array<uint32_t, Kestrix::Layout::kSlotRegisters.size()> values{};  // In the order of the layout.

  bool operator==(const SlotDump&) const = default;
  bool isZero() const { return values == decltype(values){}; }
  uint32_t value(const Kestrix::Layout::SlotRegister& row) const { return values[positionOf(row)]; }
};

// One filter, as its registers are.
struct FilterDump {
  Platform::IntfId intf;
  Acl::AclDirection direction = Acl::AclDirection::in;
  std::string path = {};                                                    // With a slash at its end.
  std::array<uint32_t, Kestrix::Layout::kFilterRegisters.size()> values{};  // In the order of the layout.
  std::vector<SlotDump> slots = {};                                         // All that the filter has.

  bool operator==(const FilterDump&) const = default;
  bool isZero() const;
  uint32_t value(const Kestrix::Layout::FilterRegister& row) const { return values[positionOf(row)]; }
  bool isSet(const Kestrix::Layout::FilterRegister& row, const Kestrix::Layout::FlagBit& flag) const {
    return (value(row) & flag.mask) != 0;
  }
  bool isSet(const Kestrix::Layout::FilterRegister& row, uint8_t slot) const {
    return (value(row) & row.slotBit(slot)) != 0;
  }
  bool slotEnabled(uint8_t slot) const;
  unsigned slotsInUse() const;
  bool permitsUnmatched() const;

  // Every set bit of a register in words.
  std::string words(const Kestrix::Layout::FilterRegister& row) const;
  // What a packet must be to meet the slot, and what becomes of it.
  std::string slotWords(const SlotDump& slot) const;
  // The bits of a register, the highest first.
  std::vector<BitWords> bits(const Kestrix::Layout::FilterRegister& row) const;
  // What is in a register of a slot, as the filter reads it: "port 53", "wildcard 0.0.0.255".
  std::string slotRegisterWords(const SlotDump& slot, const Kestrix::Layout::SlotRegister& row) const;
};

// All filters of the device.
class FilterDumps {
 public:
  FilterDumps(const RegisterAt& registerAt, const Device& device);

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
