#include "html/ReportPage.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "html/Groups.h"
#include "report/DecisionWords.h"
#include "report/OutcomeWords.h"

namespace Sim {
namespace {

std::string nameOf(const StepReport& step) { return step.file.empty() ? "--set" : step.file; }

// What filters do otherwise than before the step.
void putTurns(Markup& html, const StepReport& step) {
  if (step.verdicts.turns.empty()) return;
  const Table table(html, "What packets meet otherwise", {"change", "where", "packet", "now", "before"});
  for (const auto& [intf, direction, turns] : step.verdicts.turns) {
    for (const Turn& turn : turns) {
      const bool permits = turn.after.programmed.permits;
      const auto row = html.in("tr");
      {
        const auto cell = html.in("td");
        putState(html, permits ? "newly permitted" : "newly denied", Style::odd);
      }
      html.put("td", fmt::format("{} {}", intf, directionName(direction)));
      html.put("td", turn.packet.toText());
      html.put("td", judgementWords(turn.after));
      html.put("td", judgementWords(turn.before));
    }
  }
}

void putChange(Markup& html, const Change& change) {
  const auto item = html.in("li");
  html.text(changeWords(change));
  if (change.aces.empty()) return;
  const auto list = html.in("ul");
  for (const AceChange& each : change.aces) html.put("li", aceChangeWords(each));
}

void putChanges(Markup& html, const StepReport& step) {
  if (!step.isApplied() && step.settings.empty()) return;
  const auto section = html.in("section");
  html.put("h3", "What changes");
  {
    const auto list = html.in("ul");
    for (const std::string& setting : step.settings) html.put("li", setting);
    for (const Change& change : step.outcome.changes) putChange(html, change);
    if (step.isApplied() && step.outcome.changes.empty() && step.settings.empty()) html.put("li", "nothing changed");
    if (step.isApplied()) html.put("li", fmt::format("{} register writes", step.outcome.writes));
  }
  putTurns(html, step);
}

void putNotApplied(Markup& html, const StepReport& step) {
  const auto line = html.in("p");
  putState(html, "not applied", Style::bad);
  html.text(fmt::format(" Nothing of {} was applied: {}.{}", nameOf(step),
                        step.state == StepState::hasErrors ? "it has errors" : "a document before it has errors",
                        step.outcome.acls.empty() ? "" : " What would become of its ACLs on a fresh device:"));
}

void putDeviations(Markup& html, const StepReport& step) {
  if (step.deviations.empty()) return;
  const auto section = html.in("section");
  html.put("h3", "Not as on a fresh device");
  const auto list = html.in("ul");
  for (const Deviation& each : step.deviations)
    html.put("li", fmt::format("{} {}: {}", each.intf, directionName(each.direction), each.why));
}

void putStep(Markup& html, const ReportInput& input, size_t number, const std::optional<Hits>& hits) {
  const StepReport& step = input.steps[number - 1];
  if (!step.isApplied()) putNotApplied(html, step);
  if (!step.isApplied() && step.outcome.acls.empty()) return;
  const Groups groups(step);
  const StepPage page{step, number, groups, input.device, hits};
  html.put("h3", "Interfaces");
  putOverview(html, page);
  if (const std::string words = standInWords(step, input.device); !words.empty()) html.put("p", words);
  putDeviations(html, step);
  putFilters(html, page);
  putUnattached(html, page);
}

void putPacket(Markup& html, const Note& note, const std::optional<Difference>& difference) {
  if (!difference) return;
  html.put("p", fmt::format("{} {} {}", note.intf, directionName(note.direction), differenceWords(*difference)));
  html.put("p", deciderWords(*difference));
}

void putNotes(Markup& html, const std::vector<Note>& notes) {
  if (notes.empty()) return;
  const auto section = html.in("section");
  html.put("h2", "The device would differ by other readings of its registers");
  const Table table(html, "Readings", {"reading", "meaning", "packet"});
  for (const Note& note : notes) {
    const auto row = html.in("tr");
    html.put("th", {{"scope", "row"}}, readingWords(note));
    std::string meaning;
    for (const Alternative& each : note.alternatives) {
      if (!meaning.empty()) meaning += "; ";
      meaning += each.meaning;
    }
    html.put("td", meaning);
    const auto cell = html.in("td");
    putPacket(html, note, note.comparison.more);
    putPacket(html, note, note.comparison.less);
  }
}

void putModel(Markup& html, const ModelNode& node) {
  const auto item = html.in("li");
  html.text(fmt::format("{}{} {}", node.name, node.isSettable ? " =" : ":", node.value));
  if (node.members.empty()) return;
  const auto list = html.in("ul");
  for (const ModelNode& member : node.members) putModel(html, member);
}

void putTotals(Markup& html, const ReportInput& input) {
  const auto section = html.in("section");
  html.put("h2", "Register writes");
  html.put("p", fmt::format("{} register writes, {} of them at start-up", input.writes, input.startupWrites));
  if (input.failedWrites.empty()) return;
  const auto list = html.in("ul");
  for (const auto& [number, path] : input.failedWrites)
    html.put("li", fmt::format("write {} failed: {}", number, path));
}

// How many ACLs there are of a state.
Heading headingOf(const ReportInput& input, const DocumentNames& names) {
  Heading heading{titleOf(names), {}, Style::good, {}};
  if (input.diagnostics.hasErrors()) {
    heading.state = "has errors";
    heading.style = Style::bad;
  } else if (isAllApplied(input)) {
    heading.state = "all applied";
  } else {
    heading.state = "not all applied";
    heading.style = Style::bad;
  }
  if (input.steps.empty()) return heading;
  const Outcome& last = input.steps.back().outcome;
  const auto count = [&](AclState state) { return std::ranges::count(last.acls, state, &AclOutcome::state); };
  heading.summary = fmt::format("{} ACLs: {} {}applied, {} refused, {} failed, {} on no interface.", last.acls.size(),
                                count(AclState::applied), input.steps.back().isApplied() ? "" : "would be ",
                                count(AclState::refused), count(AclState::failed), count(AclState::notAttached));
  return heading;
}

}  // namespace

std::string titleOf(const DocumentNames& names) {
  const std::string documents = fmt::format("{} on {}", fmt::join(names.configs, ", "), names.device);
  return names.subject.empty() ? documents : fmt::format("{}: {}", names.subject, documents);
}

void putPreface(Markup& html, const ReportInput& input) {
  putDiagnostics(html, input.diagnostics);
  if (!input.assumptions.empty()) html.put("p", fmt::format("Assumed: {}", fmt::join(input.assumptions, ", ")));
  if (!input.failedWrites.empty() && input.failedWrites.front().number <= input.startupWrites)
    html.put("p", "The drop delay did not reach all filters at start-up.");
}

void putSteps(Markup& html, const ReportInput& input, const std::optional<Hits>& hits) {
  for (size_t i = 0; i < input.steps.size(); ++i) {
    const StepReport& step = input.steps[i];
    const bool isLast = i + 1 == input.steps.size();
    const auto section = html.in("section");
    html.put("h2", input.steps.size() == 1 ? "What the device does" : fmt::format("Step {}: {}", i + 1, nameOf(step)));
    if (input.steps.size() > 1) putChanges(html, step);
    if (isLast) {
      putStep(html, input, i + 1, hits);
    } else {
      const Folded folded(html, "Interfaces and filters after this step");
      putStep(html, input, i + 1, {});
    }
  }
  putNotes(html, input.notes);
  putTotals(html, input);
}

std::string htmlReport(const ReportInput& input, const DocumentNames& names) {
  return pageOf(headingOf(input, names), [&](Markup& html) {
    putPreface(html, input);
    putSteps(html, input, {});
    if (!input.model) return;
    const Folded folded(html, "All that the library keeps");
    const auto list = html.in("ul");
    putModel(html, *input.model);
  });
}

std::string htmlDiagnostics(const Diagnostics& diagnostics, const DocumentNames& names, const std::string& summary) {
  return pageOf({titleOf(names), "has errors", Style::bad, summary},
                [&](Markup& html) { putDiagnostics(html, diagnostics); });
}

}  // namespace Sim
