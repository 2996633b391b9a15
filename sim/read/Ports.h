// The ports that an IPv4 rule matches on one packet side.
#pragma once

#include <optional>

#include "read/Configuration.h"
#include "read/Document.h"

namespace Sim {

// From a port with an operator, or a range. None, and diagnostics, when they cannot be read or matched.
std::optional<Ports> readPorts(const Place& place);

}  // namespace Sim
