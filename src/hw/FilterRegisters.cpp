#include "hw/FilterRegisters.h"

#include "model/ShadowFilter.h"
#include "platform/object/Describe.h"

namespace Kestrix {

KESTRIX_DEFINE_VALUE(FilterRuleRegisters)
KESTRIX_DEFINE_PRINTED_VALUE(FilterRegisters)
KESTRIX_DEFINE_ENTITY(ShadowFilter)  // Here, where the result of its operation is known.

}  // namespace Kestrix
