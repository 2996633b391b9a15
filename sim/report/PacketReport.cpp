#include "report/PacketReport.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include <fmt/format.h>

#include "report/Json.h"
#include "report/PacketWords.h"
#include "report/Report.h"

namespace Sim {
namespace {

void writeAnswer(Page& page, const PacketAnswer& answer) {
  constexpr size_t kWords = 2 + 12 + 8;  // Where they begin.
  const auto writeSide = [&](std::string_view side, std::optional<bool> permits, const std::string& words) {
    page.line({{fmt::format("  {:<12}{:<8}{}", side, verdictName(permits), words)}}, kWords);
  };
  writeSide("configured", answer.shouldPass(), configuredWords(answer));
  writeSide("programmed", answer.passes(), programmedWords(answer));
  writeInactive(page, answer.place);
  page.line({{"  "}, {conclusion(answer), answer.isAsConfigured() ? Style::good : Style::bad}});
}

// Those that are not as wanted, or not as configured.
void writeExceptions(Page& page, const PacketReport& report) {
  for (const PacketAnswer& answer : report.answers) {
    if (!isException(answer)) continue;
    const auto [words, style] = expectationWords(answer);
    page.line({{fmt::format("{} line {}: ", report.expectations, answer.probe.line)},
               {words, style},
               {": " + placeWords(answer.probe)}});
    writeAnswer(page, answer);
    page.line();
  }
  const bool holds = std::ranges::all_of(report.answers, &PacketAnswer::isAsWanted);
  page.line({{holdWords(report), holds ? Style::good : Style::bad}});
}

// The verdict of one side; null where it is not known.
Json sideJson(std::optional<bool> permits, const std::string& words) {
  return {{"permits", permits ? Json(*permits) : Json()}, {"words", words}};
}

Json configuredJson(const PacketAnswer& answer) {
  Json json = sideJson(answer.shouldPass(), configuredWords(answer));
  if (!answer.place.isBlocked && answer.place.foreign == nullptr) addDecider(json, answer.configured);
  return json;
}

Json deviceJson(const PacketAnswer& answer) {
  Json json = sideJson(answer.passes(), programmedWords(answer));
  if (!answer.place.isBlocked) addDecider(json, answer.programmed);
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
