#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "report/Colour.h"
#include "report/Explanations.h"
#include "report/OutcomeWords.h"
#include "report/RegisterWords.h"
#include "report/Report.h"
#include "report/Table.h"

namespace Sim {
namespace {

using Out = std::back_insert_iterator<std::string>;

// What a row of the table of interfaces is about.
struct IntfItem {
  const IntfOutcome& intf;
  const FilterDump& filter;
  unsigned slots;  // Of the filter, in use or not.
  bool isApplied;  // Or what would be.

  bool isActive() const { return intf.state == IntfState::active; }
};

constexpr Column<IntfItem> kIntfColumns[] = {
    {"interface", [](const IntfItem& item) { return item.intf.intf.toText(); }},
    {"direction", [](const IntfItem& item) { return std::string(directionName(item.intf.direction)); }},
    {"ACL", [](const IntfItem& item) { return item.intf.acl; }},
    {"state",
     [](const IntfItem& item) {
       return fmt::format("{}{}", item.isApplied ? "" : "would be ", Platform::nameOf(item.intf.state));
     },
     [](const IntfItem& item) { return item.isActive() ? Style::good : Style::bad; }},
    {"slots", [](const IntfItem& item) { return fmt::format("{}/{}", item.filter.slotsInUse(), item.slots); }},
    {"unmatched",
     [](const IntfItem& item) {
       return std::string(!item.isActive() ? "-" : item.filter.permitsUnmatched() ? "permit" : "deny");
     }},
    {"reason", [](const IntfItem& item) { return item.intf.reason.words(); }},
};

std::string intfTable(const StepReport& step, const Device& device, const Paint& paint) {
  std::vector<IntfItem> items;
  items.reserve(step.outcome.intfs.size());
  for (const IntfOutcome& intf : step.outcome.intfs) {
    items.push_back({intf, step.filters.of(intf.intf, intf.direction), device.slots(intf.direction), step.isApplied()});
  }
  return tableText(kIntfColumns, items, paint);
}

Style styleOf(AclState state) {
  switch (state) {
    case AclState::applied:
      return Style::good;
    case AclState::notAttached:
      return Style::odd;
    case AclState::refused:
    case AclState::failed:
      return Style::bad;
  }
  return Style::plain;
}

Style styleOf(AceState state) {
  switch (state) {
    case AceState::programmed:
    case AceState::verdict:
      return Style::plain;
    case AceState::notReached:
    case AceState::notEnforced:
      return Style::odd;
    case AceState::refused:
    case AceState::inError:
      return Style::bad;
  }
  return Style::plain;
}

void writeAces(Out out, const AclOutcome& acl, const StepReport& step, const Paint& paint) {
  size_t width = 0;
  for (const AceOutcome& ace : acl.aces) width = std::max(width, ace.name.size());
  const FilterDump* holder = holderOf(acl, step);
  for (const AceOutcome& ace : acl.aces) {
    fmt::format_to(out, "  {:<{}}  {}\n", ace.name, width,
                   paint.in(styleOf(ace.state), aceWords(ace, acl, step, holder)));
    if (ace.state == AceState::refused) {
      fmt::format_to(out, "  {:<{}}  -> {}\n", "", width, explain(ace.reason).remedy);
      for (const Reason& next : reasonsAfter(ace.reason)) {
        const Explanation explanation = explain(next);
        fmt::format_to(out, "  {:<{}}  then: {}\n", "", width, explanation.message);
        fmt::format_to(out, "  {:<{}}  -> {}\n", "", width, explanation.remedy);
      }
    }
  }
}

void writeAcl(Out out, const AclOutcome& acl, const StepReport& step, const Paint& paint) {
  const std::string direction = acl.isAttached ? fmt::format(", {}", directionName(acl.key.direction)) : std::string();
  fmt::format_to(out, "\nACL {} ({}{}): {}\n", acl.key.name, acl.typeName, direction,
                 paint.in(styleOf(acl.state), aclWords(acl, step)));
  // The other refusals are of rules, and have their advice there.
  const bool isOfWholeAcl = acl.aces.empty() || acl.state == AclState::failed;
  if (acl.state != AclState::applied && isOfWholeAcl) {
    fmt::format_to(out, "  -> {}\n", explain(acl.reason).remedy);
  }
  writeAces(out, acl, step, paint);
}

void writeRegisterLine(Out out, std::string_view name, uint32_t value, const std::string& words) {
  fmt::format_to(out, "  {:<7} 0x{:08x}{}{}\n", name, value, words.empty() ? "" : "  ", words);
}

void writeFilter(Out out, const FilterDump& filter, const Paint& paint) {
  const std::string title = fmt::format("{} {}  {}", filter.intf, directionName(filter.direction), filter.path);
  if (filter.isZero()) {
    fmt::format_to(out, "\n{}  all registers 0\n", paint.head(title));
    return;
  }
  fmt::format_to(out, "\n{}\n", paint.head(title));
  for (const auto& row : Kestrix::Layout::kFilterRegisters)
    writeRegisterLine(out, row.name, filter.value(row), filter.words(row));
  size_t zeroSlots = 0;
  for (const SlotDump& slot : filter.slots) {
    if (slot.isZero() && !filter.slotEnabled(slot.slot)) {
      ++zeroSlots;
      continue;
    }
    fmt::format_to(out, "  rule[{}]  {}\n", slot.slot, filter.slotWords(slot));
    fmt::format_to(out, "  ");
    for (const auto& row : Kestrix::Layout::kSlotRegisters)
      fmt::format_to(out, "  {} 0x{:0{}x}", row.name, slot.value(row), row.width / 4);
    fmt::format_to(out, "\n");
  }
  if (zeroSlots != 0) fmt::format_to(out, "  {} slots free, all 0\n", zeroSlots);
}

void writeFilters(Out out, const FilterDumps& filters, const Paint& paint) {
  for (const FilterDump& filter : filters.all()) {
    if (!filter.slots.empty()) writeFilter(out, filter, paint);
  }
}

void writeFailedWrites(Out out, const std::vector<FailedWrite>& failedWrites) {
  for (const auto& [number, path] : failedWrites) fmt::format_to(out, "  write {} failed: {}\n", number, path);
}

// What has changed with the step, which is the `number`th of several.
void writeStepHead(Out out, const StepReport& step, size_t number, const Paint& paint) {
  const std::string title = fmt::format("Step {}: {}", number, step.file.empty() ? "--set" : step.file);
  fmt::format_to(out, "{}{}\n", number == 1 ? "" : "\n\n", paint.head(title));
  for (const std::string& setting : step.settings) fmt::format_to(out, "  {}\n", setting);
  for (const Change& change : step.outcome.changes) fmt::format_to(out, "  {}\n", changeWords(change));
  if (!step.isApplied()) return;
  if (step.outcome.changes.empty() && step.settings.empty()) fmt::format_to(out, "  nothing changed\n");
  fmt::format_to(out, "  {} register writes\n\n", step.outcome.writes);
}

// Why a step was not applied, and what is shown of it instead.
void writeNotApplied(Out out, const StepReport& step, const Paint& paint) {
  const std::string name = step.file.empty() ? "--set" : step.file;
  const std::string_view why = step.state == StepState::hasErrors ? "it has errors" : "a document before it has errors";
  fmt::format_to(out, "{}\n", paint.bad(fmt::format("Nothing of {} was applied: {}.", name, why)));
  if (step.outcome.acls.empty()) return;
  fmt::format_to(out, "What would become of its ACLs on a fresh device:\n\n");
}

void writeStandIns(Out out, const Outcome& outcome, const Device& device) {
  const auto isStandIn = [&](const IntfOutcome& each) { return device.find(each.intf.toText()) == nullptr; };
  const auto first = std::ranges::find_if(outcome.intfs, isStandIn);
  if (first == outcome.intfs.end()) return;
  fmt::format_to(out, "{} {} for an interface that no ACL set names, or not without an error\n", first->intf,
                 std::ranges::count_if(outcome.intfs, isStandIn) == 1 ? "stands" : "and the like stand");
}

void writeStep(Out out, const StepReport& step, const Device& device, const Paint& paint) {
  const Outcome& outcome = step.outcome;
  if (!step.isApplied()) writeNotApplied(out, step, paint);
  if (!step.isApplied() && outcome.acls.empty()) return;
  if (outcome.intfs.empty()) {
    fmt::format_to(out, "No ACL is attached to an interface.\n");
  } else {
    fmt::format_to(out, "{}", intfTable(step, device, paint));
  }
  if (!step.isApplied()) writeStandIns(out, outcome, device);
  for (const Platform::IntfId intf : outcome.blocked) {
    fmt::format_to(out, "{}\n", paint.odd(fmt::format("{} is blocked: it passes no traffic", intf)));
  }
  for (const AclOutcome& acl : outcome.acls) writeAcl(out, acl, step, paint);
  if (!step.deviations.empty()) fmt::format_to(out, "\nNot as on a fresh device:\n");
  for (const Deviation& each : step.deviations) {
    fmt::format_to(out, "  {} {}: {}\n", each.intf, directionName(each.direction), paint.odd(each.why));
  }
}

}  // namespace

std::string textDiagnostics(const Diagnostics& diagnostics, bool colour) {
  const Paint paint(colour);
  std::string text;
  Out out(text);
  for (const Diagnostic& each : diagnostics.all()) {
    const bool isError = each.severity == Severity::error;
    std::string about;
    if (!each.acl.empty()) about += fmt::format("ACL \"{}\"", each.acl);
    if (!each.ace.empty()) about += fmt::format(", ACE \"{}\"", each.ace);
    if (!about.empty()) about += ": ";
    fmt::format_to(out, "{}: {}: {}{}\n", each.file, isError ? paint.bad("error") : paint.odd("warning"), about,
                   each.message);
    if (!each.path.empty()) fmt::format_to(out, "  at {}\n", each.path);
    fmt::format_to(out, "  -> {}\n", each.remedy);
  }
  return text;
}

std::string textReport(const ReportInput& input, const TextOptions& options) {
  const Paint paint(options.colour);
  std::string text = textDiagnostics(input.diagnostics, options.colour);
  if (!text.empty()) text += "\n";
  Out out(text);
  const auto& failedWrites = input.failedWrites;
  if (!failedWrites.empty() && failedWrites.front().number <= input.startupWrites) {
    fmt::format_to(out, "{}\n\n", paint.bad("The drop delay did not reach all filters at start-up."));
  }
  for (size_t i = 0; i < input.steps.size(); ++i) {
    if (input.steps.size() > 1) writeStepHead(out, input.steps[i], i + 1, paint);
    writeStep(out, input.steps[i], input.device, paint);
  }
  if (options.registers) writeFilters(out, input.filters, paint);
  if (input.model) fmt::format_to(out, "\n{}", textOf(*input.model));
  fmt::format_to(out, "\n{} register writes, {} of them at start-up", input.writes, input.startupWrites);
  if (!failedWrites.empty()) fmt::format_to(out, ", {}", paint.bad(fmt::format("{} failed", failedWrites.size())));
  text += "\n";
  writeFailedWrites(out, failedWrites);
  return text;
}

}  // namespace Sim
