// A value that holds exactly one of two alternatives, `ip` or `mac`.
#pragma once

#include <compare>
#include <cstdint>
#include <utility>
#include <variant>

#include <fmt/format.h>

#include "platform/Errors.h"
#include "platform/Ptr.h"

namespace Kestrix {

// The union behind AclAddrWithMask and ShadowAcl::Acl. `Self` names itself in errors by a static `modelName`.
// By default it holds `ip` with that type's default. Equal when the same alternative holds an equal value; ordered by
// alternative (`ip` first), then by value. Pointers compare by identity.
template <class Self, class Ip, class Mac>
class IpMacUnion {
 public:
  bool containsIp() const { return held_.index() == kIp; }
  bool containsMac() const { return held_.index() == kMac; }

  // The held alternative. Raise BadUnionAccessError when the other one is held.
  const Ip& ip() const { return get<kIp>("ip"); }
  const Mac& mac() const { return get<kMac>("mac"); }

  // Replace the held alternative.
  void ipIs(Ip value) { held_.template emplace<kIp>(std::move(value)); }
  void macIs(Mac value) { held_.template emplace<kMac>(std::move(value)); }

  bool operator==(const IpMacUnion&) const = default;
  std::strong_ordering operator<=>(const IpMacUnion& other) const {
    if (this == &other) return std::strong_ordering::equal;
    if (const auto byIndex = held_.index() <=> other.held_.index(); byIndex != 0) return byIndex;
    return containsIp() ? compare(ip(), other.ip()) : compare(mac(), other.mac());
  }

 protected:
  static constexpr size_t kIp = 0;
  static constexpr size_t kMac = 1;

  IpMacUnion() = default;
  explicit IpMacUnion(Ip value) : held_(std::in_place_index<kIp>, std::move(value)) {}
  explicit IpMacUnion(Mac value) : held_(std::in_place_index<kMac>, std::move(value)) {}

 private:
  template <size_t kAlternative>
  const auto& get(const char* name) const {
    if (const auto* value = std::get_if<kAlternative>(&held_)) return *value;
    throw Platform::BadUnionAccessError(fmt::format("{} does not hold {}", Self::modelName(), name));
  }

  template <class T>
  static std::strong_ordering compare(const T& left, const T& right) {
    return left <=> right;
  }
  template <class T>
  static std::strong_ordering compare(const Platform::Ptr<T>& left, const Platform::Ptr<T>& right) {
    return std::compare_three_way{}(left.get(), right.get());
  }

  std::variant<Ip, Mac> held_;
};

}  // namespace Kestrix
