#include <algorithm>
#include <functional>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "report/Colour.h"
#include "report/Explanations.h"
#include "report/RegisterWords.h"
#include "report/Report.h"

namespace Sim {
namespace {

using Out = std::back_insert_iterator<std::string>;

// Left-aligned columns; the last one is as wide as it gets. Cells are painted after they are padded.
class Table {
 public:
  using Row = std::vector<std::string>;
  using Painter = std::function<std::string(size_t column, const std::string& padded)>;

  void add(Row row, Painter painter = {}) { rows_.push_back({std::move(row), std::move(painter)}); }

  std::string text() const {
    std::vector<size_t> widths;
    for (const auto& [row, painter] : rows_) {
      widths.resize(std::max(widths.size(), row.size()));
      for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    std::string text;
    for (const auto& [row, painter] : rows_) {
      std::string line;
      for (size_t i = 0; i < row.size(); ++i) {
        const bool isLast = i + 1 == row.size();
        const std::string cell = isLast ? row[i] : fmt::format("{:<{}}  ", row[i], widths[i]);
        line += painter ? painter(i, cell) : cell;
      }
      line.erase(line.find_last_not_of(' ') + 1);
      text += line + "\n";
    }
    return text;
  }

 private:
  std::vector<std::pair<Row, Painter>> rows_;
};

std::string verdictWords(const AceOutcome& ace, const AclOutcome& acl, const StepReport& step) {
  constexpr std::string_view kWhat[] = {"", "everything that no slot matches", "ARP", "LLDP"};
  std::string words =
      fmt::format("no slot: {} {}", ace.permits ? "permits" : "denies", kWhat[static_cast<size_t>(ace.verdict)]);
  const auto overruled = overruledOn(ace, acl, step);
  if (overruled.empty()) return words;
  std::string intfs;
  for (const Platform::IntfId intf : overruled) intfs += (intfs.empty() ? "" : ", ") + intf.toText();
  return fmt::format("{}; not on {}, where the other ACL of the filter decides it", words, intfs);
}

// `holder` is a filter that holds the ACL, or null.
std::string aceWords(const AceOutcome& ace, const AclOutcome& acl, const StepReport& step, const FilterDump* holder) {
  switch (ace.state) {
    case AceState::programmed:
      return holder != nullptr ? fmt::format("slot {}: {}", *ace.slot, holder->slotWords(holder->slots.at(*ace.slot)))
                               : "fits, but the ACL is not applied";
    case AceState::verdict:
      return holder != nullptr ? verdictWords(ace, acl, step) : "fits, but the ACL is not applied";
    case AceState::notReached:
      return "never reached: an earlier rule decides all that it matches";
    case AceState::notEnforced:
      return "accepted, not enforced: the hardware does not tell fragments apart";
    case AceState::refused:
      return "refused: " + ace.reason.text;
  }
  return {};
}

std::string aclWords(const AclOutcome& acl) {
  switch (acl.state) {
    case AclState::applied:
      return "applied";
    case AclState::notAttached:
      return "not attached to any interface, nothing to program";
    case AclState::refused:
      return (acl.aces.empty() ? "refused: " + acl.reason.text : "refused") +
             (acl.keepsPrevious ? "; its previous version stays in force" : ", nothing of it is programmed");
    case AclState::failed:
      return "failed: " + acl.reason.words();
  }
  return {};
}

Table intfTable(const StepReport& step, const Device& device, const Paint& paint) {
  Table table;
  table.add({"interface", "direction", "ACL", "state", "slots", "unmatched", "reason"},
            [paint](size_t, const std::string& cell) { return paint.head(cell); });
  for (const IntfOutcome& intf : step.outcome.intfs) {
    const FilterDump& filter = step.filters.of(intf.intf, intf.direction);
    const bool isActive = intf.state == IntfState::active;
    table.add({intf.intf.toText(), std::string(directionName(intf.direction)), intf.acl,
               std::string(Platform::nameOf(intf.state)),
               fmt::format("{}/{}", filter.slotsInUse(), device.slots(intf.direction)),
               isActive ? filter.permitsUnmatched() ? "permit" : "deny" : "-", intf.reason.words()},
              [paint, isActive](size_t column, const std::string& cell) {
                if (column != 3) return cell;
                return isActive ? paint.good(cell) : paint.bad(cell);
              });
  }
  return table;
}

std::string changeWords(const Change& change) {
  const std::string direction = change.direction ? fmt::format(" ({})", directionName(*change.direction)) : "";
  if (change.acl.empty()) return fmt::format("{}{} {}", change.intf, direction, change.kind);
  if (change.intf.empty()) return fmt::format("ACL {}{} {}", change.acl, direction, change.kind);
  switch (change.kind) {
    case ChangeKind::attached:
      return fmt::format("ACL {}{} attached to {}", change.acl, direction, change.intf);
    case ChangeKind::moved:
      return fmt::format("{} moved from ACL {} to {}{}", change.intf, change.acl, change.to, direction);
    case ChangeKind::retried:
      return fmt::format("ACL {}{} tried again on {}", change.acl, direction, change.intf);
    default:
      return fmt::format("ACL {}{} {} from {}", change.acl, direction, change.kind, change.intf);
  }
}

void writeAcl(Out out, const AclOutcome& acl, const StepReport& step, const Paint& paint) {
  const bool isGood = acl.state == AclState::applied;
  const std::string words = aclWords(acl);
  const std::string direction = acl.isAttached ? fmt::format(", {}", directionName(acl.key.direction)) : std::string();
  fmt::format_to(out, "\nACL {} ({}{}): {}\n", acl.key.name, acl.typeName, direction,
                 isGood                               ? paint.good(words)
                 : acl.state == AclState::notAttached ? paint.odd(words)
                                                      : paint.bad(words));
  if (!isGood && (acl.aces.empty() || acl.state == AclState::failed))
    fmt::format_to(out, "  -> {}\n", explain(acl.reason.text).remedy);
  size_t width = 0;
  for (const AceOutcome& ace : acl.aces) width = std::max(width, ace.name.size());
  const FilterDump* holder = holderOf(acl, step);
  for (const AceOutcome& ace : acl.aces) {
    const std::string aceText = aceWords(ace, acl, step, holder);
    const bool isOdd = ace.state == AceState::notReached || ace.state == AceState::notEnforced;
    fmt::format_to(out, "  {:<{}}  {}\n", ace.name, width,
                   ace.state == AceState::refused ? paint.bad(aceText)
                   : isOdd                        ? paint.odd(aceText)
                                                  : aceText);
    if (ace.state == AceState::refused)
      fmt::format_to(out, "  {:<{}}  -> {}\n", "", width, explain(ace.reason.text).remedy);
  }
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
  writeRegisterLine(out, "enable", filter.enable, filter.enableWords());
  writeRegisterLine(out, "action", filter.action, filter.actionWords());
  writeRegisterLine(out, "tcp", filter.tcp, filter.tcpWords());
  writeRegisterLine(out, "udp", filter.udp, filter.udpWords());
  size_t zeroSlots = 0;
  for (const SlotRegisters& slot : filter.slots) {
    if (slot.isZero() && !filter.slotEnabled(slot.slot)) {
      ++zeroSlots;
      continue;
    }
    fmt::format_to(out, "  rule[{}]  {}\n", slot.slot, filter.slotWords(slot));
    fmt::format_to(out, "    mask_high 0x{:04x}  mask_low 0x{:08x}  addr_high 0x{:04x}  addr_low 0x{:08x}\n",
                   slot.maskHigh, slot.maskLow, slot.addrHigh, slot.addrLow);
  }
  if (zeroSlots != 0) fmt::format_to(out, "  {} slots free, all 0\n", zeroSlots);
}

void writeFailedWrites(Out out, const std::vector<FailedWrite>& failedWrites) {
  for (const auto& [number, path] : failedWrites) fmt::format_to(out, "  write {} failed: {}\n", number, path);
}

void writeStep(Out out, const StepReport& step, const Device& device, const Paint& paint) {
  const Outcome& outcome = step.outcome;
  if (outcome.intfs.empty()) {
    fmt::format_to(out, "No ACL is attached to an interface.\n");
  } else {
    fmt::format_to(out, "{}", intfTable(step, device, paint).text());
  }
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

bool isAllApplied(const ReportInput& input) {
  return input.failedWrites.empty() && std::all_of(input.steps.begin(), input.steps.end(),
                                                   [](const auto& step) { return step.outcome.isAllApplied(); });
}

const FilterDump* holderOf(const AclOutcome& acl, const StepReport& step) {
  for (const IntfOutcome& intf : step.outcome.intfsOf(acl)) {
    if (intf.state == IntfState::active) return &step.filters.of(intf.intf, intf.direction);
  }
  return nullptr;
}

std::vector<Platform::IntfId> overruledOn(const AceOutcome& ace, const AclOutcome& acl, const StepReport& step) {
  std::vector<Platform::IntfId> intfs;
  if (ace.verdict != Verdict::unmatched) return intfs;
  for (const IntfOutcome& intf : step.outcome.intfsOf(acl)) {
    if (intf.state != IntfState::active) continue;
    if (step.filters.of(intf.intf, intf.direction).permitsUnmatched() != ace.permits) intfs.push_back(intf.intf);
  }
  return intfs;
}

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
    const StepReport& step = input.steps[i];
    if (input.steps.size() > 1) {
      const std::string title = fmt::format("Step {}: {}", i + 1, step.file.empty() ? "--set" : step.file);
      fmt::format_to(out, "{}{}\n", i == 0 ? "" : "\n\n", paint.head(title));
      for (const std::string& setting : step.settings) fmt::format_to(out, "  {}\n", setting);
      for (const Change& change : step.outcome.changes) fmt::format_to(out, "  {}\n", changeWords(change));
      if (step.outcome.changes.empty() && step.settings.empty()) fmt::format_to(out, "  nothing changed\n");
      fmt::format_to(out, "  {} register writes\n\n", step.outcome.writes);
    }
    writeStep(out, step, input.device, paint);
  }

  if (options.registers) {
    for (const FilterDump& filter : input.steps.back().filters.all()) {
      if (!filter.slots.empty()) writeFilter(out, filter, paint);
    }
  }
  if (input.model) fmt::format_to(out, "\n{}", textOf(*input.model));
  fmt::format_to(out, "\n{} register writes, {} of them at start-up", input.writes, input.startupWrites);
  if (!failedWrites.empty()) fmt::format_to(out, ", {}", paint.bad(fmt::format("{} failed", failedWrites.size())));
  text += "\n";
  writeFailedWrites(out, failedWrites);
  return text;
}

}  // namespace Sim
