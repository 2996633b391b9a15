#include "AceReader.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

namespace Sim {
namespace {

using Platform::IpAddr;
using Platform::IpAddrWithFullMask;
using Platform::IpProto;

// What becomes of a field of the model's match containers.
enum class Use {
  matched,    // Read below.
  unmatched,  // The hardware does not look at it: without it the rule would match more than it says.
};

struct Field {
  std::string_view container;
  std::string_view name;
  Use use;
};

constexpr Field kFields[] = {
    {"ipv4", "source-ipv4-network", Use::matched},
    {"ipv4", "destination-ipv4-network", Use::matched},
    {"ipv4", "protocol", Use::matched},
    {"ipv4", "length", Use::matched},
    {"ipv4", "flags", Use::matched},
    {"ipv4", "offset", Use::matched},
    {"ipv4", "dscp", Use::unmatched},
    {"ipv4", "ecn", Use::unmatched},
    {"ipv4", "ttl", Use::unmatched},
    {"ipv4", "ihl", Use::unmatched},
    {"ipv4", "identification", Use::unmatched},
    {"tcp", "source-port", Use::matched},
    {"tcp", "destination-port", Use::matched},
    {"tcp", "sequence-number", Use::unmatched},
    {"tcp", "acknowledgement-number", Use::unmatched},
    {"tcp", "data-offset", Use::unmatched},
    {"tcp", "reserved", Use::unmatched},
    {"tcp", "flags", Use::unmatched},
    {"tcp", "window-size", Use::unmatched},
    {"tcp", "urgent-pointer", Use::unmatched},
    {"tcp", "options", Use::unmatched},
    {"udp", "source-port", Use::matched},
    {"udp", "destination-port", Use::matched},
    {"udp", "length", Use::unmatched},
    {"icmp", "type", Use::unmatched},
    {"icmp", "code", Use::unmatched},
    {"icmp", "rest-of-header", Use::unmatched},
    {"matches", "ipv4", Use::matched},
    {"matches", "tcp", Use::matched},
    {"matches", "udp", Use::matched},
    {"matches", "icmp", Use::matched},
    {"matches", "ingress-interface", Use::unmatched},
    {"matches", "egress-interface", Use::unmatched},
};

// Containers of other ACL types than IPv4.
constexpr std::string_view kForeignContainers[] = {"eth", "ipv6"};

// Layer-4 containers and the protocol that each implies.
struct Layer4 {
  std::string_view container;
  IpProto proto;
};
constexpr Layer4 kLayer4[] = {{"tcp", Platform::kTcp}, {"udp", Platform::kUdp}, {"icmp", IpProto(1)}};

// Reports the members of a container that cannot be honoured.
void checkFields(const Place& place, std::string_view container) {
  place.forEachMember([&](std::string_view name, const Place& member) {
    const auto* field = std::find_if(std::begin(kFields), std::end(kFields), [&](const Field& each) {
      return each.container == container && each.name == name;
    });
    if (field != std::end(kFields)) {
      if (field->use == Use::matched) return;
      return member.error("not-matchable",
                          fmt::format("the hardware cannot match \"{}\"; without it the rule would match more", name),
                          "Remove the field if the wider rule is meant, or the whole ACE.");
    }
    if (std::find(std::begin(kForeignContainers), std::end(kForeignContainers), name) != std::end(kForeignContainers)) {
      return member.error("wrong-container", fmt::format("an ipv4-acl-type ACL has no \"{}\" matches", name),
                          "Move the ACE to an ACL of that type.");
    }
    member.error("unknown-member", fmt::format("\"{}\" is not a field of \"{}\" in RFC 8519", name, container),
                 "Remove it, or correct its name; the names of the model's own module carry no prefix here.");
  });
}

std::optional<IpAddrWithFullMask> readNetwork(const Place& place) {
  const auto text = place.text();
  if (!text) return {};
  const auto slash = text->find('/');
  IpAddr addr;
  uint8_t length = 0;
  try {
    addr = IpAddr::fromText(text->substr(0, slash));
    length = slash == text->npos ? uint8_t{255} : Platform::fromText<uint8_t>(text->substr(slash + 1));
  } catch (const Platform::RangeError&) {
    length = 255;
  }
  if (length > 32) {
    place.error("out-of-range", fmt::format("\"{}\" is not an IPv4 prefix", *text),
                "Write an address and a prefix length from 0 to 32, such as 192.0.2.0/24.");
    return {};
  }
  if (addr.isAny() && length > 0) {
    place.error("any-network",
                fmt::format("\"{}\" would match every address: the hardware reads address 0.0.0.0 as any", *text),
                "Write 0.0.0.0/0 if any address is meant. This network itself cannot be matched.");
    return {};
  }
  return IpAddrWithFullMask{addr, Platform::prefixMask(length)};
}

std::optional<Ports> portsOf(const Place& place, uint64_t low, uint64_t high) {
  if (low == 0 && high == 65535) return Ports{};
  if (high == 0) {
    place.error("port-zero", "port 0 would match every port: the hardware reads it as any",
                "Leave out the port if any port is meant. Port 0 itself cannot be matched.");
    return {};
  }
  const auto low16 = static_cast<uint16_t>(low);
  const auto high16 = static_cast<uint16_t>(high);
  return Ports{.port = low == high ? low16 : uint16_t{0}, .low = low16, .high = high16};
}

// All ports but one are two ranges. Each is refused by the helper unless it is a single port, so the wider one stands
// for both.
std::optional<Ports> allPortsBut(const Place& place, uint64_t port) {
  return port < 32768 ? portsOf(place, port + 1, 65535) : portsOf(place, 0, port - 1);
}

std::optional<Ports> readPorts(const Place& place) {
  constexpr std::string_view kRemedy =
      R"(Write {"operator": "eq", "port": 443} or {"lower-port": 1024, "upper-port": 65535}.)";
  if (!place.isObject()) return {};
  place.onlyMembers({"operator", "port", "lower-port", "upper-port"});
  const bool isRange = place.member("lower-port") || place.member("upper-port");
  const bool isOperator = place.member("operator") || place.member("port");
  if (!isRange && !isOperator) return Ports{};
  if (isRange && isOperator) {
    place.error("conflicting-members", "a port is given both by an operator and as a range", std::string(kRemedy));
    return {};
  }
  if (isRange) {
    const auto lowPlace = place.required("lower-port", kRemedy);
    const auto highPlace = place.required("upper-port", kRemedy);
    if (!lowPlace || !highPlace) return {};
    const auto low = lowPlace->number(0, 65535);
    const auto high = highPlace->number(0, 65535);
    if (!low || !high) return {};
    if (*low > *high) {
      place.error("out-of-range", fmt::format("lower-port {} is above upper-port {}", *low, *high),
                  std::string(kRemedy));
      return {};
    }
    return portsOf(place, *low, *high);
  }
  const auto portPlace = place.required("port", kRemedy);
  const auto operatorPlace = place.member("operator");
  const auto comparison = operatorPlace ? operatorPlace->text() : "eq";
  if (!portPlace || !comparison) return {};
  const auto port = portPlace->number(0, 65535);
  if (!port) return {};
  if (*comparison == "eq") return portsOf(place, *port, *port);
  if (*comparison == "lte") return portsOf(place, 0, *port);
  if (*comparison == "gte") return portsOf(place, *port, 65535);
  if (*comparison == "neq") return allPortsBut(place, *port);
  operatorPlace->error("out-of-range", fmt::format("\"{}\" is none of lte, gte, eq, neq", *comparison),
                       std::string(kRemedy));
  return {};
}

// The packet protocol that `matches` names, by number or by its layer-4 container.
std::optional<IpProto> readProtocol(const Place& matches, const std::optional<Place>& ipv4) {
  const Layer4* layer4 = nullptr;
  for (const Layer4& each : kLayer4) {
    if (!matches.member(each.container)) continue;
    if (layer4 != nullptr) {
      matches.error("conflicting-members",
                    fmt::format("\"{}\" and \"{}\" exclude each other", layer4->container, each.container),
                    "Split the ACE in two.");
      return {};
    }
    layer4 = &each;
  }
  const auto place = ipv4 ? ipv4->member("protocol") : std::nullopt;
  if (!place) return layer4 != nullptr ? layer4->proto : Platform::kAnyProto;
  const auto number = place->number(0, 255);
  if (!number) return {};
  const IpProto proto(static_cast<uint8_t>(*number));
  if (proto == Platform::kAnyProto) {
    place->error("protocol-zero", "protocol 0 would match every protocol: the hardware reads it as any",
                 "Leave out the protocol if any is meant. Protocol 0 (hop-by-hop options) itself cannot be matched.");
    return {};
  }
  if (layer4 != nullptr && layer4->proto != proto) {
    place->error("conflicting-members",
                 fmt::format("protocol {} contradicts the \"{}\" matches", proto, layer4->container),
                 fmt::format("Write {}, or leave it out.", layer4->proto));
    return {};
  }
  return proto;
}

// The IP length; 0 when it is not matched.
std::optional<uint16_t> readLength(const Place& ipv4) {
  const auto place = ipv4.member("length");
  if (!place) return uint16_t{0};
  const auto length = place->number(0, 65535);
  if (length == 0u) {
    place->error("length-zero", "length 0 would match every length", "Leave out the length.");
    return {};
  }
  return length ? std::optional(static_cast<uint16_t>(*length)) : std::nullopt;
}

// Whether the fields ask for fragments: "more fragments", or an offset.
std::optional<bool> readFragments(const Place& ipv4) {
  const auto offset = ipv4.member("offset");
  if (offset && !offset->number(20, 65535)) return {};
  const auto place = ipv4.member("flags");
  if (!place) return offset.has_value();
  const auto flags = place->text();
  if (!flags) return {};
  if (*flags == "more") return true;
  place->error(
      "not-matchable",
      fmt::format("the hardware cannot match the IPv4 flags \"{}\"; without them the rule would match more", *flags),
      R"(Remove the flags if the wider rule is meant. Fragments are "more", or an "offset".)");
  return {};
}

std::optional<Acl::Action> readAction(const Place& ace) {
  const auto actions = ace.required("actions", R"(Add "actions": {"forwarding": "accept"} or "drop".)");
  if (!actions || !actions->isObject()) return {};
  actions->onlyMembers({"forwarding", "logging"});
  auto identity = [](std::string_view text) {
    constexpr std::string_view kPrefix = "ietf-access-control-list:";
    return text.starts_with(kPrefix) ? text.substr(kPrefix.size()) : text;
  };
  if (const auto place = actions->member("logging")) {
    const auto logging = place->text();
    if (logging && identity(*logging) == "log-syslog") {
      place->warning("not-logged", "the hardware does not log: the rule is applied without", "Remove the logging.");
    } else if (logging && identity(*logging) != "log-none") {
      place->error("unknown-value", fmt::format("\"{}\" is not a log action", *logging), "Write log-none.");
    }
  }
  const auto place = actions->required("forwarding", R"(Add "forwarding": "accept" or "drop".)");
  const auto forwarding = place ? place->text() : std::nullopt;
  if (!forwarding) return {};
  if (identity(*forwarding) == "accept") return Acl::Action::permit;
  if (identity(*forwarding) == "drop") return Acl::Action::deny;
  if (identity(*forwarding) == "reject") {
    place->error("no-reject", "the hardware sends no ICMP error, which \"reject\" asks for", "Write \"drop\".");
  } else {
    place->error("unknown-value", fmt::format("\"{}\" is not a forwarding action", *forwarding),
                 "Write \"accept\" or \"drop\".");
  }
  return {};
}

// Everything that is wrong with the ACE is reported, whatever fails first.
std::optional<Ace> readIpAce(const Place& ace, const std::string& name) {
  const auto action = readAction(ace);
  IpRule rule;
  bool readable = action.has_value();
  bool fragments = false;
  auto keep = [&](const auto& read, auto& target) {
    if (read) target = *read;
    readable = readable && read.has_value();
  };

  if (const auto matches = ace.member("matches"); matches && matches->isObject()) {
    checkFields(*matches, "matches");
    const auto ipv4 = matches->member("ipv4");
    if (ipv4 && ipv4->isObject()) {
      checkFields(*ipv4, "ipv4");
      if (const auto place = ipv4->member("source-ipv4-network")) keep(readNetwork(*place), rule.config.filter.srcIp);
      if (const auto place = ipv4->member("destination-ipv4-network")) {
        keep(readNetwork(*place), rule.config.filter.dstIp);
      }
      keep(readLength(*ipv4), rule.ipLength);
      keep(readFragments(*ipv4), fragments);
    }
    keep(readProtocol(*matches, ipv4), rule.config.filter.proto);
    for (const Layer4& layer4 : kLayer4) {
      const auto place = matches->member(layer4.container);
      if (!place || !place->isObject()) continue;
      checkFields(*place, layer4.container);
      if (const auto port = place->member("source-port")) keep(readPorts(*port), rule.source);
      if (const auto port = place->member("destination-port")) keep(readPorts(*port), rule.destination);
    }
  }
  if (!readable) return {};
  rule.config.action = *action;
  if (fragments) return Ace{name, FragmentRule{{.action = *action, .filter = rule.config.filter}}};
  return Ace{name, rule};
}

}  // namespace

std::optional<Ace> readAce(const Place& ace, const std::string& name, Acl::AclType type) {
  ace.onlyMembers({"name", "matches", "actions"});
  if (type == Acl::AclType::ipv4) return readIpAce(ace, name);
  // The helper refuses the ACL for its type, whatever its rules match.
  return Ace{name, ForeignRule{}};
}

}  // namespace Sim
