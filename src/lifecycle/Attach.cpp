// Bringing an ACL onto interfaces: addIntfToAcl and writeAclToIntfs, the one place where its rules reach a filter.

#include "helper/AclHelper.h"
#include "helper/Steps.h"
#include "hw/FilterRegisters.h"
#include "lifecycle/FilterContent.h"
#include "model/TracePoints.h"

namespace Kestrix {

AclHelper::AclCreateError AclHelper::addIntfToAcl(const IntfPairKey& intfPair, const Ptr<AclData>& aclData,
                                                  const Ptr<AclDataStatus>& /*status*/) {
  const IntfId intf = intfPair.intf;
  const Platform::AclKey& key = keyOf(aclData);
  const OperationTrace trace(*this, "addIntfToAcl", aclData);
  trace.level5("acl: {} type: {} direction: {} intf: {}", key.name, key.type, key.direction, intf);

  Ptr<ShadowAcl> shadowAcl = allShadowAcl(key);
  if (!shadowAcl) {
    shadowAcl = allShadowAclIs(key);
    trace.level6("allocated hwData for {}", key.name);
  }
  if (shadowAcl->activeIntf(intf)) {
    trace.level5("ACL already active, no-op");
    return AclCreateError::noError;
  }
  trace.level5("ACL not active on this interface, kick off application");
  shadowAcl->applyingIntfIs(intf);
  writeAclToIntfs(shadowAcl);
  return AclCreateError::noError;
}

AclHelper::AclCreateError AclHelper::writeAclToIntfs(const Ptr<ShadowAcl>& shadowAclArgument) {
  // Held here: what this calls may drop every other reference to it.
  const Ptr<ShadowAcl> shadowAcl(shadowAclArgument.get());
  const OperationTrace trace(*this, "writeAclToIntfs");
  requireShadowAcl(shadowAcl, trace);

  trace.level5("acl key: {}, direction: {}", shadowAcl->key(), shadowAcl->key().direction);
  if (!shadowAcl->aclRulesFinalized()) {
    trace.level6("ACL rules have not been finalized, no-op");
    return AclCreateError::noError;
  }
  const ShadowAcl::Acl acl = shadowAcl->acl();
  requireShadowAcl(acl.base(), trace);

  const AclCreateError result = passOver(*shadowAcl, shadowAcl->applyingIntf(), [&](IntfId intf) {
    // Pre-created again by a callback: the new rules get a pass of their own.
    if (!shadowAcl->aclRulesFinalized() || shadowAcl->acl() != acl) return AclCreateError::noError;
    return writeAclToIntf(*shadowAcl, acl, intf);
  });
  aclStatusUpdateCallback(shadowAcl->key(), result);
  return result;
}

AclHelper::AclCreateError AclHelper::writeAclToIntf(ShadowAcl& shadowAcl, const ShadowAcl::Acl& acl, IntfId intf) {
  const AclTrace trace("AclHelper", "writeAclToIntfs");
  const Acl::AclDirection direction = shadowAcl.key().direction;
  const uint8_t slots = slotCount(direction);
  trace.level6("Setting ACL registers for {}", intf);

  const Ptr<ShadowFilters> filters = shadowFilters(direction);
  const Ptr<ShadowFilter> old = filters ? filters->shadowFilter(intf) : nullptr;
  if (!old) Platform::consistencyFailure(trace, "The shadow filter should always exist");

  const Refusal refusal = attachRefusal(*old, acl, slots);
  if (refusal == Refusal::typeConflict) trace.level6("{}", Refused{refusal});
  if (refusal != Refusal::none) return refuseIntf(shadowAcl, intf, refusal);

  const FilterContent content = contentAfterAttach(*old, acl);
  if (content.rulesOfAcl) {
    trace.level6("newIsIpAcl {}. Use ACL filter rules", acl.containsIp());
  } else {
    trace.level6("Filter type {} with no ACL rules. Use existing filter rules", old->ruleType());
  }
  trace.level6("Replacing existing filter for {}", intf);
  trace.level6("Do rules: {}", content.rules.size());
  for (const AclRule& rule : content.rules) trace.level6("Rule {}", rule);
  // All that needs memory comes first: without it, the filter stays as the hardware is.
  const Ptr<ShadowFilter> filter = filterWith(content, intf, slots);
  const FilterRegisters registers = filter->genRegisters();
  filters->replace(filter);

  const AclCreateError error = regWriteHelper(registers, intf, direction, /*enableRegOnly=*/false);
  if (error == AclCreateError::noError) {
    shadowAcl.activeIntfIs(intf);
  } else {
    shadowAcl.failIntf(intf, error);
  }
  shadowAcl.applyingIntfDel(intf);
  return error;
}

AclHelper::AclCreateError AclHelper::refuseIntf(ShadowAcl& shadowAcl, IntfId intf, Refusal reason) {
  const AclCreateError error = rowOf(reason).error;
  shadowAcl.failIntf(intf, error, reason);
  shadowAcl.applyingIntfDel(intf);
  publishUnitErrorIs(kUnitName, true);
  unitErrorIs(kUnitName, error);
  return error;
}

}  // namespace Kestrix
