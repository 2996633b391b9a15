#include "read/IpAce.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "read/Action.h"
#include "read/MatchFields.h"
#include "read/Ports.h"
#include "read/Quote.h"

namespace Sim {
namespace {

using Platform::IpAddr;
using Platform::IpAddrWithFullMask;
using Platform::IpProto;

// Layer-4 containers and the protocol that each implies.
struct Layer4 {
  std::string_view name;
  IpProto proto;
  const MatchContainer* fields;  // Null where the hardware matches none.
  std::string_view remedyWhenEmpty;
};
constexpr Layer4 kLayer4[] = {
    {"tcp", Platform::kTcp, &kTcpFields, R"(Write "ipv4": {"protocol": 6} if TCP is meant. If not, remove "tcp".)"},
    {"udp", Platform::kUdp, &kUdpFields, R"(Write "ipv4": {"protocol": 17} if UDP is meant. If not, remove "udp".)"},
    {"icmp", IpProto(1), nullptr,
     R"(Remove "icmp" if every protocol is meant, or the whole ACE: the hardware cannot match ICMP.)"},
};

constexpr std::string_view kLengthRemedy =
    "Leave out the length if any length is meant: the hardware does not look at it.";
constexpr std::string_view kProtocolRemedy =
    "Write 6 (TCP) or 17 (UDP), or leave it out for every protocol: the hardware tells no others apart.";

// Of a text such as 192.0.2.0/24; none when it is not one.
std::optional<IpAddrWithFullMask> networkOf(std::string_view text) {
  const auto slash = text.find('/');
  if (slash == text.npos) return {};
  try {
    const IpAddr addr = IpAddr::fromText(text.substr(0, slash));
    const auto length = Platform::fromText<uint8_t>(text.substr(slash + 1));
    return length <= 32 ? std::optional(IpAddrWithFullMask{addr, Platform::prefixMask(length)}) : std::nullopt;
  } catch (const Platform::RangeError&) {
    return {};
  }
}

std::optional<IpAddrWithFullMask> readNetwork(const Place& place) {
  const auto text = place.text();
  if (!text) return {};
  const auto network = networkOf(*text);
  if (!network) {
    place.error("out-of-range", fmt::format("{} is not an IPv4 prefix", inQuotes(*text)),
                "Write an address and a prefix length from 0 to 32, such as 192.0.2.0/24.");
    return {};
  }
  if ((network->addr.number() & network->mask) != 0 || network->mask == 0) return network;
  if (!network->addr.isAny()) {
    place.warning("host-bits",
                  fmt::format("the host bits of \"{}\" keep it from being read as any address; a management stack may "
                              "put them back to zero (RFC 6991)",
                              *text),
                  "See that they reach the device as written here.");
    return network;
  }
  place.error("any-network",
              fmt::format("\"{}\" would match every address: the hardware reads address 0.0.0.0 as any", *text),
              network->mask == Platform::prefixMask(32)
                  ? "Write 0.0.0.0/0 if any address is meant, which is wider. This address cannot be matched."
                  : fmt::format("Write 0.0.0.1{} for this network: its host bits do not count. Or 0.0.0.0/0 if any "
                                "address is meant, which is wider.",
                                text->substr(text->find('/'))));
  return {};
}

std::optional<uint16_t> readLength(const Place& place) {
  const auto length = place.number(0, 65535, kLengthRemedy);
  if (!length) return {};
  if (*length == 0) {
    place.error("length-zero", "length 0 would match every length", std::string(kLengthRemedy));
    return {};
  }
  return static_cast<uint16_t>(*length);
}

// Whether the IPv4 fields ask for fragments: "more fragments", or an offset.
bool readFragments(const Place& ipv4) {
  const auto offset = ipv4.member("offset");
  if (offset) offset->number(20, 65535);
  const auto place = ipv4.member("flags");
  if (!place) return offset.has_value();
  const auto flags = place->text();
  if (flags && *flags != "more") {
    place->error("not-matchable",
                 fmt::format("the hardware cannot match the IPv4 flags {}; without them the rule would match more",
                             inQuotes(*flags)),
                 "Remove the flags if the wider rule is meant, or the whole ACE.");
  }
  return true;
}

std::optional<IpProto> readProtocolNumber(const Place& place) {
  const auto number = place.number(0, 255, kProtocolRemedy);
  if (!number) return {};
  const IpProto proto(static_cast<uint8_t>(*number));
  if (proto != Platform::kAnyProto) return proto;
  place.error("protocol-zero", "protocol 0 would match every protocol: the hardware reads it as any",
              "Leave out the protocol if any is meant. Protocol 0 (hop-by-hop options) itself cannot be matched.");
  return {};
}

// Those that the protocol follows from.
std::vector<const Layer4*> layer4Of(const Place& matches) {
  std::vector<const Layer4*> present;
  for (const Layer4& each : kLayer4) {
    const auto place = matches.member(each.name);
    if (place && !place->isEmpty() && each.fields != nullptr) present.push_back(&each);
  }
  return present;
}

// The packet protocol that `matches` names, by number or by its layer-4 container.
IpProto readProtocol(const Place& matches) {
  const auto layer4 = layer4Of(matches);
  if (layer4.size() > 1) {
    matches.error("conflicting-members",
                  fmt::format("\"{}\" and \"{}\" exclude each other", layer4[0]->name, layer4[1]->name),
                  "Write an ACE for each of them.");
    return Platform::kAnyProto;
  }
  const IpProto implied = layer4.empty() ? Platform::kAnyProto : layer4[0]->proto;
  const auto ipv4 = matches.member("ipv4");
  const auto place = ipv4 ? ipv4->member("protocol") : std::nullopt;
  const auto proto = place ? readProtocolNumber(*place) : implied;
  if (!proto) return implied;
  if (!layer4.empty() && *proto != implied) {
    place->error("conflicting-members",
                 fmt::format("protocol {} contradicts the \"{}\" matches", *proto, layer4[0]->name),
                 fmt::format("Write {}, or leave it out.", implied));
  }
  return *proto;
}

void readIpv4(const Place& ipv4, IpRule& rule) {
  reportUnmatched(ipv4, kIpv4Fields);
  rule.config.filter.srcIp = ipv4.read("source-ipv4-network", readNetwork);
  rule.config.filter.dstIp = ipv4.read("destination-ipv4-network", readNetwork);
  rule.ipLength = ipv4.read("length", readLength);
}

void readLayer4(const Place& place, const Layer4& layer4, IpRule& rule) {
  if (place.isEmpty()) {
    if (rule.config.filter.proto == layer4.proto) return;
    return place.error(
        "empty-container",
        fmt::format("\"{}\" without matches restricts nothing in RFC 8519: the rule would match every protocol",
                    layer4.name),
        std::string(layer4.remedyWhenEmpty));
  }
  if (layer4.fields == nullptr) {
    return place.error("not-matchable", "the hardware cannot match ICMP; without it the rule would match more",
                       R"(Remove "icmp" and the protocol if the wider rule is meant, or the whole ACE.)");
  }
  reportUnmatched(place, *layer4.fields);
  rule.source = place.read("source-port", readPorts);
  rule.destination = place.read("destination-port", readPorts);
}

// The helper accepts a fragment rule, and programs nothing for it.
void warnOfFragments(const Place& ace, Acl::Action action) {
  ace.warning(
      "fragments-not-enforced",
      fmt::format("this {} has no effect: the hardware does not tell fragments apart, and the other rules decide "
                  "what becomes of them",
                  action),
      "Remove the ACE; or, if all packets that it matches otherwise are meant, which is wider, leave out the "
      "flags and the offset: it is then checked as any other rule.");
}

}  // namespace

AceRule readIpAce(const Place& ace) {
  const size_t errorsBefore = ace.errors();
  IpRule rule;
  bool isFragments = false;
  rule.config.action = readAction(ace).value_or(Acl::Action::deny);
  if (const auto matches = ace.object("matches")) {
    reportUnmatched(*matches, kIpMatches);
    if (const auto ipv4 = matches->object("ipv4")) {
      readIpv4(*ipv4, rule);
      isFragments = readFragments(*ipv4);
    }
    rule.config.filter.proto = readProtocol(*matches);
    for (const Layer4& each : kLayer4) {
      if (const auto place = matches->object(each.name)) readLayer4(*place, each, rule);
    }
  }
  if (!isFragments) return rule;
  if (ace.errors() == errorsBefore) warnOfFragments(ace, rule.config.action);
  return FragmentRule{{.action = rule.config.action, .filter = rule.config.filter}};
}

}  // namespace Sim
