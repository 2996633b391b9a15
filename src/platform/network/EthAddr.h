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

// A 48-bit address. Text: "00:11:22:33:44:55", two hexadecimal digits per octet.
class KESTRIX_API EthAddr {
 public:
  using TextForm = void;
  static constexpr bool kTextIsToken = true;
  // The first one is transmitted first.
  using Octets = std::array<uint8_t, 6>;

  // All zero, or the octets given.
  constexpr EthAddr() = default;
  constexpr explicit EthAddr(const Octets& octets) : octets_(octets) {}

  // Reads what toText gives, also with upper-case digits. Raises RangeError for any other text.
  static EthAddr fromText(std::string_view text);
  // With lower-case digits.
  std::string toText() const;

  // All six, the first one transmitted first.
  constexpr const Octets& octets() const { return octets_; }
  // Every bit inverted: turns a mask into a wildcard, and back.
  constexpr EthAddr complement() const {
    Octets flipped{};
    for (size_t i = 0; i < flipped.size(); ++i) flipped[i] = static_cast<uint8_t>(~octets_[i]);
    return EthAddr(flipped);
  }
  // Whether `other` is the same address.
  constexpr bool isEq(const EthAddr& other) const { return *this == other; }

  constexpr auto operator<=>(const EthAddr&) const = default;

 private:
  Octets octets_{};
};

// An address with any 48-bit mask. Text: "00:11:22:33:44:55/ff:ff:ff:00:00:00".
struct KESTRIX_API EthAddrWithMask {
  using TextForm = void;
  static constexpr bool kTextIsToken = true;

  EthAddr addr;  // Any address; the mask clears none of its bits.
  EthAddr mask;  // Whoever uses it decides what a set bit means.

  // Reads what toText gives. Raises RangeError for any other text.
  static EthAddrWithMask fromText(std::string_view text);
  // The form shown above.
  std::string toText() const;

  constexpr auto operator<=>(const EthAddrWithMask&) const = default;
};

}  // namespace Platform
