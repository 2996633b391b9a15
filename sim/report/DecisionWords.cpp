#include "report/DecisionWords.h"

#include <algorithm>
#include <array>
#include <bit>

#include <fmt/format.h>

namespace Sim {
namespace {

namespace Layout = Kestrix::Layout;

// The bit of `action` that a part of a filter is.
struct VerdictBit {
  FilterPart part = FilterPart::rest;
  Layout::FlagBit bit;
};
constexpr std::array kVerdictBits{
    VerdictBit{FilterPart::arp, Layout::kPermitArp},
    VerdictBit{FilterPart::lldp, Layout::kPermitLldp},
    VerdictBit{FilterPart::broadcast, Layout::kPermitBroadcast},
    VerdictBit{FilterPart::multicast, Layout::kPermitMulticast},
    VerdictBit{FilterPart::rest, Layout::kPermitAny},
};

}  // namespace

std::string decisionWords(const Decision& decision) {
  if (decision.acl == nullptr) return "no ACL speaks of it";
  if (decision.ace == nullptr) return fmt::format("the implicit deny of ACL {}", decision.acl->name);
  return fmt::format("ACE {} of ACL {}", decision.ace->name, decision.acl->name);
}

std::string decisionWords(const FilterDecision& decision, const FilterDump& filter) {
  if (decision.part == FilterPart::slot)
    return fmt::format("slot {}: {}", decision.slot, filter.slotWords(filter.slots.at(decision.slot)));
  const auto* const row = std::ranges::find(kVerdictBits, decision.part, &VerdictBit::part);
  if (row != kVerdictBits.end()) {
    return fmt::format("bit {} of action, \"{}\", is {}", std::countr_zero(row->bit.mask), row->bit.meaning,
                       filter.isSet(Layout::kAction, row->bit) ? "set" : "clear");
  }
  return filter.isSet(Layout::kEnable, Layout::kIpv4)
             ? "no part of it: the filter is programmed for IPv4"
             : "no part of it: the filter is that of an interface without an ACL";
}

}  // namespace Sim
