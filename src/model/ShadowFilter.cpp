#include "model/ShadowFilter.h"

#include "platform/object/Describe.h"

namespace Kestrix {

// ShadowFilter itself is defined where the result of its operation is known: hw/FilterRegisters.cpp.
KESTRIX_DEFINE_ENTITY(ShadowFilters)

}  // namespace Kestrix
