#include "report/DecisionWords.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <string_view>

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

// The ACE, between quotes, or the end of an ACL.
std::string deciderName(const Decision& decision, std::string_view quote) {
  if (decision.ace == nullptr) return fmt::format("the implicit deny of ACL {}", decision.acl->name);
  return fmt::format("ACE {0}{1}{0} of ACL {2}", quote, decision.ace->name, decision.acl->name);
}

std::string_view participle(bool permits) { return permits ? "permitted" : "denied"; }

// "slot 3", "its verdict for ARP".
std::string partWords(const FilterDecision& decision) {
  switch (decision.part) {
    case FilterPart::slot:
      return fmt::format("slot {}", decision.slot);
    case FilterPart::arp:
      return "its verdict for ARP";
    case FilterPart::lldp:
      return "its verdict for LLDP";
    case FilterPart::broadcast:
      return "its verdict for broadcast";
    case FilterPart::multicast:
      return "its verdict for multicast";
    case FilterPart::rest:
      return "its verdict for what no slot matches";
    case FilterPart::noAcl:
      break;
  }
  return {};
}

}  // namespace

std::string decisionWords(const Decision& decision) {
  if (decision.acl == nullptr) return "no ACL speaks of it";
  return deciderName(decision, "");
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

std::string configuredWords(const Decision& decision) {
  if (decision.acl == nullptr) return "permitted: no ACL speaks of it";
  return fmt::format("{} by {}", participle(decision.permits), deciderName(decision, "\""));
}

std::string programmedWords(const FilterDecision& decision) {
  if (decision.part == FilterPart::noAcl) return "permitted, as without an ACL";
  return fmt::format("{} by {}", participle(decision.permits), partWords(decision));
}

std::string judgementWords(const Judgement& judgement) {
  const auto& [configured, programmed] = judgement;
  return configured.permits == programmed.permits ? configuredWords(configured) : programmedWords(programmed);
}

std::string readingWords(const Note& note) {
  std::string words;
  for (size_t i = 0; i < note.readings.size(); ++i) {
    words += fmt::format("{}{}={}", i == 0 ? "" : " and ", rowOf(note.readings[i]).name, note.alternatives[i].name);
  }
  return words;
}

std::string differenceWords(const Difference& difference) {
  return fmt::format("{}: {}", difference.programmed.permits ? "lets through more" : "lets through less",
                     difference.packet.toText());
}

std::string deciderWords(const Difference& difference) {
  return fmt::format("configured: {}; the device: {}", configuredWords(difference.configured),
                     programmedWords(difference.programmed));
}

}  // namespace Sim
