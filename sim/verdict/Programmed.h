// What a filter does with packets, from its registers alone.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/runtime/Text.h"
#include "registers/RegisterWords.h"
#include "verdict/PacketSet.h"
#include "verdict/Readings.h"

namespace Sim {

// What in a filter decides a packet.
enum class FilterPart : uint8_t { slot, arp, lldp, broadcast, multicast, rest, noAcl };

// Packets that a part of a filter decides, if nothing before it does.
struct FilterVerdict {
  FilterPart part = FilterPart::rest;
  uint8_t slot = 0;  // Of a slot.
  PacketSet matched;
  bool permits = false;
};

// All that decides packets, first to last. The last one matches what is left. A reading that is open is a choice of the
// sets. The registers of a filter that has no ACL, whatever the drop delay, let every packet pass.
std::vector<FilterVerdict> verdictsOf(const FilterDump& filter, const Readings& readings);

}  // namespace Sim

template <>
inline constexpr Platform::EnumName<Sim::FilterPart> Platform::enumNames<Sim::FilterPart>[] = {
    {Sim::FilterPart::slot, "slot"},           {Sim::FilterPart::arp, "arp"},
    {Sim::FilterPart::lldp, "lldp"},           {Sim::FilterPart::broadcast, "broadcast"},
    {Sim::FilterPart::multicast, "multicast"}, {Sim::FilterPart::rest, "rest"},
    {Sim::FilterPart::noAcl, "no-acl"}};
