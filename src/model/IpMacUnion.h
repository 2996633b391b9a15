// A value that holds exactly one of two alternatives, `ip` or `mac`.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "platform/object/Model.h"
#include "platform/runtime/Errors.h"
#include "platform/runtime/Ptr.h"

// Opens a class that is derived from IpMacUnion; `qualifiedName` is its name in text forms and errors.
#define KESTRIX_UNION(Type, qualifiedName) \
  KESTRIX_NAMED_(Type, qualifiedName);     \
  KESTRIX_PRINTED_(Type);                  \
  KESTRIX_READ_BACK_(Type)

namespace Platform::Detail {
// Makes an object of the model type T, by name.
template <class T>
Value construct(const Arguments& arguments);
}  // namespace Platform::Detail

namespace Kestrix {

// The union behind AclAddrWithMask and ShadowAcl::Acl. `Self` opens itself with KESTRIX_UNION, and its source includes
// model/DescribeUnion.h.
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

  bool operator==(const IpMacUnion&) const = default;
  std::strong_ordering operator<=>(const IpMacUnion& other) const {
    if (this == &other) return std::strong_ordering::equal;
    if (const auto byIndex = held_.index() <=> other.held_.index(); byIndex != 0) return byIndex;
    return containsIp() ? compare(ip(), other.ip()) : compare(mac(), other.mac());
  }

  // The attributes by name. Reading the alternative that is not held raises BadUnionAccessError.
  using ModelSelf = Self;
  enum : int { kModelFirstLine = __LINE__ };
  KESTRIX_DESCRIBE_(ip, settable, Ip, &IpMacUnion::ip, &IpMacUnion::ipIs);
  KESTRIX_DESCRIBE_(mac, settable, Mac, &IpMacUnion::mac, &IpMacUnion::macIs);
  KESTRIX_DESCRIBE_(containsIp, view, bool, &IpMacUnion::containsIp);
  KESTRIX_DESCRIBE_(containsMac, view, bool, &IpMacUnion::containsMac);

 protected:
  // The positions of the alternatives.
  static constexpr size_t kIp = 0;
  static constexpr size_t kMac = 1;

  IpMacUnion() = default;
  // Holds the given alternative.
  explicit IpMacUnion(Ip value) : held_(std::in_place_index<kIp>, std::move(value)) {}
  explicit IpMacUnion(Mac value) : held_(std::in_place_index<kMac>, std::move(value)) {}

  // "Value('Kestrix::AclAddrWithMask', ip=10.0.0.0/0.255.255.255)"
  std::string unionText() const;
  // Reads what unionText gives. A text that ends after the name of the type is the default value.
  static Self readUnion(Platform::TextCursor& text);

 private:
  // By name, from no argument or one of the alternatives; of a text, from the first that reads it.
  static Self modelConstruct(const Platform::Arguments& arguments);
  template <class T>
  friend Platform::Value Platform::Detail::construct(const Platform::Arguments& arguments);

  template <size_t kAlternative>
  const auto& get(const char* name) const {
    if (const auto* value = std::get_if<kAlternative>(&held_)) return *value;
    throw Platform::BadUnionAccessError(std::string(Self::modelName()).append(" does not hold ").append(name));
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
