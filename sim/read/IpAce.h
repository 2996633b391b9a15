// Reads an entry of an IPv4 ACL.
#pragma once

#include "read/Configuration.h"
#include "read/Document.h"

namespace Sim {

// The rule, or the fragment rule, that `ace` stands for. What is wrong with `ace` is reported, all of it; with errors
// the result is of no use.
AceRule readIpAce(const Place& ace);

}  // namespace Sim
