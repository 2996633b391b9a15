#include "platform/network/IpAddr.h"

#include <arpa/inet.h>

#include "platform/runtime/Text.h"

namespace Platform {

IpAddr IpAddr::fromText(std::string_view text) {
  in_addr parsed{};
  // inet_pton reads up to a NUL, so a text that contains one is none.
  if (text.find('\0') != text.npos || inet_pton(AF_INET, std::string(text).c_str(), &parsed) != 1) {
    throw RangeError(fmt::format("{} is not an IPv4 address", quoted(text)));
  }
  return IpAddr(ntohl(parsed.s_addr));
}

std::string IpAddr::toText() const {
  return fmt::format("{}.{}.{}.{}", number_ >> 24, number_ >> 16 & 0xFF, number_ >> 8 & 0xFF, number_ & 0xFF);
}

IpAddrWithFullMask IpAddrWithFullMask::fromText(std::string_view text) {
  const auto slash = text.find('/');
  if (slash == text.npos) throw RangeError(fmt::format("{} has no mask: address/mask is wanted", quoted(text)));
  return {IpAddr::fromText(text.substr(0, slash)), IpAddr::fromText(text.substr(slash + 1)).number()};
}

std::string IpAddrWithFullMask::toText() const { return addr.toText() + "/" + IpAddr(mask).toText(); }

IpProto IpProto::fromText(std::string_view text) { return IpProto(Platform::fromText<uint8_t>(text)); }

std::string IpProto::toText() const { return fmt::format("{}", number_); }

}  // namespace Platform
