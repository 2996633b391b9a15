// Steps that the helper's operations have in common: what they check of their callers, and what they trace.
#pragma once

#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "helper/AclHelper.h"
#include "model/Refusal.h"
#include "model/ShadowAcl.h"
#include "model/TracePoints.h"
#include "platform/runtime/Trace.h"

namespace Kestrix {

// A construction argument of `Owner`. Raises RangeError when it is null.
template <class Owner, class T>
Platform::Ptr<T> requireNotNull(std::string_view attribute, const Platform::Ptr<T>& object) {
  if (object) return object;
  throw Platform::RangeError(fmt::format("{}.{}: must not be null", Owner::modelName(), attribute));
}

// Raises ConsistencyError, traced for the operation, while the helper accesses a register: the pass that does is in the
// middle, and would not notice what the operation changes.
inline void requireNoAccess(const AclHelper& helper, std::string_view className, std::string_view operation) {
  if (helper.accessing()) [[unlikely]] {
    Platform::consistencyFailure(AclTrace(className, operation),
                                 "The transport must not call the helper while it reads or writes a register");
  }
}

// What each operation of the helper makes before it does anything: its trace points, and references to the helper and
// to the framework's object of the ACL, where there is one, as everything that it calls, a trace sink too, may drop the
// last other ones. Raises as requireNoAccess.
class OperationTrace : public AclTrace {
 public:
  // `operation` must outlive the object; it is a literal in practice.
  OperationTrace(const AclHelper& helper, std::string_view operation, Platform::Ptr<Platform::AclData> aclData = {})
      : AclTrace("AclHelper", operation), self_(&helper), aclData_(std::move(aclData)) {
    requireNoAccess(helper, "AclHelper", operation);
  }

 private:
  Platform::Ptr<const AclHelper> self_;
  Platform::Ptr<Platform::AclData> aclData_;
};

// The key of the framework's ACL object, as long as that lives. Raises RangeError when there is none.
inline const Platform::AclKey& keyOf(const Platform::Ptr<Platform::AclData>& aclData) {
  if (!aclData) throw Platform::RangeError("aclData: must not be null");
  return aclData->key();
}

// The entry trace that the operations of one ACL share.
inline void traceAcl(const Platform::TraceScope& trace, const Platform::AclKey& key) {
  trace.level5("acl: {} type: {} direction: {}", key.name, key.type, key.direction);
}

// The ACL's shadow. Raises ConsistencyError when the ACL was never attached.
inline Platform::Ptr<ShadowAcl> attachedAcl(const AclHelper& helper, const Platform::AclKey& key,
                                            const Platform::TraceScope& trace) {
  if (Platform::Ptr<ShadowAcl> shadowAcl = helper.allShadowAcl(key)) return shadowAcl;
  Platform::consistencyFailure(trace, "ACL config should always exist");
}

// A pass of the ACL over its `intfs`, as forEachStable: the error of the last interface for which `visit` returned one.
template <class Visit>
Platform::AclCreateError passOver(ShadowAcl& shadowAcl, const Platform::Set<Platform::IntfId>& intfs, Visit&& visit) {
  std::optional<Platform::IntfId> failed = shadowAcl.untoldIntfDel();
  auto result = Platform::AclCreateError::noError;
  if (failed) result = shadowAcl.errorIntf(*failed).value_or(result);
  try {
    Platform::forEachStable(intfs, [&](Platform::IntfId intf) {
      const Platform::AclCreateError error = visit(intf);
      if (error != Platform::AclCreateError::noError) failed = intf, result = error;
    });
  } catch (const std::bad_alloc&) {
    if (failed) shadowAcl.untoldIntfIs(*failed);
    throw;
  }
  return result;
}

// Traces why a rule is refused, and gives it on.
inline Refused traced(const Refused& refused, const Platform::TraceScope& trace) {
  trace.level5("{}", refused);
  return refused;
}

// Raises ConsistencyError when `shadowAcl`, a ShadowAcl or what one holds, is null.
template <class T>
void requireShadowAcl(const Platform::Ptr<T>& shadowAcl, const Platform::TraceScope& trace) {
  if (!shadowAcl) Platform::consistencyFailure(trace, "The shadow ACL should always exist");
}

}  // namespace Kestrix
