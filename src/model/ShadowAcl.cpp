#include "model/ShadowAcl.h"

#include "model/IntfIdToPortGroupId.h"
#include "model/ShadowFilter.h"

namespace Kestrix {

KESTRIX_DEFINE_VALUE(AclAddrWithMask)
KESTRIX_DEFINE_VALUE(AclRule)
KESTRIX_DEFINE_VALUE(IntfIdToPortGroupId)
KESTRIX_DEFINE_ENTITY(ShadowAcl)
namespace {
const Platform::Detail::Registration registeredAcl(Platform::modelTypeOf<ShadowAcl::Acl>());
}
KESTRIX_DEFINE_ENTITY(ShadowFilters)

void ShadowAcl::failIntf(Platform::IntfId intf, Platform::AclCreateError error, Refusal reason) {
  errorIntfIs(intf, error);
  if (reason == Refusal::none) {
    intfRefusal_.erase(intf);
  } else {
    intfRefusal_.insert_or_assign(intf, reason);
  }
}

}  // namespace Kestrix
