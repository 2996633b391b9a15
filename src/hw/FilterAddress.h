// Where the filters of an interface are in the register file.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "hw/RegisterLayout.h"
#include "model/IntfIdToPortGroupId.h"
#include "platform/acl/AclTypes.h"
#include "platform/network/IntfId.h"

namespace Kestrix {

// The 0-based indices of the hardware that serves an interface. Both are reduced to 16 bits after subtracting 1, so an
// interface without core or port group gets 65535 and its writes go there.
struct FilterAddress {
  uint16_t coreIndex = 0;
  uint16_t portGroupIndex = 0;

  bool operator==(const FilterAddress&) const = default;
};

FilterAddress filterAddress(Platform::IntfId intf, const IntfIdToPortGroupId& intfMap);

// The paths of one filter's registers, built in place: the returned views are valid until the next call.
class FilterPath {
 public:
  FilterPath(const FilterAddress& address, Acl::AclDirection direction);

  std::string_view filterRegister(const Layout::FilterRegister& row) { return append(baseSize_, row.name); }
  // Opens a rule slot, below Layout::kMaxSlots, for slotRegister.
  void slotIs(uint8_t slot);
  std::string_view slotRegister(const Layout::SlotRegister& row) { return append(slotSize_, row.name); }

 private:
  // Here, so that the size of the name is known where it is called, and no loop copies it.
  std::string_view append(size_t prefixSize, std::string_view name) {
    std::memcpy(text_.data() + prefixSize, name.data(), name.size());
    return {text_.data(), prefixSize + name.size()};
  }

  // The longest: msp_return[65535]/filter[65535]/rule[23]/mask_high
  std::array<char, 64> text_{};
  size_t baseSize_;
  size_t slotSize_;
};

}  // namespace Kestrix
