#include "model/AclTrace.h"

namespace Kestrix {

Platform::TraceHandle Detail::aclTraceHandle("KestrixAclHelper");

Platform::TraceHandle& aclTraceHandle() { return Detail::aclTraceHandle; }

}  // namespace Kestrix
