// Storing a translated rule: what IPv4 and MAC rules have in common.
#pragma once

#include <cstdint>
#include <optional>

#include "model/BaseAcl.h"
#include "platform/runtime/Trace.h"
#include "translate/RuleSide.h"

namespace Kestrix {

// The slot for the ACL's next rule; none when all `limit` are taken.
std::optional<uint8_t> freeSlot(const BaseAcl& acl, uint8_t limit);

// Stores the rule, which also settles the side of the ACL.
void storeRule(BaseAcl& acl, const AclRule& rule, RuleSide side, const Platform::TraceScope& trace);

}  // namespace Kestrix
