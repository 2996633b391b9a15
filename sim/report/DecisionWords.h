// Who decides a packet, in words.
#pragma once

#include <string>

#include "registers/RegisterWords.h"
#include "verdict/Comparison.h"

namespace Sim {

// The ACE or the end of the ACL; what there is instead, where no ACL decides.
std::string decisionWords(const Decision& decision);

// The slot, and what it says, or the bit of `action` that is the verdict.
std::string decisionWords(const FilterDecision& decision, const FilterDump& filter);

}  // namespace Sim
