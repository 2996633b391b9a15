#include "model/ShadowAcl.h"

#include "model/DescribeUnion.h"

namespace Kestrix {

KESTRIX_DEFINE_ENTITY(ShadowAcl)
KESTRIX_DEFINE_UNION(ShadowAcl::Acl)

}  // namespace Kestrix
