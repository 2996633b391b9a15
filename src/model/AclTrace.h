// The library's one trace handle.
#pragma once

#include "platform/runtime/Export.h"
#include "platform/runtime/Trace.h"

namespace Kestrix {

// The handle named KestrixAclHelper, for the agent to set its level and sink. It lives as long as the library is
// loaded.
KESTRIX_API Platform::TraceHandle& aclTraceHandle();

}  // namespace Kestrix
