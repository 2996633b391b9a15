#include "SimFpga.h"

namespace Sim {

uint32_t SimFpga::regRead(std::string_view path) noexcept {
  const uint32_t read = value(path);
  accesses_.push_back({.write = false, .path = std::string(path), .value = read});
  return read;
}

void SimFpga::regWrite(std::string_view path, uint32_t value) noexcept {
  const bool failed = failWrites_.contains(++writes_);
  accesses_.push_back({.write = true, .path = std::string(path), .value = value, .failed = failed});
  if (failed) {
    error().errorIs(true);
    stale_.emplace(path);
  } else {
    if (const auto stale = stale_.find(path); stale != stale_.end()) stale_.erase(stale);
    registers_.insert_or_assign(std::string(path), value);
  }
}

uint32_t SimFpga::value(std::string_view path) const {
  const auto found = registers_.find(path);
  return found == registers_.end() ? 0 : found->second;
}

bool SimFpga::isStale(std::string_view path) const {
  const auto first = stale_.lower_bound(path);
  return first != stale_.end() && first->starts_with(path);
}

std::vector<SimFpga::FailedWrite> SimFpga::failedWrites() const {
  std::vector<FailedWrite> failed;
  uint64_t number = 0;
  for (const Access& access : accesses_) {
    if (!access.write) continue;
    ++number;
    if (access.failed) failed.push_back({number, access.path});
  }
  return failed;
}

}  // namespace Sim
