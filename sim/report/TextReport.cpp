#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include <fmt/format.h>

#include "registers/RegisterWords.h"
#include "report/DecisionWords.h"
#include "report/Explanations.h"
#include "report/OutcomeWords.h"
#include "report/Page.h"
#include "report/Report.h"
#include "report/Table.h"

namespace Sim {
namespace {

// The first few, and how many more there are.
std::string listOf(const std::vector<Platform::IntfId>& intfs) {
  constexpr size_t kMost = 4;
  const size_t named = intfs.size() > kMost ? kMost - 1 : intfs.size();
  std::string list;
  for (size_t i = 0; i < named; ++i) list += (i == 0 ? "" : ", ") + intfs[i].toText();
  return named == intfs.size() ? list : fmt::format("{} and {} more", list, intfs.size() - named);
}

// What is said alike of several interfaces: what, and where. In the order in which it was said first.
class Sayings {
 public:
  void add(const std::string& start, Platform::IntfId intf, const std::string& end, const std::string& below) {
    const auto [place, isNew] = positions_.try_emplace({start, end, below}, sayings_.size());
    if (isNew) sayings_.push_back({start, {}, end, below});
    sayings_[place->second].intfs.push_back(intf);
  }
  // A line for each, with its interfaces between start and end, and one below it where there is more to say.
  void write(Page& page, Style style) const {
    for (const auto& [start, intfs, end, below] : sayings_) {
      page.line({{fmt::format("  {}{}{}", start, listOf(intfs), end), style}});
      if (!below.empty()) page.line({{"    " + below}}, 6);
    }
  }

 private:
  struct Saying {
    std::string start;
    std::vector<Platform::IntfId> intfs;
    std::string end;
    std::string below;
  };

  std::map<std::tuple<std::string, std::string, std::string>, size_t> positions_;
  std::vector<Saying> sayings_;
};

// What a row of the table of interfaces is about.
struct IntfItem {
  const IntfOutcome& intf;
  const FilterDump& filter;
  unsigned filled;  // Slots of the filter, by this ACL,
  unsigned slots;   // and all.
  StateWords state;

