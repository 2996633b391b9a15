// What the library's reasons mean for whoever wrote the configuration.
#pragma once

#include <string_view>

namespace Sim {

struct Explanation {
  std::string_view code;    // Stable, for programs.
  std::string_view remedy;  // What to do about it.
};

// Of a reason as the helper or the framework gives it. Every reason has one.
Explanation explain(std::string_view reason);

}  // namespace Sim
