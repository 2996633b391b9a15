#include "read/MatchFields.h"

#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "read/Quote.h"

namespace Sim {
namespace {

constexpr MatchField kIpMatchesRows[] = {
    {"ipv4", Use::matched},
    {"tcp", Use::matched},
    {"udp", Use::matched},
    {"icmp", Use::matched},
    {"eth", Use::macOnly},
    {"ipv6", Use::unmatched},
    {"ingress-interface", Use::unmatched},
    {"egress-interface", Use::unmatched},
};

constexpr MatchField kMacMatchesRows[] = {
    {"eth", Use::matched},
    {"ipv4", Use::ipv4Only},
    {"ipv6", Use::unmatched},
    {"tcp", Use::ipv4Only},
    {"udp", Use::ipv4Only},
    {"icmp", Use::unmatched},
    {"ingress-interface", Use::unmatched},
    {"egress-interface", Use::unmatched},
};

constexpr MatchField kIpv4Rows[] = {
    {"source-ipv4-network", Use::matched},
    {"destination-ipv4-network", Use::matched},
    {"protocol", Use::matched},
    {"length", Use::matched},
    {"flags", Use::matched},
    {"offset", Use::matched},
    {"dscp", Use::unmatched},
    {"ecn", Use::unmatched},
    {"ttl", Use::unmatched},
    {"ihl", Use::unmatched},
    {"identification", Use::unmatched},
};

constexpr MatchField kTcpRows[] = {
    {"source-port", Use::matched},       {"destination-port", Use::matched},
    {"sequence-number", Use::unmatched}, {"acknowledgement-number", Use::unmatched},
    {"data-offset", Use::unmatched},     {"reserved", Use::unmatched},
    {"flags", Use::unmatched},           {"window-size", Use::unmatched},
    {"urgent-pointer", Use::unmatched},  {"options", Use::unmatched},
};

constexpr MatchField kUdpRows[] = {
    {"source-port", Use::matched},
    {"destination-port", Use::matched},
    {"length", Use::unmatched},
};

constexpr MatchField kEthRows[] = {
    {"source-mac-address", Use::matched},
    {"source-mac-address-mask", Use::matched},
    {"destination-mac-address", Use::matched},
    {"destination-mac-address-mask", Use::matched},
    {"ethertype", Use::matched},
};

std::optional<Use> useOf(std::string_view name, const MatchContainer& container) {
  const auto row = std::find_if(container.fields.begin(), container.fields.end(),
                                [&](const MatchField& each) { return each.name == name; });
  return row == container.fields.end() ? std::nullopt : std::optional(row->use);
}

}  // namespace

constinit const MatchContainer kIpMatches{"matches", kIpMatchesRows};
constinit const MatchContainer kMacMatches{"matches of a MAC ACL", kMacMatchesRows};
constinit const MatchContainer kIpv4Fields{"ipv4", kIpv4Rows};
constinit const MatchContainer kTcpFields{"tcp", kTcpRows, kWithoutPorts};
constinit const MatchContainer kUdpFields{"udp", kUdpRows, kWithoutPorts};
constinit const MatchContainer kEthFields{"eth", kEthRows};

void reportUnmatched(const Place& place, const MatchContainer& container) {
  const auto reportWrongType = [](const Place& member, std::string_view name, std::string_view type) {
    member.error("wrong-container", fmt::format("an ACL of this type has no \"{}\" matches", name),
                 fmt::format("Move the ACE to an ACL of type \"{}\", without its matches of this type. Or remove "
                             "\"{}\", if the wider rule is meant.",
                             type, name));
  };
  place.forEachMember([&](std::string_view name, const Place& member) {
    const auto use = useOf(name, container);
    if (!use) {
      return member.error("unknown-member",
                          fmt::format("{} is not a field of \"{}\" in RFC 8519", inQuotes(name), container.name),
                          fmt::format("Correct its name, without a prefix for the model's own module. Or remove it, "
                                      "if the wider rule is meant.{}",
                                      container.advice));
    }
    switch (*use) {
      case Use::matched:
        return;
      case Use::unmatched:
        return member.error(
            "not-matchable",
            fmt::format("the hardware cannot match \"{}\"; without it the rule would match more", name),
            fmt::format("Remove the field if the wider rule is meant, or the whole ACE.{}", container.advice));
      case Use::ipv4Only:
        return reportWrongType(member, name, "ipv4-acl-type");
      case Use::macOnly:
        return reportWrongType(member, name, "eth-acl-type");
    }
  });
}

}  // namespace Sim
