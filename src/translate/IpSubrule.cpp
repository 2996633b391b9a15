#include "translate/IpSubrule.h"

#include <algorithm>

namespace Kestrix {
namespace {

// In the order in which they are made.
constexpr IpSubruleCheck kChecks[] = {
    {[](const IpSubrule& subrule) {
       return std::any_of(subrule.ipLength.begin(), subrule.ipLength.end(),
                          [](uint16_t length) { return length != 0; });
     },
     "ipLen filter not supported"},
    {[](const IpSubrule& subrule) {
       return subrule.source.range.high > subrule.source.range.low ||
              subrule.destination.range.high > subrule.destination.range.low;
     },
     "port ranges unsupported"},
    {[](const IpSubrule& subrule) {
       return subrule.proto != Platform::kAnyProto && subrule.proto != Platform::kTcp &&
              subrule.proto != Platform::kUdp;
     },
     "unsupported IP protocol {}"},
};

}  // namespace

const IpSubruleCheck* refusedBy(const IpSubrule& subrule) {
  const auto* found =
      std::find_if(std::begin(kChecks), std::end(kChecks), [&](const auto& check) { return check.refuses(subrule); });
  return found == std::end(kChecks) ? nullptr : found;
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
