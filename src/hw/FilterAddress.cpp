#include "hw/FilterAddress.h"

#include <cstring>

#include <fmt/format.h>

#include "hw/RegisterLayout.h"

namespace Kestrix {

FilterAddress filterAddress(Platform::IntfId intf, const IntfIdToPortGroupId& intfMap) {
  return {static_cast<uint16_t>(Platform::DownstreamIntfId::coreId(intf) - 1),
          static_cast<uint16_t>(intfMap.portGroupMap(intf) - 1)};
}

FilterPath::FilterPath(const FilterAddress& address, Acl::AclDirection direction) {
  const auto [core, portGroup] = address;
  const auto end = direction == Acl::AclDirection::in
                       ? fmt::format_to(text_.begin(), Layout::kInputFilter, core, portGroup)
                       : fmt::format_to(text_.begin(), Layout::kOutputFilter, core, portGroup);
  baseSize_ = slotSize_ = static_cast<size_t>(end - text_.begin());
}

void FilterPath::slotIs(uint8_t slot) {
  slotSize_ = static_cast<size_t>(fmt::format_to(text_.begin() + baseSize_, Layout::kRuleSlot, slot) - text_.begin());
}

std::string_view FilterPath::append(size_t prefixSize, std::string_view name) {
  std::memcpy(text_.data() + prefixSize, name.data(), name.size());
  return {text_.data(), prefixSize + name.size()};
}

}  // namespace Kestrix
