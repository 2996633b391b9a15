#include "read/ConfiguredFields.h"

#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include <fmt/format.h>

namespace Sim {
namespace {

using Fields = std::vector<ConfiguredField>;

// What a value is cut to: a message shows enough of it to be found.
constexpr size_t kLongest = 40;

std::string valueOf(const Place& place) {
  if (!place.isText()) return std::to_string(place.number(0, 65535).value_or(0));
  std::string text = place.text().value_or("");
  return text.size() <= kLongest ? text : text.substr(0, kLongest) + "...";
}

void addField(const Place& container, Match match, std::string_view name, Fields& fields) {
  if (const auto place = container.member(name)) fields.push_back({match, std::string(name), valueOf(*place)});
}

// --- IPv4 ------------------------------------------------------------------------------------------------------------

// One side of the packet, in both of the containers that have it.
struct IpSide {
  std::string_view network;
  std::string_view ports;
  Match address;
  Match port;
  Match portRange;
};
constexpr IpSide kSource{"source-ipv4-network", "source-port", Match::sourceAddress, Match::sourcePort,
                         Match::sourcePortRange};
constexpr IpSide kDestination{"destination-ipv4-network", "destination-port", Match::destinationAddress,
                              Match::destinationPort, Match::destinationPortRange};

void addPorts(const Place& place, const IpSide& side, const Ports& ports, Fields& fields) {
  const auto low = place.member("lower-port"), high = place.member("upper-port"), name = place.member("operator");
  const std::string operation = name ? valueOf(*name) : "eq";
  const std::string value = low && high ? fmt::format("{}-{}", valueOf(*low), valueOf(*high))
                                        : fmt::format("{} {}", operation, valueOf(*place.member("port")));
  // All ports but one are read as the wider of the two ranges that they are.
  const uint32_t count = operation == "neq" ? 65535 : uint32_t{ports.high} - ports.low + 1;
  fields.push_back({count == 1 ? side.port : side.portRange, std::string(side.ports), value, count, ports.low});
}

void addSide(const Place& matches, const IpSide& side, const Platform::IpAddrWithFullMask& network, const Ports& ports,
             Fields& fields) {
  const auto ipv4 = matches.member("ipv4");
  if (ipv4 && !network.addr.isAny()) addField(*ipv4, side.address, side.network, fields);
  if (ports == Ports{}) return;
  for (const std::string_view container : {"tcp", "udp"}) {
    const auto layer4 = matches.member(container);
    if (const auto place = layer4 ? layer4->member(side.ports) : std::nullopt) addPorts(*place, side, ports, fields);
  }
}

Fields ipFields(const Place& matches, const IpRule& rule) {
  Fields fields;
  addSide(matches, kSource, rule.config.filter.srcIp, rule.source, fields);
  addSide(matches, kDestination, rule.config.filter.dstIp, rule.destination, fields);
  for (const std::string_view container : {"tcp", "udp", "icmp"}) {
    if (matches.member(container)) fields.push_back({Match::protocol, std::string(container), {}});
  }
  const bool isImplied = !fields.empty() && fields.back().match == Match::protocol;
  if (const auto ipv4 = matches.member("ipv4")) {
    if (!isImplied) addField(*ipv4, Match::protocol, "protocol", fields);
    addField(*ipv4, Match::length, "length", fields);
  }
  return fields;
}

// --- MAC -------------------------------------------------------------------------------------------------------------

void addAddress(const Place& eth, Match match, const std::string& name, const Platform::EthAddr& addr, Fields& fields) {
  if (addr.isEq(Platform::EthAddr())) return;
  addField(eth, match, name, fields);
  if (const auto mask = eth.member(name + "-mask")) fields.back().value += " mask " + valueOf(*mask);
}

Fields macFields(const Place& matches, const Acl::MacFilter& filter) {
  Fields fields;
  const auto eth = matches.member("eth");
  if (!eth) return fields;
  addAddress(*eth, Match::sourceAddress, "source-mac-address", filter.srcAddr, fields);
  addAddress(*eth, Match::destinationAddress, "destination-mac-address", filter.dstAddr, fields);
  addField(*eth, Match::etherType, "ethertype", fields);
  // A number as a reader of EtherTypes knows it.
  const auto place = eth->member("ethertype");
  if (place && !place->isText()) fields.back().value = fmt::format("0x{:04x}", filter.ethType);
  return fields;
}

}  // namespace

std::vector<ConfiguredField> configuredFields(const Place& ace, const AceRule& rule) {
  const auto matches = ace.member("matches");
  if (!matches) return {};
  if (const auto* ip = std::get_if<IpRule>(&rule)) return ipFields(*matches, *ip);
  if (const auto* mac = std::get_if<MacRule>(&rule)) return macFields(*matches, mac->config.filter);
  return {};
}

}  // namespace Sim
