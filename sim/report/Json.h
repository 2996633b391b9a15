// What all reports in JSON have in common.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "read/Diagnostics.h"
#include "verdict/Comparison.h"

namespace Sim {

// Members stay in the order in which they are added.
using Json = nlohmann::ordered_json;

Json diagnosticsJson(const Diagnostics& diagnostics);
// The members that say who decides a packet: `acl` and `ace`, absent where there is none,
void addDecider(Json& json, const Decision& decision);
// or `by`, and `slot` where it is one.
void addDecider(Json& json, const FilterDecision& decision);
// A document, with a line break at its end. Bytes that are not UTF-8 are replaced.
std::string textOf(const Json& json);

}  // namespace Sim
