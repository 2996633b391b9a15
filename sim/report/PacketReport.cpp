#include "report/PacketReport.h"

#include <algorithm>
#include <string_view>

#include <fmt/format.h>

#include "report/DecisionWords.h"
#include "report/Json.h"
#include "report/Report.h"

namespace Sim {
namespace {

std::string placeWords(const Probe& probe) {
  return fmt::format("{}, {} {}", probe.packet.toText(), probe.intf, directionName(probe.direction));
}

std::string_view verdictName(bool permits) { return permits ? "permit" : "deny"; }

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

void writeAnswer(Page& page, const PacketAnswer& answer) {
  constexpr size_t kWords = 2 + 12 + 8;  // Where they begin.
  const auto writeSide = [&](std::string_view side, std::optional<bool> permits, const std::string& words) {
    page.line({{fmt::format("  {:<12}{:<8}{}", side, permits ? verdictName(*permits) : "-", words)}}, kWords);
  };
  writeSide("configured", answer.shouldPass(), configuredWords(answer));
  writeSide("programmed", answer.passes(), programmedWords(answer));
  writeInactive(page, answer.place);
  page.line({{"  "}, {conclusion(answer), answer.isAsConfigured() ? Style::good : Style::bad}});
}

// Those that are not as wanted, or not as configured.
void writeExceptions(Page& page, const PacketReport& report) {
  size_t good = 0;
  for (const PacketAnswer& answer : report.answers) {
    good += answer.isAsWanted() ? 1 : 0;
    if (answer.isAsWanted() && answer.isAsConfigured()) continue;
    const Probe& probe = answer.probe;
    const std::string_view verdict = answer.passes() ? "permits" : "denies";
    page.line({{fmt::format("{} line {}: ", report.expectations, probe.line)},
               answer.isAsWanted()
                   ? Span{fmt::format("the device {} it as wanted, but not as configured", verdict), Style::odd}
                   : Span{fmt::format("{} is wanted, and the device {} it", verdictName(!answer.passes()), verdict),
                          Style::bad},
               {": " + placeWords(probe)}});
    writeAnswer(page, answer);
    page.line();
  }
  page.line({{fmt::format("{} of {} expectations hold", good, report.answers.size()),
              good == report.answers.size() ? Style::good : Style::bad}});
}

// The verdict of one side; null where it is not known.
Json sideJson(std::optional<bool> permits, const std::string& words) {
  return {{"permits", permits ? Json(*permits) : Json()}, {"words", words}};
}

Json configuredJson(const PacketAnswer& answer) {
  Json json = sideJson(answer.shouldPass(), configuredWords(answer));
  const auto& [permits, acl, ace] = answer.configured;
  if (answer.place.isBlocked || answer.place.foreign != nullptr || acl == nullptr) return json;
  json["acl"] = acl->name;
  if (ace != nullptr) json["ace"] = ace->name;
  return json;
}

Json deviceJson(const PacketAnswer& answer) {
  Json json = sideJson(answer.passes(), programmedWords(answer));
  if (answer.place.isBlocked) return json;
  json["by"] = Platform::nameOf(answer.programmed.part);
  if (answer.programmed.part == FilterPart::slot) json["slot"] = answer.programmed.slot;
  return json;
}

}  // namespace

std::optional<bool> PacketAnswer::shouldPass() const {
  if (place.isBlocked) return false;
  return place.foreign == nullptr ? std::optional(configured.permits) : std::nullopt;
}

bool PacketReport::isGood() const {
  const auto good = expectations.empty() ? &PacketAnswer::isAsConfigured : &PacketAnswer::isAsWanted;
  return std::ranges::all_of(answers, good);
}

Json answerJson(const PacketAnswer& answer) {
  const Probe& probe = answer.probe;
  Json json{{"packet", probe.packet.toText()},
            {"interface", probe.intf.toText()},
            {"direction", directionName(probe.direction)},
            {"configured", configuredJson(answer)},
            {"device", deviceJson(answer)},
            {"asConfigured", answer.isAsConfigured()},
            {"blocked", answer.place.isBlocked},
            {"inactive", inactiveJson(answer.place)}};
  if (!probe.shouldPass) return json;
  json["line"] = probe.line;
  json["wanted"] = {{"permits", *probe.shouldPass}};
  json["asWanted"] = answer.isAsWanted();
  return json;
}

std::string textReport(const PacketReport& report, const Looks& looks) {
  Page page(looks);
  if (report.expectations.empty()) {
    for (const PacketAnswer& answer : report.answers) {
      page.line({{placeWords(answer.probe), Style::head}});
      writeAnswer(page, answer);
    }
  } else {
    writeExceptions(page, report);
  }
  const std::string warnings = textDiagnostics(report.diagnostics, looks);
  return warnings.empty() ? page.text() : warnings + "\n" + page.text();
}

std::string jsonReport(const PacketReport& report) {
  Json json{{"result", report.expectations.empty() ? report.isGood() ? "as-configured" : "not-as-configured"
                       : report.isGood()           ? "as-wanted"
                                                   : "not-as-wanted"},
            {"diagnostics", diagnosticsJson(report.diagnostics)},
            {"packets", Json::array()}};
  for (const PacketAnswer& answer : report.answers) json["packets"].push_back(answerJson(answer));
  return textOf(json);
}

}  // namespace Sim
