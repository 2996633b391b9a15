// Trace points on the library's one handle: its own, not the agent's.
#pragma once

#include <string_view>

#include "platform/runtime/Trace.h"

namespace Kestrix {

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
