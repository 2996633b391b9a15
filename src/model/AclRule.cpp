#include "model/AclRule.h"

#include "model/DescribeUnion.h"
#include "model/IntfIdToPortGroupId.h"

namespace Kestrix {

KESTRIX_DEFINE_UNION(AclAddrWithMask)
KESTRIX_DEFINE_VALUE(AclRule)
KESTRIX_DEFINE_PRINTED_VALUE(IntfIdToPortGroupId)

}  // namespace Kestrix
