// The documents of examples/quick-start, as the build has found them there.
#pragma once

#include <string_view>

namespace Sim {

extern const std::string_view kStarterDevice;
extern const std::string_view kStarterAcls;

}  // namespace Sim
