// What becomes of the packets that a rule matches.
#pragma once

#include <optional>

#include "platform/acl/AclTypes.h"
#include "read/Document.h"

namespace Sim {

// From the "actions" of an ACE. None, and diagnostics, when they cannot be read or carried out.
std::optional<Acl::Action> readAction(const Place& ace);

}  // namespace Sim
