#include "hw/LinkMonitor.h"

#include <fmt/format.h>

#include "hw/RegisterLayout.h"

namespace Kestrix {

std::string linkMonitorPath(const FilterAddress& address) {
  return fmt::format(Layout::kLinkMonitor, address.coreIndex, address.portGroupIndex);
}

uint32_t linkMonitorValue(uint32_t old, bool block) {
  return (old & Layout::kLinkMonitorKept) | (block ? Layout::kLinkMonitorBlock : 0);
}

}  // namespace Kestrix
