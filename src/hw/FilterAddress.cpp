#include "hw/FilterAddress.h"

#include <fmt/compile.h>

#include "hw/RegisterLayout.h"

namespace Kestrix {
namespace {

// The part of a path that names a slot. All of them are made when this is compiled.
struct SlotText {
  std::array<char, 16> text{};
  size_t size = 0;
};
constexpr std::array<SlotText, Layout::kMaxSlots> slotTexts() {
  std::array<SlotText, Layout::kMaxSlots> slots;
  uint8_t number = 0;
  for (SlotText& slot : slots) {
    const char* const end = fmt::format_to(slot.text.data(), FMT_COMPILE(Layout::kRuleSlot), number++);
    slot.size = static_cast<size_t>(end - slot.text.data());
  }
  return slots;
}
constexpr std::array kSlotTexts = slotTexts();

}  // namespace

FilterAddress filterAddress(Platform::IntfId intf, const IntfIdToPortGroupId& intfMap) {
  return {static_cast<uint16_t>(Platform::DownstreamIntfId::coreId(intf) - 1),
          static_cast<uint16_t>(intfMap.portGroupMap(intf) - 1)};
}

FilterPath::FilterPath(const FilterAddress& address, Acl::AclDirection direction) {
  const auto [core, portGroup] = address;
  const auto end = direction == Acl::AclDirection::in
                       ? fmt::format_to(text_.begin(), FMT_COMPILE(Layout::kIngressFilter), core, portGroup)
                       : fmt::format_to(text_.begin(), FMT_COMPILE(Layout::kEgressFilter), core, portGroup);
  baseSize_ = slotSize_ = static_cast<size_t>(end - text_.begin());
}

void FilterPath::slotIs(uint8_t slot) {
  const auto& [text, size] = kSlotTexts[slot];
  std::memcpy(text_.data() + baseSize_, text.data(), text.size());
  slotSize_ = baseSize_ + size;
}

}  // namespace Kestrix
