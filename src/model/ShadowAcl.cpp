#include "model/ShadowAcl.h"

#include "model/ShadowFilter.h"

namespace Kestrix {

KESTRIX_DEFINE_ENTITY(ShadowAcl)
KESTRIX_DEFINE_ENTITY(ShadowFilter)
KESTRIX_DEFINE_ENTITY(ShadowFilters)

}  // namespace Kestrix
