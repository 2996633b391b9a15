// Reads ACLs in the IETF's model (RFC 8519), JSON-encoded (RFC 7951), into what the helper takes.
// A rule is read in full or refused: nothing that its author wrote is left out silently.
#pragma once

#include <string>
#include <string_view>

#include "read/Configuration.h"
#include "read/Device.h"
#include "read/Diagnostics.h"

namespace Sim {

// What is wrong, or only worth knowing, goes to `diagnostics`, all of it. With errors the result is not to be applied:
// it has what could be read, and an ACL or ACE without a name of its own is named by its place in the list, as in
// "acl/0".
Configuration readConfiguration(const std::string& file, std::string_view text, const Device& device,
                                Diagnostics& diagnostics);

}  // namespace Sim
