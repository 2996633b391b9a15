#include "simulate/SimFpga.h"

namespace Sim {

uint32_t SimFpga::regRead(std::string_view path) noexcept { return value(path); }

void SimFpga::regWrite(std::string_view path, uint32_t value) noexcept {
  if (failWrites_.contains(++writes_)) {
    error().errorIs(true);
    failed_.push_back({writes_, std::string(path)});
    stale_.emplace(path);
    return;
  }
  if (const auto stale = stale_.find(path); stale != stale_.end()) stale_.erase(stale);
  const auto place = registers_.lower_bound(path);
  if (place != registers_.end() && place->first == path) {
    place->second = value;
  } else {
    registers_.emplace_hint(place, path, value);
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

}  // namespace Sim
