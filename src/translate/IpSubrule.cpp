#include "translate/IpSubrule.h"

#include <algorithm>

namespace Kestrix {
namespace {

bool matchesLength(const IpSubrule& subrule) {
  return std::ranges::any_of(subrule.ipLength, [](uint16_t length) { return length != 0; });
}

constexpr bool isRange(const PortRange& range) { return range.high > range.low; }

constexpr bool isSupported(Platform::IpProto proto) {
  return proto == Platform::kAnyProto || proto == Platform::kTcp || proto == Platform::kUdp;
}

}  // namespace

Refused checkShape(const IpSubrule& subrule) {
  if (matchesLength(subrule)) return {Refusal::ipLength};
  if (isRange(subrule.source.range) || isRange(subrule.destination.range)) return {Refusal::portRange};
  if (!isSupported(subrule.proto)) return {Refusal::ipProtocol, subrule.proto.number()};
  return {};
}

IpMatch matchOn(RuleSide side, const IpSubrule& subrule) {
  if (side == RuleSide::neither) return {{Platform::IpAddr(), ~uint32_t{0}}, 0};
  const IpSubrule::Side& matched = side == RuleSide::source ? subrule.source : subrule.destination;
  return {{matched.ip.addr, ~matched.ip.mask}, matched.port};
}

bool matchesEverything(RuleSide side, const IpSubrule& subrule) {
  return side == RuleSide::neither && subrule.proto == Platform::kAnyProto;
}

AclRule ipRule(uint8_t ruleKey, const IpMatch& match, const IpSubrule& subrule) {
  AclRule rule(ruleKey);
  rule.addrWithMaskIs(AclAddrWithMask(match.addr));
  rule.portIs(match.port);
  rule.actionIs(subrule.action);
  rule.tcpIs(subrule.proto == Platform::kAnyProto || subrule.proto == Platform::kTcp);
  rule.udpIs(subrule.proto == Platform::kAnyProto || subrule.proto == Platform::kUdp);
  return rule;
}

}  // namespace Kestrix
