// Translation of MAC rules: createMacAclRule.

#include "helper/AclHelper.h"
#include "helper/Steps.h"
#include "translate/MacRule.h"
#include "translate/RuleSlot.h"

namespace Kestrix {
namespace {

// By RuleSide, in the order of its values, as far as they are not refused.
constexpr Platform::TraceFormat<> kMacSideTraces[] = {
    "filtering on source MAC address",
    "filtering on destination MAC address",
    "filtering on any source and any destination",
};

Platform::Ptr<MacAcl> requireMacAcl(const ShadowAcl& shadowAcl, const Platform::TraceScope& trace) {
  if (shadowAcl.acl().containsMac() && shadowAcl.acl().mac()) return shadowAcl.acl().mac();
  Platform::consistencyFailure(trace, "In create MacAclRule, the shadow ACL should always be a MAC ACL");
}

// A rule without addresses is a verdict, of its protocol or of everything. The first one of a protocol decides.
void setVerdict(MacAcl& macAcl, MacRuleKind kind, bool permit) {
  if (kind == MacRuleKind::arp) {
    if (macAcl.permitArp()) return;
    macAcl.arpIs(true);
    macAcl.permitArpIs(permit);
  } else if (kind == MacRuleKind::lldp) {
    if (macAcl.permitLldp()) return;
    macAcl.lldpIs(true);
    macAcl.permitLldpIs(permit);
  } else {
    macAcl.permitAnyIs(permit);
  }
}

}  // namespace

AclHelper::AclCreateError AclHelper::createMacAclRule(const Acl::MacRuleConfig& ruleConfig, const UniqueId& ruleId,
                                                      const Ptr<AclData>& aclData, uint32_t ruleNum) {
  const Acl::MacRuleConfig rule = ruleConfig;  // A copy: a trace sink may drop the framework's own.
  const Acl::MacFilter& filter = rule.filter;
  const Platform::AclKey& key = keyOf(aclData);
  const OperationTrace trace(*this, "createMacAclRule", aclData);
  trace.level5("acl: {} type: {} direction: {} rule: {} id: {} filter: {}", key.name, key.type, key.direction, ruleNum,
               ruleId, filter);
  lastRefused_ = {};

  const Ptr<ShadowAcl> shadowAcl = attachedAcl(*this, key, trace);
  if (const Refused refused = checkAcl(key)) {
    trace.level5("Unsupported ACL: {}", key);
    return refuseRule(shadowAcl, refused);
  }
  const Ptr<MacAcl> macAcl = requireMacAcl(*shadowAcl, trace);

  const MacRuleKind kind = macRuleKind(filter.ethType);
  if (kind == MacRuleKind::unsupported) {
    return refuseRule(shadowAcl, traced({Refusal::etherType, filter.ethType}, trace));
  }
  // Never reached by a packet: an earlier rule decides all of them. Unlike IPv4 rules, before the sides are looked at.
  if (macAcl->permitAny()) return AclCreateError::noError;

  trace.level5("srcAddr: {} srcMask: {} dstAddr: {} dstMask: {}", filter.srcAddr, filter.srcMask, filter.dstAddr,
               filter.dstMask);
  const RuleSide side = chooseSide(isAnyAddress(filter.srcAddr), isAnyAddress(filter.dstAddr), macAcl->srcOrDst());
  if (const Refused refused{refusalOf(side, Refusal::macBothSides)}) {
    return refuseRule(shadowAcl, traced(refused, trace));
  }
  trace.level5(kMacSideTraces[static_cast<size_t>(side)]);
  if (side == RuleSide::neither) {
    setVerdict(*macAcl, kind, rule.action == Acl::Action::permit);
    return AclCreateError::noError;
  }
  if (kind != MacRuleKind::everyEtherType) return refuseRule(shadowAcl, traced({Refusal::protocolAddress}, trace));

  const auto slot = freeSlot(*macAcl, slotCount(key.direction));
  if (!slot) return refuseRule(shadowAcl, traced({Refusal::noSlot}, trace));
  storeRule(*macAcl, macRule(*slot, side, rule), side, trace);
  return AclCreateError::noError;
}

}  // namespace Kestrix
