#include "report/PacketWords.h"

#include <algorithm>

#include <fmt/format.h>

#include "report/DecisionWords.h"

namespace Sim {

std::string placeWords(const Probe& probe) {
  return fmt::format("{}, {} {}", probe.packet.toText(), probe.intf, directionName(probe.direction));
}

std::string_view verdictName(std::optional<bool> permits) { return !permits ? "-" : *permits ? "permit" : "deny"; }

std::string configuredWords(const PacketAnswer& answer) {
  if (answer.place.isBlocked) return std::string(kDisabledWords);
  return answer.place.foreign == nullptr ? decisionWords(answer.configured) : foreignWords(*answer.place.foreign);
}

std::string programmedWords(const PacketAnswer& answer) {
  return answer.place.isBlocked ? std::string(kBlockedWords) : decisionWords(answer.programmed, *answer.place.filter);
}

std::string_view conclusion(const PacketAnswer& answer) {
  if (!answer.shouldPass()) return "Whether that is as configured is not known.";
  if (answer.isAsConfigured()) {
    return answer.place.inactive.empty() || answer.place.isBlocked
               ? "The device does as configured."
               : "The verdicts are the same, though not by these ACLs.";
  }
  return answer.passes() ? "The device lets it through, and should not." : "The device stops it, and should not.";
}

ExpectationWords expectationWords(const PacketAnswer& answer) {
  const std::string_view verdict = answer.passes() ? "permits" : "denies";
  if (!answer.isAsWanted())
    return {fmt::format("{} is wanted, and the device {} it", verdictName(!answer.passes()), verdict), Style::bad};
  if (answer.isAsConfigured()) return {fmt::format("the device {} it as wanted", verdict), Style::good};
  return {fmt::format("the device {} it as wanted, but not as configured", verdict), Style::odd};
}

bool isException(const PacketAnswer& answer) { return !answer.isAsWanted() || !answer.isAsConfigured(); }

std::string holdWords(const PacketReport& report) {
  return fmt::format("{} of {} expectations hold", std::ranges::count_if(report.answers, &PacketAnswer::isAsWanted),
                     report.answers.size());
}

}  // namespace Sim
