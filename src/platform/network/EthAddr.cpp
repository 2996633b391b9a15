#include "platform/network/EthAddr.h"

#include <charconv>

#include "platform/runtime/Text.h"

namespace Platform {

EthAddr EthAddr::fromText(std::string_view text) {
  Octets octets{};
  bool valid = text.size() == 3 * octets.size() - 1;
  for (size_t i = 0; valid && i < octets.size(); ++i) {
    const char* const digits = text.data() + 3 * i;
    const auto read = std::from_chars(digits, digits + 2, octets[i], 16);
    valid = read.ec == std::errc{} && read.ptr == digits + 2 && (i == 0 || digits[-1] == ':');
  }
  if (!valid) throw RangeError(fmt::format("{} is not a MAC address", quoted(text)));
  return EthAddr(octets);
}

std::string EthAddr::toText() const {
  const auto& o = octets_;
  return fmt::format("{:02x}:{:02x}:{:02x}:{:02x}:{:02x}:{:02x}", o[0], o[1], o[2], o[3], o[4], o[5]);
}

EthAddrWithMask EthAddrWithMask::fromText(std::string_view text) {
  const auto slash = text.find('/');
  if (slash == text.npos) throw RangeError(fmt::format("{} has no mask: address/mask is wanted", quoted(text)));
  return {EthAddr::fromText(text.substr(0, slash)), EthAddr::fromText(text.substr(slash + 1))};
}

std::string EthAddrWithMask::toText() const { return addr.toText() + "/" + mask.toText(); }

}  // namespace Platform
