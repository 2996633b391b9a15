#include "html/PacketPage.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "html/Groups.h"
#include "html/Markup.h"
#include "html/Parts.h"
#include "report/CaptureWords.h"
#include "report/PacketWords.h"

namespace Sim {
namespace {

constexpr size_t kMostUnfolded = 30;  // Of expectations.

// Where the page shows the filters that the packets met.
struct Places {
  size_t step = 0;  // From 1.
  Groups groups;

  std::string linkTo(const PacketPlace& place) const {
    return Sim::linkTo(step, groups.of(place.intf, place.direction));
  }
};

void putPlace(Markup& html, const Places& places, const PacketPlace& place) {
  html.put("a", {{"href", places.linkTo(place)}}, place.toText());
}

void putSide(Markup& html, std::string_view side, std::optional<bool> permits, const std::string& words) {
  const auto row = html.in("tr");
  html.put("th", {{"scope", "row"}}, side);
  html.put("td", verdictName(permits));
  html.put("td", words);
}

void putAnswer(Markup& html, const Places& places, const PacketAnswer& answer) {
  {
    const Table table(html, "Who decides the packet", {"side", "verdict", "decided by"});
    putSide(html, "configured", answer.shouldPass(), configuredWords(answer));
    putSide(html, "programmed", answer.passes(), programmedWords(answer));
  }
  for (const IntfOutcome* each : answer.place.inactive) html.put("p", {{"class", "difference"}}, inactiveWords(*each));
  const auto line = html.in("p");
  html.text(conclusion(answer));
  html.text(" The filter: ");
  putPlace(html, places, answer.place);
}

// --- Expectations ----------------------------------------------------------------------------------------------------

// Those that are not as wanted, and then those that are not as configured.
void putExceptions(Markup& html, const Places& places, const PacketReport& report) {
  if (std::ranges::none_of(report.answers, isException)) return;
  html.put("h2", "Not as wanted, or not as configured");
  for (const bool isWanted : {false, true}) {
    for (const PacketAnswer& answer : report.answers) {
      if (answer.isAsWanted() != isWanted || !isException(answer)) continue;
      const auto section = html.in("section", {{"class", "filter"}});
      html.put("h3", fmt::format("{} line {}: {}", report.expectations, answer.probe.line, placeWords(answer.probe)));
      {
        const auto [words, style] = expectationWords(answer);
        const auto line = html.in("p");
        putState(html, words, style);
      }
      putAnswer(html, places, answer);
    }
  }
}

std::string_view shortWords(const PacketAnswer& answer) {
  if (!answer.isAsWanted()) return "not as wanted";
  return answer.isAsConfigured() ? "as wanted" : "not as configured";
}

void putVerdict(Markup& html, std::optional<bool> permits, const std::string& words) {
  const auto cell = html.in("td");
  html.put("p", verdictName(permits));
  html.put("p", {{"class", "fields"}}, words);
}

void putExpectations(Markup& html, const Places& places, const PacketReport& report) {
  const Table table(html, "Expectations", {"line", "packet", "where", "wanted", "result", "programmed", "configured"});
  for (const PacketAnswer& answer : report.answers) {
    const auto row = html.in("tr");
    html.put("td", {{"class", "number"}}, std::to_string(answer.probe.line));
    html.put("td", answer.probe.packet.toText());
    {
      const auto cell = html.in("td");
      putPlace(html, places, answer.place);
    }
    html.put("td", verdictName(answer.probe.shouldPass));
    {
      const auto cell = html.in("td");
      putState(html, shortWords(answer), expectationWords(answer).style);
    }
    putVerdict(html, answer.passes(), programmedWords(answer));
    putVerdict(html, answer.shouldPass(), configuredWords(answer));
  }
}

void putReport(Markup& html, const Places& places, const PacketReport& report) {
  if (report.expectations.empty()) {
    for (const PacketAnswer& answer : report.answers) {
      const auto section = html.in("section");
      html.put("h2", placeWords(answer.probe));
      putAnswer(html, places, answer);
    }
    return;
  }
  putExceptions(html, places, report);
  html.put("h2", "All expectations");
  if (report.answers.size() <= kMostUnfolded) return putExpectations(html, places, report);
  const Folded folded(html, fmt::format("{} lines", withCommas(report.answers.size())));
  putExpectations(html, places, report);
}

// In a word or two.
std::string_view stateOf(const PacketReport& report) {
  if (!report.expectations.empty()) return report.isGood() ? "as wanted" : "not as wanted";
  const bool isKnown =
      std::ranges::all_of(report.answers, [](const PacketAnswer& each) { return each.shouldPass().has_value(); });
  return report.isGood() ? "as configured" : isKnown ? "not as configured" : "not known";
}

Heading headingOf(const PacketPage& page) {
  const PacketReport& report = page.report;
  Heading heading{titleOf(page.names), std::string(stateOf(report)), report.isGood() ? Style::good : Style::bad, {}};
  if (!report.expectations.empty()) {
    heading.summary = holdWords(report) + ".";
  } else if (!report.answers.empty()) {
    heading.summary = conclusion(report.answers.front());
  }
  return heading;
}

// --- Captures --------------------------------------------------------------------------------------------------------

void putList(Markup& html, const PacketList& list) {
  html.put("h2", list.title);
  if (list.packets.empty()) return;
  {
    const Table table(html, list.title, {"packet", "packets", "bytes", "decided by"});
    for (const ListedPackets& each : list.packets) {
      const auto row = html.in("tr");
      html.put("th", {{"scope", "row"}}, each.toText());
      html.put("td", {{"class", "number"}}, withCommas(each.count.packets));
      html.put("td", {{"class", "number"}}, withCommas(each.count.bytes));
      html.put("td", each.deciders);
    }
  }
  if (list.unlisted.packets != 0) html.put("p", fmt::format("and {}, which are not listed", countWords(list.unlisted)));
}

void putCounts(Markup& html, std::string_view name, const std::vector<CountRow>& rows) {
  if (rows.empty()) return;
  const Table table(html, name, {name, "packets", "bytes"});
  for (const auto& [what, count, more] : rows) {
    const auto row = html.in("tr");
    html.put("th", {{"scope", "row"}}, what);
    html.put("td", {{"class", "number"}}, withCommas(count.packets));
    html.put("td", {{"class", "number"}}, withCommas(count.bytes));
  }
}

// Each part in the colour of what it says.
void putLine(Markup& html, const Spans& spans) {
  if (spans.empty()) return;
  const auto line = html.in("p");
  for (const auto& [text, style] : spans) putSpoken(html, text, style);
}

void putTraffic(Markup& html, const Places& places, const CaptureReport& report) {
  const auto section = html.in("section");
  html.put("h2", "What becomes of the packets");
  {
    const auto line = html.in("p");
    html.text(report.file + " at ");
    putPlace(html, places, report.place);
    html.text(fmt::format(": {}", countWords(report.traffic.all)));
  }
  putLine(html, interruptionLine(report));
  for (const Spans& each : conclusionLines(report)) putLine(html, each);
  for (const PacketList& each : differingLists(report)) putList(html, each);
  for (const PacketList& each : turnedLists(report)) putList(html, each);
  html.put("h2", "What they hit");
  putCounts(html, "decided on the device by", partRows(report));
  putCounts(html, "in the capture", kindRows(report));
}

Heading headingOf(const CapturePage& page) {
  const CaptureReport& report = page.report;
  const bool isKnown = report.place.foreign == nullptr || report.place.isBlocked;
  return {titleOf(page.names),
          report.isGood() ? "as configured"
          : isKnown       ? "not as configured"
                          : "not known",
          report.isGood() ? Style::good : Style::bad, countWords(report.traffic.all) + "."};
}

}  // namespace

std::string htmlCapture(const CapturePage& page) {
  return pageOf(headingOf(page), [&](Markup& html) {
    putPreface(html, page.input);
    const auto& steps = page.input.steps;
    putTraffic(html, {steps.size(), Groups(steps.back())}, page.report);
    const PacketPlace& place = page.report.place;
    putSteps(html, page.input, Hits{place.intf, place.direction, page.report.traffic});
  });
}

std::string htmlPackets(const PacketPage& page) {
  return pageOf(headingOf(page), [&](Markup& html) {
    putPreface(html, page.input);
    const auto& steps = page.input.steps;
    putReport(html, {steps.size(), Groups(steps.back())}, page.report);
    putSteps(html, page.input, {});
  });
}

}  // namespace Sim
