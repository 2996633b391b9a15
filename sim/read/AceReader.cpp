#include "read/AceReader.h"

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

// The rows of an ACE's matches hold for ACLs of one type.
constexpr std::string_view kIpMatches = "matches";
constexpr std::string_view kMacMatches = "matches of a MAC ACL";

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
    {kIpMatches, "ipv4", Use::matched},
    {kIpMatches, "tcp", Use::matched},
    {kIpMatches, "udp", Use::matched},
    {kIpMatches, "icmp", Use::matched},
    {kIpMatches, "ingress-interface", Use::unmatched},
    {kIpMatches, "egress-interface", Use::unmatched},
    {"eth", "source-mac-address", Use::matched},
    {"eth", "source-mac-address-mask", Use::matched},
    {"eth", "destination-mac-address", Use::matched},
    {"eth", "destination-mac-address-mask", Use::matched},
    {"eth", "ethertype", Use::matched},
    {kMacMatches, "eth", Use::matched},
    {kMacMatches, "ingress-interface", Use::unmatched},
    {kMacMatches, "egress-interface", Use::unmatched},
};

// The containers of all ACL types.
constexpr std::string_view kContainers[] = {"eth", "ipv4", "ipv6", "tcp", "udp", "icmp"};

// The EtherTypes that the model names (ietf-ethertypes).
struct EtherType {
  std::string_view name;
  uint16_t number;
};
constexpr EtherType kEtherTypes[] = {
    {"ipv4", 0x0800},
    {"arp", 0x0806},
    {"wlan", 0x0842},
    {"trill", 0x22F3},
    {"srp", 0x22EA},
    {"decnet", 0x6003},
    {"rarp", 0x8035},
    {"appletalk", 0x809B},
    {"aarp", 0x80F3},
    {"vlan", 0x8100},
    {"ipx", 0x8137},
    {"qnx", 0x8204},
    {"ipv6", 0x86DD},
    {"efc", 0x8808},
    {"esp", 0x8809},
    {"cobranet", 0x8819},
    {"mpls-unicast", 0x8847},
    {"mpls-multicast", 0x8848},
    {"pppoe-discovery", 0x8863},
    {"pppoe-session", 0x8864},
    {"intel-ans", 0x886D},
    {"jumbo-frames", 0x8870},
    {"homeplug", 0x887B},
    {"eap", 0x888E},
    {"profinet", 0x8892},
    {"hyperscsi", 0x889A},
    {"aoe", 0x88A2},
    {"ethercat", 0x88A4},
    {"provider-bridging", 0x88A8},
    {"ethernet-powerlink", 0x88AB},
    {"goose", 0x88B8},
    {"gse", 0x88B9},
    {"sv", 0x88BA},
    {"lldp", 0x88CC},
    {"sercos", 0x88CD},
    {"wsmp", 0x88DC},
    {"homeplug-av-mme", 0x88E1},
    {"mrp", 0x88E3},
    {"macsec", 0x88E5},
    {"pbb", 0x88E7},
    {"cfm", 0x8902},
    {"fcoe", 0x8906},
    {"fcoe-ip", 0x8914},
    {"roce", 0x8915},
    {"tte", 0x891D},
    {"hsr", 0x892F},
};

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
    const bool isMatches = container == kIpMatches || container == kMacMatches;
    if (isMatches && std::find(std::begin(kContainers), std::end(kContainers), name) != std::end(kContainers)) {
      return member.error("wrong-container", fmt::format("an ACL of this type has no \"{}\" matches", name),
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
    checkFields(*matches, kIpMatches);
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

// One side's address and its mask; any address when neither is there.
struct MacMatch {
  Platform::EthAddr addr;
  Platform::EthAddr mask;
};

std::optional<Platform::EthAddr> readMac(const Place& place) {
  const auto text = place.text();
  if (!text) return {};
  try {
    return Platform::EthAddr::fromText(*text);
  } catch (const Platform::RangeError& error) {
    place.error("out-of-range", error.what(), "Write six octets in hexadecimal, such as 00:11:22:33:44:55.");
    return {};
  }
}

std::optional<MacMatch> readMacMatch(const Place& eth, const std::string& side) {
  const auto addrPlace = eth.member(side + "-mac-address");
  const auto maskPlace = eth.member(side + "-mac-address-mask");
  if (!addrPlace && !maskPlace) return MacMatch{};
  if (!addrPlace) {
    maskPlace->error("missing-member", fmt::format("the mask has no {}-mac-address", side),
                     "Add the address, or remove the mask.");
    return {};
  }
  const Platform::EthAddr none;
  const auto addr = readMac(*addrPlace);
  const auto mask = maskPlace ? readMac(*maskPlace) : none.complement();
  if (!addr || !mask) return {};
  if (addr->isEq(none) && !mask->isEq(none)) {
    addrPlace->error(
        "any-address",
        fmt::format("\"{}\" would match every address: the hardware reads the all-zero address as any", *addr),
        "Leave out the address if any address is meant. The all-zero address itself cannot be matched.");
    return {};
  }
  return MacMatch{*addr, *mask};
}

std::optional<uint32_t> readEtherType(const Place& place) {
  if (place.isText()) {
    const auto name = place.text();
    const auto* row = std::find_if(std::begin(kEtherTypes), std::end(kEtherTypes),
                                   [&](const EtherType& each) { return each.name == *name; });
    if (row != std::end(kEtherTypes)) return row->number;
    place.error("unknown-value", fmt::format("\"{}\" is not an EtherType", *name),
                "Write its number, or a name of the model such as arp or lldp.");
    return {};
  }
  const auto number = place.number(0, 65535);
  if (!number) return {};
  if (*number == 0) {
    place.error("ethertype-zero", "EtherType 0 would match every EtherType: the hardware reads it as any",
                "Leave out the EtherType if any is meant.");
    return {};
  }
  return static_cast<uint32_t>(*number);
}

std::optional<Ace> readMacAce(const Place& ace, const std::string& name) {
  const auto action = readAction(ace);
  MacRule rule;
  bool readable = action.has_value();
  if (const auto matches = ace.member("matches"); matches && matches->isObject()) {
    checkFields(*matches, kMacMatches);
    if (const auto eth = matches->member("eth"); eth && eth->isObject()) {
      checkFields(*eth, "eth");
      const auto source = readMacMatch(*eth, "source");
      const auto destination = readMacMatch(*eth, "destination");
      const auto typePlace = eth->member("ethertype");
      const auto etherType = typePlace ? readEtherType(*typePlace) : uint32_t{0};
      readable = readable && source && destination && etherType;
      if (readable) rule.config.filter = {*etherType, source->addr, source->mask, destination->addr, destination->mask};
    }
  }
  if (!readable) return {};
  rule.config.action = *action;
  return Ace{name, rule};
}

}  // namespace

std::optional<Ace> readAce(const Place& ace, const std::string& name, Acl::AclType type) {
  ace.onlyMembers({"name", "matches", "actions"});
  if (type == Acl::AclType::ipv4) return readIpAce(ace, name);
  if (type == Acl::AclType::mac) return readMacAce(ace, name);
  // The helper refuses the ACL for its type, whatever its rules match.
  return Ace{name, ForeignRule{}};
}

}  // namespace Sim
