// A value that holds exactly one of two alternatives, `ip` or `mac`.
#pragma once

#include <compare>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include <fmt/format.h>

#include "platform/object/Model.h"
#include "platform/runtime/Errors.h"
#include "platform/runtime/Ptr.h"

namespace Kestrix {

// The union behind AclAddrWithMask and ShadowAcl::Acl. `Self` names itself by a static `modelName`, and is constructed
// from a text cursor by `readUnion`.
// By default it holds `ip` with that type's default. Equal when the same alternative holds an equal value; ordered by
// alternative (`ip` first), then by value. Pointers compare by identity.
template <class Self, class Ip, class Mac>
class IpMacUnion {
 public:
  // Which alternative is held.
  bool containsIp() const { return held_.index() == kIp; }
  bool containsMac() const { return held_.index() == kMac; }

  // The held alternative. Raise BadUnionAccessError when the other one is held.
  const Ip& ip() const { return get<kIp>("ip"); }
  const Mac& mac() const { return get<kMac>("mac"); }

  // Replace the held alternative.
  void ipIs(Ip value) { held_.template emplace<kIp>(std::move(value)); }
  void macIs(Mac value) { held_.template emplace<kMac>(std::move(value)); }

  // "Value('Kestrix::AclAddrWithMask', ip=10.0.0.0/0.255.255.255)"
  std::string toText() const {
    return fmt::format("{}, {})", Platform::valueOpening<Self>(),
                       containsIp() ? fmt::format("ip={}", ip()) : fmt::format("mac={}", mac()));
  }
  friend std::ostream& operator<<(std::ostream& out, const Self& value) { return out << value.toText(); }

  bool operator==(const IpMacUnion&) const = default;
  std::strong_ordering operator<=>(const IpMacUnion& other) const {
    if (this == &other) return std::strong_ordering::equal;
    if (const auto byIndex = held_.index() <=> other.held_.index(); byIndex != 0) return byIndex;
    return containsIp() ? compare(ip(), other.ip()) : compare(mac(), other.mac());
  }

  // By name, from no argument or one of the alternatives; of a text, from the first that reads it.
  static Self modelConstruct(const Platform::Arguments& arguments) {
    if (arguments.empty()) return {};
    Platform::Detail::requireCount(arguments, 1);
    std::string whyNotIp;
    try {
      return Self(arguments[0].as<Ip>());
    } catch (const Platform::ModelError& error) {
      whyNotIp = error.what();
    }
    try {
      return Self(arguments[0].as<Mac>());
    } catch (const Platform::ModelError& error) {
      error.raiseIn(whyNotIp + ", and");
    }
  }

  // The attributes by name. Reading the alternative that is not held raises BadUnionAccessError.
  static constexpr auto modelAttribute(Platform::AttributeIndex<0>) {
    return Platform::Settable<Self, Ip>{"ip", [](const Self& self) -> Platform::Read<Ip> { return self.ip(); },
                                        [](Self& self, Ip value) { self.ipIs(std::move(value)); }};
  }
  static constexpr auto modelAttribute(Platform::AttributeIndex<1>) {
    return Platform::Settable<Self, Mac>{"mac", [](const Self& self) -> Platform::Read<Mac> { return self.mac(); },
                                         [](Self& self, Mac value) { self.macIs(std::move(value)); }};
  }
  static constexpr auto modelAttribute(Platform::AttributeIndex<2>) {
    return Platform::View<Self, bool>{"containsIp", [](const Self& self) { return self.containsIp(); }};
  }
  static constexpr auto modelAttribute(Platform::AttributeIndex<3>) {
    return Platform::View<Self, bool>{"containsMac", [](const Self& self) { return self.containsMac(); }};
  }

 protected:
  // The positions of the alternatives.
  static constexpr size_t kIp = 0;
  static constexpr size_t kMac = 1;

  IpMacUnion() = default;
  // Holds the given alternative.
  explicit IpMacUnion(Ip value) : held_(std::in_place_index<kIp>, std::move(value)) {}
  explicit IpMacUnion(Mac value) : held_(std::in_place_index<kMac>, std::move(value)) {}

  // Reads what toText gives. A text that ends after the name of the type is the default value.
  static Self readUnion(Platform::TextCursor& text) {
    Self value;
    text.require(Platform::valueOpening<Self>());
    if (!text.rest().starts_with(",")) return value;
    text.require(", ");
    const std::string_view name = text.takeUntil("=");
    const bool hasValue = text.skip("=");
    if (hasValue && name == "ip") {
      value.ipIs(Platform::Detail::AttributeText<Ip>::value(text, name));
    } else if (hasValue && name == "mac") {
      value.macIs(Platform::Detail::AttributeText<Mac>::value(text, name));
    } else {
      throw Platform::RangeError(fmt::format("Invalid string rep for {}:  unknown alternative {}", simpleName(), name));
    }
    text.require(")");
    return value;
  }

 private:
  // The name of the type without what it is nested in.
  static std::string_view simpleName() {
    constexpr std::string_view kName = Self::modelName();
    return kName.substr(kName.rfind(':') + 1);
  }

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
