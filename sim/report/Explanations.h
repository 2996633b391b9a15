// What the reasons for which something is not as configured mean for whoever wrote the configuration.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulate/Reason.h"

namespace Sim {

struct Explanation {
  std::string_view code;                // Stable, for programs.
  std::string message;                  // What is wrong, with the fields that it is about.
  std::vector<ConfiguredField> fields;  // These.
  std::string remedy;                   // The limit, and what to do about it; what that makes of the rule.
};

Explanation explain(const Reason& reason);

// What else the rule is refused for once it is changed as `explain` says.
std::vector<Reason> reasonsAfter(const Reason& reason);

// How many ports the range has that a rule is refused for; none for another reason.
std::optional<uint64_t> portsOf(const Reason& reason);

}  // namespace Sim
