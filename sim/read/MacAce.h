// Reads an entry of a MAC ACL.
#pragma once

#include "read/Configuration.h"
#include "read/Document.h"

namespace Sim {

// The rule that `ace` stands for. What is wrong with `ace` is reported, all of it; with errors the result is of no use.
MacRule readMacAce(const Place& ace);

}  // namespace Sim
