#include "model/ShadowAcl.h"

#include "model/DescribeUnion.h"

namespace Kestrix {

KESTRIX_DEFINE_ENTITY(ShadowAcl)
KESTRIX_DEFINE_UNION(ShadowAcl::Acl)

void ShadowAcl::failIntf(Platform::IntfId intf, Platform::AclCreateError error, Refusal reason) {
  if (reason == Refusal::none) {
    intfRefusal_.erase(intf);
  } else {
    intfRefusal_.insert_or_assign(intf, reason);
  }
  errorIntfIs(intf, error);
}

}  // namespace Kestrix
