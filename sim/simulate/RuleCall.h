// A rule given to the helper, and what it made of it.
#pragma once

#include <cstdint>

#include "helper/AclHelper.h"
#include "platform/acl/AclData.h"
#include "read/Configuration.h"
#include "simulate/Outcome.h"

namespace Sim {

// Gives `ace` as the rule `number` of an ACL that the helper knows, and reads off its shadow of the ACL what the rule
// became. A rule that could not be read is not given.
AceOutcome giveRule(Kestrix::AclHelper& helper, const Platform::Ptr<Platform::AclData>& aclData, uint32_t number,
                    const Ace& ace);

}  // namespace Sim
