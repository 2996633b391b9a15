// What the operations of the helper check of their callers.
#pragma once

#include <string_view>

#include <fmt/format.h>

#include "helper/AclHelper.h"
#include "model/Refusal.h"
#include "platform/runtime/Trace.h"

namespace Kestrix {

// A construction argument of `Owner`. Raises RangeError when it is null.
template <class Owner, class T>
Platform::Ptr<T> requireSet(std::string_view attribute, const Platform::Ptr<T>& object) {
  if (object) return object;
  throw Platform::RangeError(fmt::format("{}.{}: must not be null", Owner::modelName(), attribute));
}

// The key of the framework's ACL object. Raises RangeError when there is none.
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

// Traces why a rule is refused, and gives it on.
inline Refused traced(const Refused& refused, const Platform::TraceScope& trace) {
  trace.level5("{}", refused);
  return refused;
}

// Raises ConsistencyError for no shadow ACL.
inline void requireShadowAcl(bool exists, const Platform::TraceScope& trace) {
  if (!exists) Platform::consistencyFailure(trace, "The shadow ACL should always exist");
}

}  // namespace Kestrix
