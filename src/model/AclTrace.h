// The library's one trace handle, and trace points on it.
#pragma once

#include <string_view>

#include "platform/runtime/Export.h"
#include "platform/runtime/Trace.h"

namespace Kestrix {

// The handle named KestrixAclHelper, for the agent to set its level and sink. It lives as long as the library is
// loaded.
KESTRIX_API Platform::TraceHandle& aclTraceHandle();

namespace Detail {
extern Platform::TraceHandle aclTraceHandle;
}  // namespace Detail

// The trace points of one operation of one of the library's classes.
class AclTrace : public Platform::TraceScope {
 public:
  // Both views must outlive the scope; they are literals in practice.
  AclTrace(std::string_view className, std::string_view operation)
      : TraceScope(Detail::aclTraceHandle, "KestrixAclHelper", className, operation) {}
};

}  // namespace Kestrix
