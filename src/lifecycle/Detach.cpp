// Taking an ACL off interfaces: removeIntfFromAcl, clearAclFromIntfs, and the end of an ACL, destroyAcl and cleanupAcl.

#include "helper/AclHelper.h"
#include "helper/Steps.h"
#include "hw/FilterRegisters.h"
#include "lifecycle/FilterContent.h"
#include "model/TracePoints.h"

namespace Kestrix {
namespace {

void forget(ShadowAcl& shadowAcl, Platform::IntfId intf) {
  shadowAcl.errorIntfDel(intf);
  shadowAcl.activeIntfDel(intf);
  shadowAcl.applyingIntfDel(intf);
  shadowAcl.deletingIntfDel(intf);
}

}  // namespace

AclHelper::AclCreateError AclHelper::removeIntfFromAcl(const IntfPairKey& intfPair, const Ptr<AclData>& aclData,
                                                       bool belongsToAnother) {
  const IntfId intf = intfPair.intf;
  const Platform::AclKey& key = keyOf(aclData);
  const OperationTrace trace(*this, "removeIntfFromAcl", aclData);
  trace.level5("acl: {} type: {} direction: {} intf: {}", key.name, key.type, key.direction, intf);
  trace.level6("belongsToAnother: {}", belongsToAnother);
  if (destroying()) {
    trace.level6("Kestrix instance cleanup, skipping");
    return AclCreateError::noError;
  }
  const Ptr<ShadowAcl> shadowAcl = attachedAcl(*this, key, trace);

  if (!belongsToAnother) {
    shadowAcl->deletingIntfIs(intf);
    clearAclFromIntfs(shadowAcl);
    return AclCreateError::noError;
  }
  // The other ACL's own application rewrites the filter.
  trace.level5("interface has been assigned to another ACL, only clearing state");
  if (shadowAcl->activeIntf(intf)) {
    trace.level6("{} was active", intf);
    shadowAcl->activeIntfDel(intf);
  }
  if (shadowAcl->applyingIntf(intf)) {
    trace.level6("{} was applying", intf);
    shadowAcl->applyingIntfDel(intf);
  }
  return AclCreateError::noError;
}

void AclHelper::clearAclFromIntfs(const Ptr<ShadowAcl>& shadowAclArgument) {
  // Held here: what this calls may drop every other reference to it.
  const Ptr<ShadowAcl> shadowAcl(shadowAclArgument.get());
  const OperationTrace trace(*this, "clearAclFromIntfs");
  requireShadowAcl(shadowAcl, trace);

  trace.level5("acl key: {}", shadowAcl->key());
  const AclCreateError result =
      passOver(*shadowAcl, shadowAcl->deletingIntf(), [&](IntfId intf) { return clearAclFromIntf(*shadowAcl, intf); });
  aclStatusUpdateCallback(shadowAcl->key(), result);
}

AclHelper::AclCreateError AclHelper::clearAclFromIntf(ShadowAcl& shadowAcl, IntfId intf) {
  const AclTrace trace("AclHelper", "clearAclFromIntfs");
  const Acl::AclDirection direction = shadowAcl.key().direction;
  const bool isErrored = shadowAcl.errorIntf().contains(intf);
  auto done = [&](AclCreateError error) {
    shadowAcl.applyingIntfDel(intf);
    shadowAcl.deletingIntfDel(intf);
    return error;
  };

  trace.level6("trying to remove ACL from {}", intf);
  if (!shadowAcl.activeIntf(intf) && !isErrored) {
    trace.level6("ACL not active on {}, nothing to do", intf);
    return done(AclCreateError::noError);
  }
  trace.level6("clearing {} from {} ACL config", shadowAcl.key().name, intf);
  const Ptr<ShadowFilters> filters = shadowFilters(direction);
  const Ptr<ShadowFilter> old = filters ? filters->shadowFilter(intf) : nullptr;
  if (!old) {
    if (isErrored) return done(AclCreateError::noError);
    Platform::consistencyFailure(trace, "Interface with no shadow filter must be ACL errored");
  }
  if (holdsAnother(*old, shadowAcl)) {
    forget(shadowAcl, intf);
    return AclCreateError::noError;
  }

  const FilterContent content = contentAfterDetach(*old, shadowAcl.acl());
  trace.level6("macAcl: {}, ipAcl: {}, ruleType: {}", content.macAcl, content.ipAcl, content.ruleType);
  // All that needs memory comes first: without it, the filter stays as the hardware is.
  const Ptr<ShadowFilter> filter = filterWith(content, intf, slotCount(direction));
  const FilterRegisters registers = filter->genRegisters();
  filters->replace(filter);

  const AclCreateError error = regWriteHelper(registers, intf, direction, /*enableRegOnly=*/false);
  if (error == AclCreateError::noError) {
    trace.level6("Clearing {}'s ACL succeeded", intf);
    shadowAcl.activeIntfDel(intf);
    shadowAcl.errorIntfDel(intf);
  } else {
    trace.level6("Clearing {}'s ACL failed", intf);
    shadowAcl.failIntf(intf, error);
  }
  return done(error);
}

void AclHelper::destroyAcl(const Ptr<AclData>& aclData) {
  const Platform::AclKey& key = keyOf(aclData);
  const OperationTrace trace(*this, "destroyAcl", aclData);
  traceAcl(trace, key);
  if (!aclSupported(key)) return;
  if (!allShadowAcl(key)) {
    Platform::consistencyFailure(trace, "The shadow ACL has disappeared before cleanupAcl");
  }
}

void AclHelper::cleanupAcl(const Ptr<AclData>& aclData) {
  const Platform::AclKey& key = keyOf(aclData);
  const OperationTrace trace(*this, "cleanupAcl", aclData);
  traceAcl(trace, key);
  if (destroying()) return trace.level6("Kestrix instance cleanup, skipping");

  const Ptr<ShadowAcl> shadowAcl = allShadowAcl(key);
  if (!shadowAcl) Platform::consistencyFailure(trace, "The shadow ACL to be cleaned no longer exists");
  if (!shadowAcl->aclRulesFinalized()) return trace.level6("ACL was not configured, skipping");

  for (const IntfId intf : shadowAcl->activeIntf()) shadowAcl->deletingIntfIs(intf);
  for (const IntfId intf : shadowAcl->applyingIntf()) shadowAcl->deletingIntfIs(intf);
  for (const auto& [intf, error] : shadowAcl->errorIntf()) shadowAcl->deletingIntfIs(intf);
  clearAclFromIntfs(shadowAcl);
  // Unless a callback has cleaned it up and attached a new one of this key.
  if (allShadowAcl(shadowAcl->key()) == shadowAcl) allShadowAclDel(shadowAcl->key());
}

}  // namespace Kestrix
