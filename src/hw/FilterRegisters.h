// The register image of one filter.
#pragma once

#include <cstdint>

#include "platform/object/Model.h"

namespace Kestrix {

// The registers of one rule slot. The names are the hardware's.
class FilterRuleRegisters {
  KESTRIX_VALUE(FilterRuleRegisters, "Kestrix::FilterRuleRegisters");
  // The slot's number.
  KESTRIX_FIXED(uint8_t, ruleKey);
  // Wildcard: a set bit is not compared. IPv4: the port's; MAC: of the first two octets.
  KESTRIX_SETTABLE(uint16_t, mask_high, 0);
  // IPv4: the address's; MAC: of the last four octets.
  KESTRIX_SETTABLE(uint32_t, mask_low, 0);
  // What is compared, with the wildcard bits set. IPv4: the port; MAC: the first two octets.
  KESTRIX_SETTABLE(uint16_t, addr_high, 0);
  // IPv4: the address; MAC: the last four octets.
  KESTRIX_SETTABLE(uint32_t, addr_low, 0);

 public:
  // Of a slot whose registers are all 0.
  explicit FilterRuleRegisters(uint8_t ruleKey = 0) : ruleKey_(ruleKey) {}
};

// The registers of one filter. A temporary: computed from a ShadowFilter, written, dropped.
class FilterRegisters {
  KESTRIX_PRINTED_VALUE(FilterRegisters, "Kestrix::FilterRegisters");
  // The registers of the whole filter; hw/RegisterLayout.h has their bits.
  KESTRIX_SETTABLE(uint32_t, enable, 0);
  KESTRIX_SETTABLE(uint32_t, action, 0);
  KESTRIX_SETTABLE(uint32_t, tcp, 0);
  KESTRIX_SETTABLE(uint32_t, udp, 0);
  // One entry per programmed slot.
  KESTRIX_VALUES(uint8_t, FilterRuleRegisters, ruleRegisters, ruleKey);

 public:
  // Whether any register is set.
  explicit operator bool() const { return !(*this == FilterRegisters()); }
};

}  // namespace Kestrix
