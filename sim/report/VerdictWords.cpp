#include "report/VerdictWords.h"

#include <cstddef>
#include <string_view>

#include <fmt/format.h>

namespace Sim {
namespace {

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

std::string configuredWords(const Decision& decision) {
  if (decision.acl == nullptr) return "permitted: no ACL speaks of it";
  const std::string ace =
      decision.ace != nullptr ? fmt::format("ACE \"{}\"", decision.ace->name) : std::string("the implicit deny");
  return fmt::format("{} by {} of ACL {}", participle(decision.permits), ace, decision.acl->name);
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
