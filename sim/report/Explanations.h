// What the reasons for which something is not as configured mean for whoever wrote the configuration.
#pragma once

#include <string_view>

#include "simulate/Reason.h"

namespace Sim {

struct Explanation {
  std::string_view code;    // Stable, for programs.
  std::string_view remedy;  // What to do about it.
};

Explanation explain(const Reason& reason);

}  // namespace Sim
