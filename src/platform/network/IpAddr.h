// IPv4 addresses, masks and protocol numbers.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/runtime/Export.h"

namespace Platform {

// An IPv4 address. Its number has the first octet in the most significant byte. Text: "192.0.2.1".
class KESTRIX_API IpAddr {
 public:
  using TextForm = void;
  // 0.0.0.0, or the number given, in host order.
  constexpr IpAddr() = default;
  constexpr explicit IpAddr(uint32_t number) : number_(number) {}

  // Reads what toText gives. Raises RangeError for any other text.
  static IpAddr fromText(std::string_view text);
  // Four octets in dotted decimal.
  std::string toText() const;

  // In host order.
  constexpr uint32_t number() const { return number_; }
  // Whether it is 0.0.0.0.
  constexpr bool isAny() const { return number_ == 0; }

  constexpr auto operator<=>(const IpAddr&) const = default;

 private:
  uint32_t number_ = 0;
};

// An IPv4 address with any 32-bit mask. Text: "10.0.0.0/255.0.0.0".
struct KESTRIX_API IpAddrWithFullMask {
  using TextForm = void;
  static constexpr bool kTextIsToken = true;

  IpAddr addr;        // Any address; the mask clears none of its bits.
  uint32_t mask = 0;  // In host order. Whoever uses it decides what a set bit means.

  // Reads what toText gives. Raises RangeError for any other text.
  static IpAddrWithFullMask fromText(std::string_view text);
  // Address and mask, both in dotted decimal.
  std::string toText() const;

  constexpr auto operator<=>(const IpAddrWithFullMask&) const = default;
};

// The mask of a prefix of `length` bits, 0 to 32: the first ones are set.
constexpr uint32_t prefixMask(uint8_t length) { return length == 0 ? 0 : ~uint32_t{0} << (32 - length); }

// An IP protocol number (IANA). The framework uses 0 for any protocol. Text: the number.
class KESTRIX_API IpProto {
 public:
  using TextForm = void;
  // 0, or the number given.
  constexpr IpProto() = default;
  constexpr explicit IpProto(uint8_t number) : number_(number) {}

  // Reads a decimal number, 0 to 255. Raises RangeError.
  static IpProto fromText(std::string_view text);
  // The number in decimal.
  std::string toText() const;

  // As assigned by IANA; 0 for any protocol.
  constexpr uint8_t number() const { return number_; }
  constexpr auto operator<=>(const IpProto&) const = default;

 private:
  uint8_t number_ = 0;
};

// The protocols that this platform's rules may match.
inline constexpr IpProto kAnyProto{0};
inline constexpr IpProto kTcp{6};
inline constexpr IpProto kUdp{17};

}  // namespace Platform
