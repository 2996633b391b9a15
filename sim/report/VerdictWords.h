// Who decides a packet, in words.
#pragma once

#include <string>
#include <vector>

#include "verdict/Comparison.h"

namespace Sim {

// "denied by ACE "web" of ACL guest-in", "permitted: no ACL speaks of it".
std::string configuredWords(const Decision& decision);
// "permitted by slot 3".
std::string programmedWords(const FilterDecision& decision);
// Who decides: by the ACLs where the device does as they say, otherwise by its registers.
std::string judgementWords(const Judgement& judgement);
// "vlan=opaque".
std::string readingWords(const Note& note);
// "lets through more: PACKET", or less.
std::string differenceWords(const Difference& difference);
// "configured: denied by ..., the device: permitted by ...".
std::string deciderWords(const Difference& difference);

}  // namespace Sim
