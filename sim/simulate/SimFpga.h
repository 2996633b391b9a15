// The simulated FPGA: a register file behind the transport, which remembers the writes that failed.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/agent/TransportMethod.h"
#include "simulate/Outcome.h"

namespace Sim {

class SimFpga : public Platform::TransportMethod {
 public:
  // The numbers, from 1, of the writes that are to fail. A failed write leaves its register as it was.
  explicit SimFpga(std::set<uint64_t> failWrites = {}) : failWrites_(std::move(failWrites)) {}

  uint32_t regRead(std::string_view path) noexcept override;
  void regWrite(std::string_view path, uint32_t value) noexcept override;

  // What a register holds; 0 before its first write.
  uint32_t value(std::string_view path) const;
  // The same, for who reads a device's registers; to be used while this lives.
  std::function<uint32_t(std::string_view)> reader() const {
    return [this](std::string_view path) { return value(path); };
  }
  uint64_t writes() const { return writes_; }

  // In their order.
  const std::vector<FailedWrite>& failedWrites() const { return failed_; }
  // Whether a register below `path` has not taken its last write.
  bool isStale(std::string_view path) const;

 private:
  std::set<uint64_t> failWrites_;
  std::map<std::string, uint32_t, std::less<>> registers_;  // Those of a filter next to one another, as they are used.
  std::set<std::string, std::less<>> stale_;                // Registers whose last write failed.
  std::vector<FailedWrite> failed_;
  uint64_t writes_ = 0;
};

}  // namespace Sim
