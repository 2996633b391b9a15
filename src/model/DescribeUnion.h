// For the one source of each class derived from IpMacUnion: its text form, and the access by name.
//
//   KESTRIX_DEFINE_UNION(AclAddrWithMask)
#pragma once

#include <string>
#include <string_view>

#include "model/IpMacUnion.h"
#include "platform/object/Describe.h"

#define KESTRIX_DEFINE_UNION(Type)                         \
  KESTRIX_DEFINE_MODEL_(Type)                              \
  std::string Type::toText() const { return unionText(); } \
  Type Type::modelRead(::Platform::TextCursor& text) { return readUnion(text); }

namespace Kestrix {

template <class Self, class Ip, class Mac>
std::string IpMacUnion<Self, Ip, Mac>::unionText() const {
  return fmt::format("{}, {}={})", Platform::valueOpening(Self::modelName()), containsIp() ? "ip" : "mac",
                     containsIp() ? Platform::Value(ip()) : Platform::Value(mac()));
}

template <class Self, class Ip, class Mac>
Self IpMacUnion<Self, Ip, Mac>::readUnion(Platform::TextCursor& text) {
  Self value;
  text.require(Platform::valueOpening(Self::modelName()));
  if (!text.rest().starts_with(",")) return value;
  text.require(", ");
  const std::string_view name = text.takeUntil("=");
  const bool hasValue = text.skip("=");
  if (hasValue && name == "ip") {
    value.ipIs(Platform::Detail::readToken<Ip>(text, name));
  } else if (hasValue && name == "mac") {
    value.macIs(Platform::Detail::readToken<Mac>(text, name));
  } else {
    constexpr std::string_view kName = Self::modelName();
    throw Platform::RangeError(
        fmt::format("Invalid string rep for {}:  unknown alternative {}", kName.substr(kName.rfind(':') + 1), name));
  }
  text.require(")");
  return value;
}

template <class Self, class Ip, class Mac>
Self IpMacUnion<Self, Ip, Mac>::modelConstruct(const Platform::Arguments& arguments) {
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

}  // namespace Kestrix
