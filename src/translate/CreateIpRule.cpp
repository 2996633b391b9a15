// Translation of IPv4 rules: createIpAclSubrule, createIpFragRule, and createFinalAclRule for every ACL.

#include "helper/AclHelper.h"
#include "helper/Steps.h"
#include "translate/IpSubrule.h"
#include "translate/RuleSlot.h"

namespace Kestrix {
namespace {

// By RuleSide, in the order of its values, as far as they are not refused.
constexpr Platform::TraceFormat<> kIpSideTraces[] = {
    "filtering on source",
    "filtering on destination",
    "filtering on any source and any destination",
};

// The ACL's IPv4 shadow; an ACL that was never pre-created has none.
Platform::Ptr<IpAcl> requireIpAcl(const ShadowAcl& shadowAcl, const Platform::TraceScope& trace) {
  if (shadowAcl.acl().containsIp() && shadowAcl.acl().ip()) return shadowAcl.acl().ip();
  Platform::consistencyFailure(trace, "In createIpAclSubrule, the ACL should be an IP ACL");
}

}  // namespace

AclHelper::AclCreateError AclHelper::createIpAclSubrule(
    Acl::AclType /*aclType*/, const Acl::RuleConfig& ruleConfig, const UniqueId& /*ruleId*/,
    const Ptr<AclData>& aclData, uint32_t ruleNum, uint32_t /*subruleNum*/, uint16_t srcPort, uint16_t /*srcPortMask*/,
    uint16_t dstPort, uint16_t /*dstPortMask*/, uint16_t srcPortLow, uint16_t srcPortHigh, uint16_t dstPortLow,
    uint16_t dstPortHigh, uint16_t ipLen, uint16_t ipLenMask, uint16_t ipLenLow, uint16_t ipLenHigh,
    uint8_t /*icmpType*/, bool /*established*/, uint8_t /*ttl*/, uint8_t /*dscp*/) {
  const IpSubrule subrule{
      .action = ruleConfig.action,
      .proto = ruleConfig.filter.proto,
      .source = {.ip = ruleConfig.filter.srcIp, .port = srcPort, .range = {srcPortLow, srcPortHigh}},
      .destination = {.ip = ruleConfig.filter.dstIp, .port = dstPort, .range = {dstPortLow, dstPortHigh}},
      .ipLength = {ipLen, ipLenMask, ipLenLow, ipLenHigh},
  };
  const Platform::AclKey& key = keyOf(aclData);
  const OperationTrace trace(*this, "createIpAclSubrule", aclData);
  trace.level5("acl: {} type: {} direction: {} rule: {}", key.name, key.type, key.direction, ruleNum);
  lastRefused_ = {};

  const Ptr<ShadowAcl> shadowAcl = attachedAcl(*this, key, trace);
  if (const Refused refused = checkAcl(key)) {
    trace.level5("Unsupported ACL: {}", key);
    return refuseRule(shadowAcl, refused);
  }
  const Ptr<IpAcl> ipAcl = requireIpAcl(*shadowAcl, trace);

  if (const Refused refused = checkShape(subrule)) return refuseRule(shadowAcl, traced(refused, trace));
  const RuleSide side = chooseSide(subrule.source.isAny(), subrule.destination.isAny(), ipAcl->srcOrDst());
  if (const Refused refused{refusalOf(side, Refusal::ipBothSides)})
    return refuseRule(shadowAcl, traced(refused, trace));
  trace.level5(kIpSideTraces[static_cast<size_t>(side)]);

  // Never reached by a packet: an earlier rule decides all of them.
  if (ipAcl->permitAny()) return AclCreateError::noError;

  const IpMatch match = matchOn(side, subrule);
  trace.level6("addr: {}", match.addr);
  if (matchesEverything(side, subrule)) {
    ipAcl->permitAnyIs(subrule.action == Acl::Action::permit);
    trace.level5("special rule creation successful!");
    return AclCreateError::noError;
  }

  const auto slot = freeSlot(*ipAcl, slotCount(key.direction));
  if (!slot) return refuseRule(shadowAcl, traced({Refusal::noSlot}, trace));
  if (match.port != 0) ipAcl->l4Is(true);
  storeRule(*ipAcl, ipRule(*slot, match, subrule), side, trace);
  return AclCreateError::noError;
}

AclHelper::AclCreateError AclHelper::createIpFragRule(const Ptr<AclData>& aclData, const Acl::IpRuleConfig& ruleConfig,
                                                      const UniqueId& /*ruleId*/, uint32_t ruleNum,
                                                      uint32_t /*subruleNum*/) {
  const Acl::Action action = ruleConfig.action;
  const Platform::AclKey& key = keyOf(aclData);
  const OperationTrace trace(*this, "createIpFragRule", aclData);
  trace.level5("acl: {} type: {} direction: {} rule: {}", key.name, key.type, key.direction, ruleNum);
  lastRefused_ = {};

  const Refused refused = checkAcl(key);
  // Accepted, though the hardware does not tell fragments apart.
  if (!refused) return AclCreateError::noError;
  if (action == Acl::Action::permit) return AclCreateError::noError;
  return refuseRule(attachedAcl(*this, key, trace), refused);
}

AclHelper::AclCreateError AclHelper::createFinalAclRule(Acl::AclType /*aclType*/, const Ptr<AclData>& aclData,
                                                        uint32_t ruleNum) {
  const Platform::AclKey& key = keyOf(aclData);
  const OperationTrace trace(*this, "createFinalAclRule", aclData);
  trace.level5("acl: {}, type: {}, direction: {}, rule: {}", key.name, key.type, key.direction, ruleNum);

  if (!aclSupported(key)) return AclCreateError::noError;
  const Ptr<ShadowAcl> shadowAcl = attachedAcl(*this, key, trace);
  requireShadowAcl(shadowAcl->acl().base(), trace);  // Attached, but never pre-created.
  shadowAcl->aclRulesFinalizedIs(true);
  return writeAclToIntfs(shadowAcl);
}

}  // namespace Kestrix
