#include "verdict/PacketText.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <utility>

#include <fmt/format.h>

#include "platform/network/EthAddr.h"
#include "platform/network/IpAddr.h"
#include "platform/runtime/Errors.h"
#include "read/Quote.h"

namespace Sim {
namespace {

struct Kind {
  std::string_view word;
  uint16_t etherType;
  uint8_t protocol = 0;
};
constexpr Kind kKinds[] = {{"tcp", kIpv4Frame, kTcpNumber},
                           {"udp", kIpv4Frame, kUdpNumber},
                           {"icmp", kIpv4Frame, 1},
                           {"arp", kArpFrame},
                           {"lldp", kLldpFrame},
                           {"ipv6", kIpv6Frame}};

constexpr std::string_view kEnds[] = {"later-fragment", "more-fragments", "length", "mac"};

// What a word of the text was expected to be.
struct Unexpected {
  std::string fault;
};

// Takes a text apart, word by word. Raises Unexpected.
class PacketReader {
 public:
  explicit PacketReader(std::string_view text) : rest_(text), word_(takeWord(rest_)) {}

  Packet packet() && {
    const bool isTagged = skip("vlan");
    packet_ = kind();
    packet_[Field::tagged] = isTagged ? 1 : 0;
    if (packet_.isIpv4()) {
      if (!word_.empty() && std::ranges::find(kEnds, word_) == std::end(kEnds)) readIpAddresses();
      while (!word_.empty()) readEnd();
    } else if (skip("mac") || !word_.empty()) {
      readMacAddresses();
      if (!word_.empty()) expect("nothing more: only IPv4 packets have more than MAC addresses");
    }
    return packet_;
  }

 private:
  [[noreturn]] void expect(std::string_view what) const {
    throw Unexpected{fmt::format("{}: expected {}", word_.empty() ? "at the end" : inQuotes(word_), what)};
  }
  void take() { word_ = takeWord(rest_); }
  bool skip(std::string_view word) {
    const bool isNext = word_ == word;
    if (isNext) take();
    return isNext;
  }

  Packet kind() {
    if (skip("ip")) return familiarPacket(kIpv4Frame, number<uint8_t>("the number of a protocol, 0 to 255"));
    if (skip("ethertype")) {
      if (numberOf<uint16_t>(word_) == kIpv4Frame) expect("another EtherType: write ip and a protocol, or tcp or udp");
      return familiarPacket(number<uint16_t>("an EtherType, such as 0x86dd"));
    }
    const auto* const kind = std::ranges::find(kKinds, word_, &Kind::word);
    if (kind == std::end(kKinds)) expect("tcp, udp, icmp, ip, arp, lldp, ipv6 or ethertype");
    take();
    return familiarPacket(kind->etherType, kind->protocol);
  }

  // Decimal, or hexadecimal after 0x; none where it is no number, or too large.
  template <class Number>
  static std::optional<Number> numberOf(std::string_view text) {
    const bool isHexadecimal = text.starts_with("0x");
    if (isHexadecimal) text.remove_prefix(2);
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, isHexadecimal ? 16 : 10);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
  }
  template <class Number>
  Number number(std::string_view what) {
    const auto number = numberOf<Number>(word_);
    if (!number) expect(what);
    take();
    return *number;
  }

  void readIpAddresses() {
    readIpAddress(Field::sourceIp, Field::sourcePort);
    if (!skip(">")) expect("> and the destination");
    readIpAddress(Field::destinationIp, Field::destinationPort);
  }

  void readIpAddress(Field address, Field port) {
    const size_t colon = std::min(word_.find(':'), word_.size());
    try {
      packet_[address] = Platform::IpAddr::fromText(word_.substr(0, colon)).number();
    } catch (const Platform::RangeError&) {
      expect("an IPv4 address, and after the second one nothing, later-fragment, more-fragments, length or mac");
    }
    if (colon != word_.size()) {
      if (!packet_.hasPorts()) expect("an address without a port: only tcp and udp have ports");
      const auto number = numberOf<uint16_t>(word_.substr(colon + 1));
      if (!number) expect("a port from 0 to 65535 after the address");
      packet_[port] = *number;
      showsPort_ = true;
    }
    take();
  }

  // One of what may follow the addresses.
  void readEnd() {
    const auto* const end = std::ranges::find(kEnds, word_);
    if (end == std::end(kEnds)) expect("later-fragment, more-fragments, length, mac or nothing more");
    if (std::exchange(seen_[end - std::begin(kEnds)], true)) expect("this once");
    if (word_ == "later-fragment" && showsPort_) expect("addresses without ports before it: a later fragment has none");
    if (skip("later-fragment")) {
      packet_[Field::laterFragment] = 1;
      packet_[Field::sourcePort] = packet_[Field::destinationPort] = 0;
    } else if (skip("more-fragments")) {
      packet_[Field::moreFragments] = 1;
    } else if (skip("length")) {
      packet_[Field::ipLength] = number<uint16_t>("an IP length, 0 to 65535");
    } else if (skip("mac")) {
      readMacAddresses();
    }
  }

  void readMacAddresses() {
    readMacAddress(Field::sourceMac);
    if (!skip(">")) expect("> and the destination");
    readMacAddress(Field::destinationMac);
  }

  void readMacAddress(Field field) {
    try {
      uint64_t number = 0;
      const auto octets = Platform::EthAddr::fromText(word_).octets();
      for (const uint8_t octet : octets) number = number << 8 | octet;
      packet_[field] = number;
    } catch (const Platform::RangeError&) {
      expect("a MAC address, such as 00:00:5e:00:53:01");
    }
    take();
  }

  std::string_view rest_;
  std::string_view word_;  // The next one, which is not in the rest any more; empty at the end.
  Packet packet_;
  bool showsPort_ = false;
  bool seen_[std::size(kEnds)] = {};
};

}  // namespace

std::string_view takeWord(std::string_view& rest) {
  constexpr std::string_view kBlanks = " \t\r\n";
  rest.remove_prefix(std::min(rest.find_first_not_of(kBlanks), rest.size()));
  const std::string_view word = rest.substr(0, rest.find_first_of(kBlanks));
  rest.remove_prefix(word.size());
  return word;
}

std::optional<Packet> readPacket(std::string_view text, std::string& fault) {
  try {
    return PacketReader(text).packet();
  } catch (const Unexpected& unexpected) {
    fault = unexpected.fault;
    return {};
  }
}

}  // namespace Sim
