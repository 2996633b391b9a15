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

// As JSON has them.
template <>
inline constexpr Platform::EnumName<Sim::FilterPart> Platform::enumNames<Sim::FilterPart>[] = {
    {Sim::FilterPart::slot, "slot"},           {Sim::FilterPart::arp, "arp"},
    {Sim::FilterPart::lldp, "lldp"},           {Sim::FilterPart::broadcast, "broadcast"},
    {Sim::FilterPart::multicast, "multicast"}, {Sim::FilterPart::rest, "rest"},
    {Sim::FilterPart::noAcl, "no-acl"}};
