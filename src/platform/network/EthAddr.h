// Ethernet (MAC) addresses, alone and with a mask.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/runtime/Export.h"

namespace Platform {

// A 48-bit address; octets in transmission order. Text: "00:11:22:33:44:55", two hexadecimal digits an octet.
class KESTRIX_API EthAddr {
 public:
  static constexpr bool kTextIsToken = true;
  // In transmission order.
  using Octets = std::array<uint8_t, 6>;

  // All zero, or the octets given.
  constexpr EthAddr() = default;
  constexpr explicit EthAddr(const Octets& octets) : octets_(octets) {}

  // Reads what toText gives; upper-case digits, too. Raises RangeError.
  static EthAddr fromText(std::string_view text);
  // In lower case.
  std::string toText() const;

  // In transmission order.
  constexpr const Octets& octets() const { return octets_; }
  // All bits the other way round: a mask as a wildcard, and back.
  constexpr EthAddr complement() const {
    Octets flipped{};
    for (size_t i = 0; i < flipped.size(); ++i) flipped[i] = static_cast<uint8_t>(~octets_[i]);
    return EthAddr(flipped);
  }
  // Whether all octets are the same.
  constexpr bool isEq(const EthAddr& other) const { return *this == other; }

  constexpr auto operator<=>(const EthAddr&) const = default;

 private:
  Octets octets_{};
};

// An address with any 48-bit mask. Text: "00:11:22:33:44:55/ff:ff:ff:00:00:00".
struct KESTRIX_API EthAddrWithMask {
  static constexpr bool kTextIsToken = true;

  EthAddr addr;  // Any; bits that the mask leaves out are kept.
  EthAddr mask;  // What a set bit says is up to its user.

  // Reads what toText gives. Raises RangeError.
  static EthAddrWithMask fromText(std::string_view text);
  // Address and mask.
  std::string toText() const;

  constexpr auto operator<=>(const EthAddrWithMask&) const = default;
};

}  // namespace Platform