  bool isActive() const { return intf.state == IntfState::active; }
};

constexpr Column<IntfItem> kIntfColumns[] = {
    {"interface", [](const IntfItem& item) { return item.intf.intf.toText(); }},
    {"direction", [](const IntfItem& item) { return std::string(directionName(item.intf.direction)); }},
    {"ACL", [](const IntfItem& item) { return item.intf.acl; }},
    {"state", [](const IntfItem& item) { return item.state.state; },
     [](const IntfItem& item) { return item.state.style; }},
    {"slots", [](const IntfItem& item) { return fmt::format("{}/{}", item.filled, item.slots); }},
    {"unmatched",
     [](const IntfItem& item) {
       return std::string(!item.isActive() ? "-" : item.filter.permitsUnmatched() ? "permit" : "deny");
     }},
    {"reason", [](const IntfItem& item) { return item.state.reason; }},
};

void writeIntfs(Page& page, const StepReport& step, const Device& device) {
  std::vector<IntfItem> items;
  items.reserve(step.outcome.intfs.size());
  for (const AclOutcome& acl : step.outcome.acls) {
    for (const IntfOutcome& intf : step.outcome.intfsOf(acl)) {
      items.push_back({intf, step.filters.of(intf.intf, intf.direction), slotsFilled(intf, acl, step),
                       device.slots(intf.direction), stateWords(intf, acl, step)});
    }
  }
  writeTable(kIntfColumns, items, page);
}

// What to do about what stands above it, from `column` on.
void writeRemedy(Page& page, size_t column, std::string_view remedy) {
  page.line({{fmt::format("{:{}}-> {}", "", column, remedy)}}, column + 3);
}

void writeAces(Page& page, const AclOutcome& acl, const StepReport& step) {
  size_t width = 0;
  for (const AceOutcome& ace : acl.aces) width = std::max(width, Shown(ace.name).columns());
  const size_t words = 2 + width + 2;  // Where they begin.
  const FilterDump* holder = holderOf(acl, step);
  for (const AceOutcome& ace : acl.aces) {
    page.line({{Shown("  " + ace.name).filledTo(words)}, {aceWords(ace, acl, step, holder), styleOf(ace.state)}},
              words);
    if (ace.state != AceState::refused) continue;
    writeRemedy(page, words, explain(ace.reason).remedy);
    for (const Reason& next : reasonsAfter(ace.reason)) {
      const Explanation explanation = explain(next);
      page.line({{fmt::format("{:{}}then: {}", "", words, explanation.message)}}, words + 6);
      writeRemedy(page, words, explanation.remedy);
    }
  }
}

// What the device does with packets otherwise than the ACL says.
void writeDifferences(Page& page, const AclOutcome& acl, const StepReport& step) {
  Sayings sayings;
  for (const IntfOutcome& intf : step.outcome.intfsOf(acl)) {
    for (const Difference& each : differencesOf(intf, acl, step)) {
      const std::string words = fmt::format(" {} {}", directionName(intf.direction), differenceWords(each));
      // Where the ACL is not in force, it is known already why.
      sayings.add("", intf.intf, words, intf.state == IntfState::active ? deciderWords(each) : "");
    }
  }
  sayings.write(page, Style::bad);
}

void writeWastedSlots(Page& page, const AclOutcome& acl, const StepReport& step) {
  const size_t wasted = wastedSlots(acl, step);
  if (wasted == 0) return;
  page.line({{"  " + wastedWords(wasted), Style::odd}});
}

void writeAcl(Page& page, const AclOutcome& acl, const StepReport& step) {
  const std::string direction = acl.isAttached ? fmt::format(", {}", directionName(acl.key.direction)) : std::string();
  page.line();
  page.line({{fmt::format("ACL {} ({}{}): ", acl.key.name, acl.typeName, direction)},
             {aclWords(acl, step), styleOf(acl, step)},
             {exceptionWords(acl, step), Style::odd}});
  if (isAboutWholeAcl(acl)) writeRemedy(page, 2, explain(acl.reason).remedy);
  writeAces(page, acl, step);
  writeWastedSlots(page, acl, step);
  writeDifferences(page, acl, step);
}

void writeRegister(Page& page, std::string_view name, uint32_t value, const std::string& words) {
  const std::string lead = fmt::format("  {:<7} 0x{:08x}", name, value);
  page.line({{lead}, {words.empty() ? "" : "  " + words}}, lead.size() + 2);
}

void writeSlot(Page& page, const FilterDump& filter, const SlotDump& slot) {
  page.line({{fmt::format("  rule[{}]  {}", slot.slot, filter.slotWords(slot))}});
  std::string registers = "  ";
  for (const auto& row : Kestrix::Layout::kSlotRegisters)
    registers += fmt::format("  {} 0x{:0{}x}", row.name, slot.value(row), row.width / 4);
  page.line({{registers}});
}

void writeFilter(Page& page, const FilterDump& filter) {
  const Span title{fmt::format("{} {}  {}", filter.intf, directionName(filter.direction), filter.path), Style::head};
  page.line();
  if (filter.isZero()) return page.line({title, {"  all registers 0"}});
  page.line({title});
  for (const auto& row : Kestrix::Layout::kFilterRegisters)
    writeRegister(page, row.name, filter.value(row), filter.words(row));
  size_t zeroSlots = 0;
  for (const SlotDump& slot : filter.slots) {
    if (slot.isZero() && !filter.slotEnabled(slot.slot)) {
      ++zeroSlots;
    } else {
      writeSlot(page, filter, slot);
    }
  }
  if (zeroSlots != 0) page.line({{fmt::format("  {} slots free, all 0", zeroSlots)}});
}

void writeFilters(Page& page, const FilterDumps& filters) {
  for (const FilterDump& filter : filters.all()) {
    if (!filter.slots.empty()) writeFilter(page, filter);
  }
}

// Two blanks for each level; "=" where a value can be set, ":" elsewhere.
void writeModel(Page& page, const ModelNode& node, size_t depth) {
  const size_t indent = 2 * depth;
  page.line({{fmt::format("{:{}}{}{} {}", "", indent, node.name, node.isSettable ? " =" : ":", node.value)}},
            indent + 4);
  for (const ModelNode& member : node.members) writeModel(page, member, depth + 1);
}

// What filters do otherwise than before the step.
void writeTurns(Page& page, const std::vector<FilterTurns>& turned) {
  Sayings sayings;
  for (const auto& [intf, direction, turns] : turned) {
    for (const Turn& turn : turns) {
      sayings.add(turn.after.programmed.permits ? "newly permitted on " : "newly denied on ", intf,
                  fmt::format(" {}: {}", directionName(direction), turn.packet.toText()),
                  fmt::format("{}; before: {}", judgementWords(turn.after), judgementWords(turn.before)));
    }
  }
  sayings.write(page, Style::plain);
}

// What has changed with the step, which is the `number`th of several.
void writeStepHead(Page& page, const StepReport& step, size_t number) {
  if (number > 1) {
    page.line();
    page.line();
  }
  page.line({{fmt::format("Step {}: {}", number, step.file.empty() ? "--set" : step.file), Style::head}});
  for (const std::string& setting : step.settings) page.line({{"  " + setting}});
  for (const Change& change : step.outcome.changes) {
    page.line({{"  " + changeWords(change)}});
    for (const AceChange& each : change.aces) page.line({{"    " + aceChangeWords(each)}});
  }
  if (!step.isApplied()) return;
  if (step.outcome.changes.empty() && step.settings.empty()) page.line({{"  nothing changed"}});
  page.line({{fmt::format("  {} register writes", step.outcome.writes)}});
  writeTurns(page, step.verdicts.turns);
  page.line();
}

// Why a step was not applied, and what is shown of it instead.
void writeNotApplied(Page& page, const StepReport& step) {
  const std::string name = step.file.empty() ? "--set" : step.file;
  const std::string_view why = step.state == StepState::hasErrors ? "it has errors" : "a document before it has errors";
  page.line({{fmt::format("Nothing of {} was applied: {}.", name, why), Style::bad}});
  if (step.outcome.acls.empty()) return;
  page.line({{"What would become of its ACLs on a fresh device:"}});
  page.line();
}

// Of interfaces that have no ACL, and so no line of the table.
void writeDifferencesWithoutAcl(Page& page, const StepReport& step) {
  for (const auto& [place, differences] : step.verdicts.differences) {
    const auto& [intf, direction, type] = place;
    if (type) continue;
    for (const Difference& each : differences) {
      page.line({{fmt::format("{} {}, which has no ACL, {}", intf, directionName(direction), differenceWords(each)),
                  Style::bad}});
      page.line({{"  the device: " + programmedWords(each.programmed)}});
    }
  }
}

void writeStep(Page& page, const StepReport& step, const Device& device) {
  const Outcome& outcome = step.outcome;
  if (!step.isApplied()) writeNotApplied(page, step);
  if (!step.isApplied() && outcome.acls.empty()) return;
  if (outcome.intfs.empty()) {
    page.line({{"No ACL is attached to an interface."}});
  } else {
    writeIntfs(page, step, device);
  }
  if (const std::string words = standInWords(step, device); !words.empty()) page.line({{words}});
  for (const Platform::IntfId intf : outcome.blocked) {
    page.line({{fmt::format("{} is blocked: it passes no traffic", intf), Style::odd}});
  }
  writeDifferencesWithoutAcl(page, step);
  for (const AclOutcome& acl : outcome.acls) writeAcl(page, acl, step);
  if (step.deviations.empty()) return;
  page.line();
  page.line({{"Not as on a fresh device:"}});
  for (const Deviation& each : step.deviations) {
    page.line({{fmt::format("  {} {}: ", each.intf, directionName(each.direction))}, {each.why, Style::odd}});
  }
}

void writeDiagnostic(Page& page, const Diagnostic& each) {
  const bool isError = each.severity == Severity::error;
  std::string about;
  if (!each.acl.empty()) about += fmt::format("ACL \"{}\"", each.acl);
  if (!each.ace.empty()) about += fmt::format(", ACE \"{}\"", each.ace);
  if (!about.empty()) about += ": ";
  page.line({{each.file + ": "},
             isError ? Span{"error", Style::bad} : Span{"warning", Style::odd},
             {": " + about + each.message}});
  if (!each.path.empty()) page.line({{"  at " + each.path}});
  writeRemedy(page, 2, each.remedy);
}

// What depends on how the hardware reads its registers.
void writeNotes(Page& page, const std::vector<Note>& notes, bool arePackets) {
  if (notes.empty()) return;
  page.line();
  page.line({{"The device would differ", Style::head},
             {arePackets ? " by other readings of its registers:"
                         : " by other readings of its registers (--notes shows packets):"}});
  size_t width = 0;
  for (const Note& note : notes) width = std::max(width, readingWords(note).size());
  for (const Note& note : notes) {
    std::string meaning;
    for (const Alternative& each : note.alternatives)
      meaning += (meaning.empty() ? "" : "; ") + std::string(each.meaning);
    page.line({{fmt::format("  {:{}}  {}", readingWords(note), width, meaning)}}, width + 4);
    if (!arePackets) continue;
    for (const auto* each : {&note.comparison.more, &note.comparison.less}) {
      if (!*each) continue;
      page.line({{fmt::format("    {} {} {}", note.intf, directionName(note.direction), differenceWords(**each))}}, 6);
      page.line({{"      " + deciderWords(**each)}}, 8);
    }
  }
}

void writeTotals(Page& page, const ReportInput& input) {
  const auto& failed = input.failedWrites;
  Spans totals{{fmt::format("{} register writes, {} of them at start-up", input.writes, input.startupWrites)}};
  if (!failed.empty()) totals.insert(totals.end(), {{", "}, {fmt::format("{} failed", failed.size()), Style::bad}});
  page.line();
  page.line(totals);
  for (const auto& [number, path] : failed) page.line({{fmt::format("  write {} failed: {}", number, path)}});
}

}  // namespace

std::string textDiagnostics(const Diagnostics& diagnostics, const Looks& looks) {
  Page page(looks);
  for (const Diagnostic& each : diagnostics.all()) writeDiagnostic(page, each);
  return page.text();
}

std::string textReport(const ReportInput& input, const TextOptions& options) {
  Page page(options.looks);
  for (const Diagnostic& each : input.diagnostics.all()) writeDiagnostic(page, each);
  if (!input.diagnostics.all().empty()) page.line();
  if (!input.assumptions.empty()) {
    page.line({{fmt::format("Assumed: {}", fmt::join(input.assumptions, ", ")), Style::odd}});
    page.line();
  }
  if (!input.failedWrites.empty() && input.failedWrites.front().number <= input.startupWrites) {
    page.line({{"The drop delay did not reach all filters at start-up.", Style::bad}});
    page.line();
  }
  for (size_t i = 0; i < input.steps.size(); ++i) {
    if (input.steps.size() > 1) writeStepHead(page, input.steps[i], i + 1);
    writeStep(page, input.steps[i], input.device);
  }
  if (options.registers) writeFilters(page, input.filters);
  if (input.model) {
    page.line();
    writeModel(page, *input.model, 0);
  }
  writeNotes(page, input.notes, options.notes);
  writeTotals(page, input);
  return page.text();
}

}  // namespace Sim
