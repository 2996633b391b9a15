// Who decides a packet, in words.
#pragma once

#include <string>

#include "registers/RegisterWords.h"
#include "verdict/Comparison.h"

namespace Sim {

// --- Of single packets -----------------------------------------------------------------------------------------------
// For whoever asks about a packet and looks into the registers: beside a verdict that is said already, and what
// decides in full.

// The ACE or the end of the ACL; what there is instead, where no ACL decides.
std::string decisionWords(const Decision& decision);
// The slot, and what it says, or the bit of `action` that is the verdict.
std::string decisionWords(const FilterDecision& decision, const FilterDump& filter);

// --- Of whole filters ------------------------------------------------------------------------------------------------
// For whoever reads what became of the ACLs: the verdict and, in short, who decides, within a sentence about an
// example. The slots are shown elsewhere.

// `denied by ACE "web" of ACL guest-in`, "permitted: no ACL speaks of it".
std::string configuredWords(const Decision& decision);
// "permitted by slot 3".
std::string programmedWords(const FilterDecision& decision);
// Who decides: by the ACLs where the device does as they say, otherwise by its registers.
std::string judgementWords(const Judgement& judgement);
// "vlan=opaque".
std::string readingWords(const Note& note);
// "lets through more: PACKET", or less.
std::string differenceWords(const Difference& difference);
// "configured: denied by ...; the device: permitted by ...".
std::string deciderWords(const Difference& difference);

}  // namespace Sim
