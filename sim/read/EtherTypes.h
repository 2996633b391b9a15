// The EtherType that a MAC rule matches.
#pragma once

#include <cstdint>
#include <optional>

#include "read/Document.h"

namespace Sim {

// In host order, from its number or its name in the model. None, and a diagnostic, when it cannot be read or matched.
std::optional<uint32_t> readEtherType(const Place& place);

}  // namespace Sim
