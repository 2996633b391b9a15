// Reads one access control entry (RFC 8519): its match containers and its action.
#pragma once

#include <optional>

#include "read/Configuration.h"
#include "read/Document.h"

namespace Sim {

// The rule that `ace`, an object of an ACL of type `type`, stands for. None, and diagnostics, when it cannot be read.
std::optional<AceRule> readAce(const Place& ace, Acl::AclType type);

}  // namespace Sim
