#include "model/AclTrace.h"

#include "model/TracePoints.h"

namespace Kestrix {

Platform::TraceHandle Detail::aclTraceHandle("KestrixAclHelper");

Platform::TraceHandle& aclTraceHandle() { return Detail::aclTraceHandle; }

}  // namespace Kestrix
