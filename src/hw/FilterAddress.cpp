#include "hw/FilterAddress.h"

#include <fmt/compile.h>

#include "hw/RegisterLayout.h"

namespace Kestrix {

FilterAddress filterAddress(Platform::IntfId intf, const IntfIdToPortGroupId& intfMap) {
  return {static_cast<uint16_t>(Platform::DownstreamIntfId::coreId(intf) - 1),
          static_cast<uint16_t>(intfMap.portGroupMap(intf) - 1)};
}

FilterPath::FilterPath(const FilterAddress& address, Acl::AclDirection direction) {
  const auto [core, portGroup] = address;
  const auto end = direction == Acl::AclDirection::in
                       ? fmt::format_to(text_.begin(), FMT_COMPILE(Layout::kInputFilter), core, portGroup)
                       : fmt::format_to(text_.begin(), FMT_COMPILE(Layout::kOutputFilter), core, portGroup);
  baseSize_ = slotSize_ = static_cast<size_t>(end - text_.begin());
}

void FilterPath::slotIs(uint8_t slot) {
  slotSize_ = static_cast<size_t>(fmt::format_to(text_.begin() + baseSize_, FMT_COMPILE(Layout::kRuleSlot), slot) -
                                  text_.begin());
}

}  // namespace Kestrix
