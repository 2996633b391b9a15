// The fields of an ACE as they stand in the document, beside the rule that they were read into.
#pragma once

#include <vector>

#include "read/Configuration.h"
#include "read/Document.h"

namespace Sim {

// What narrows `rule`, as `ace` was read without an error, down: source, destination, protocol and the rest, in this
// order. What matches anything is left out.
std::vector<ConfiguredField> configuredFields(const Place& ace, const AceRule& rule);

}  // namespace Sim
