#include "hw/FilterRegisters.h"

#include "platform/object/Describe.h"

namespace Kestrix {

KESTRIX_DEFINE_VALUE(FilterRuleRegisters)
KESTRIX_DEFINE_PRINTED_VALUE(FilterRegisters)

}  // namespace Kestrix
