// A rule of an ACL cannot be put into the hardware: setCreationError.

#include "helper/AclHelper.h"
#include "helper/Steps.h"
#include "model/TracePoints.h"

namespace Kestrix {

AclHelper::AclCreateError AclHelper::setCreationError(const Ptr<ShadowAcl>& shadowAclArgument, AclCreateError error) {
  const Ptr<AclHelper> self(this);  // The callbacks may drop the last other reference.
  const Ptr<ShadowAcl> shadowAcl(shadowAclArgument.get());
  const AclTrace trace("AclHelper", "setCreationError");
  requireShadowAcl(shadowAcl, trace);

  trace.level6("acl: {}, err: {}", shadowAcl->key().name, error);
  Platform::forEachStable(shadowAcl->applyingIntf(), [&](IntfId intf) {
    shadowAcl->failIntf(intf, error);
    shadowAcl->applyingIntfDel(intf);
  });
  dirtyIs(true);
  publishUnitErrorIs(kUnitName, true);
  unitErrorIs(kUnitName, error);
  return error;
}

AclHelper::AclCreateError AclHelper::refuseRule(const Ptr<ShadowAcl>& shadowAcl, const Refused& refused) {
  lastRefused_ = refused;
  return setCreationError(shadowAcl, rowOf(refused.reason).error);
}

}  // namespace Kestrix
