#include <algorithm>
#include <functional>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "Colour.h"
#include "Explanations.h"
#include "RegisterWords.h"
#include "Report.h"

namespace Sim {
namespace {

using Out = std::back_insert_iterator<std::string>;

// Left-aligned columns; the last one is as wide as it gets. Cells are painted after they are padded.
class Table {
 public:
  using Row = std::vector<std::string>;
  using Painter = std::function<std::string(size_t column, const std::string& padded)>;

  void add(Row row, Painter painter = {}) { rows_.push_back({std::move(row), std::move(painter)}); }

  std::string text(std::string_view indent) const {
    std::vector<size_t> widths;
    for (const auto& [row, painter] : rows_) {
      widths.resize(std::max(widths.size(), row.size()));
      for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    std::string text;
    for (const auto& [row, painter] : rows_) {
      std::string line(indent);
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

// The filter of the first interface that holds the ACL; none when no interface does.
std::optional<FilterDump> filterOf(const AclOutcome& acl, const ReportInput& input) {
  for (const IntfOutcome& intf : input.outcome.intfs) {
    if (intf.acl != acl.key.name || intf.direction != acl.key.direction || intf.state != IntfState::active) continue;
    return dumpFilter(input.fpga, input.device, *input.device.find(intf.intf.toText()), intf.direction);
  }
  return {};
}

// `filter` holds the ACL, or is none.
std::string aceWords(const AceOutcome& ace, const std::optional<FilterDump>& filter) {
  switch (ace.state) {
    case AceState::programmed:
      return filter ? fmt::format("slot {}: {}", *ace.slot, filter->slotWords(filter->slots.at(*ace.slot)))
                    : "fits, but the ACL is not applied";
    case AceState::verdict:
      return !filter                      ? "fits, but the ACL is not applied"
             : filter->permitsUnmatched() ? "no slot: permits everything that no slot matches"
                                          : "no slot: denies everything that no slot matches";
    case AceState::notReached:
      return "never reached: an earlier rule decides everything";
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
      return acl.aces.empty() ? "refused: " + acl.reason.text : "refused, nothing of it is programmed";
    case AclState::failed:
      return "failed: " + acl.reason.words();
  }
  return {};
}

Table intfTable(const ReportInput& input, const Paint& paint) {
  Table table;
  table.add({"interface", "direction", "ACL", "state", "slots", "unmatched", "reason"},
            [paint](size_t, const std::string& cell) { return paint.head(cell); });
  for (const IntfOutcome& intf : input.outcome.intfs) {
    const FilterDump filter =
        dumpFilter(input.fpga, input.device, *input.device.find(intf.intf.toText()), intf.direction);
    const bool isActive = intf.state == IntfState::active;
    table.add({intf.intf.toText(), std::string(directionName(intf.direction)), intf.acl,
               std::string(Platform::nameOf(intf.state)),
               fmt::format("{}/{}", filter.slotsInUse(), input.device.slots(intf.direction)),
               isActive ? filter.permitsUnmatched() ? "permit" : "deny" : "-", intf.reason.words()},
              [paint, isActive](size_t column, const std::string& cell) {
                if (column != 3) return cell;
                return isActive ? paint.good(cell) : paint.bad(cell);
              });
  }
  return table;
}

void writeAcl(Out out, const AclOutcome& acl, const ReportInput& input, const Paint& paint) {
  const bool isGood = acl.state == AclState::applied;
  const std::string words = aclWords(acl);
  const std::string direction = acl.isAttached ? fmt::format(", {}", directionName(acl.key.direction)) : std::string();
  fmt::format_to(out, "\nACL {} ({}{}): {}\n", acl.key.name, acl.typeName, direction,
                 isGood                               ? paint.good(words)
                 : acl.state == AclState::notAttached ? paint.odd(words)
                                                      : paint.bad(words));
  if (acl.aces.empty() && !isGood) fmt::format_to(out, "  -> {}\n", explain(acl.reason.text).remedy);
  size_t width = 0;
  for (const AceOutcome& ace : acl.aces) width = std::max(width, ace.name.size());
  const auto filter = filterOf(acl, input);
  for (const AceOutcome& ace : acl.aces) {
    const std::string aceText = aceWords(ace, filter);
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

void writeFilter(Out out, const Interface& interface, Acl::AclDirection direction, const FilterDump& filter,
                 const Paint& paint) {
  const std::string title = fmt::format("{} {}  {}", interface.id, directionName(direction), filter.path);
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
  if (input.outcome.intfs.empty()) {
    text += "No ACL is attached to an interface.\n";
  } else {
    text += intfTable(input, paint).text("");
  }
  for (const AclOutcome& acl : input.outcome.acls) writeAcl(out, acl, input, paint);

  if (options.registers) {
    for (const Interface& interface : input.device.interfaces) {
      for (const auto direction : {Acl::AclDirection::in, Acl::AclDirection::out}) {
        if (direction == Acl::AclDirection::in && input.device.inRules == 0) continue;
        writeFilter(out, interface, direction, dumpFilter(input.fpga, input.device, interface, direction), paint);
      }
    }
  }

  const auto failedWrites = input.fpga.failedWrites();
  fmt::format_to(out, "\n{} register writes, {} of them at start-up", input.fpga.writes(), input.outcome.startupWrites);
  if (!failedWrites.empty()) fmt::format_to(out, ", {}", paint.bad(fmt::format("{} failed", failedWrites.size())));
  text += "\n";
  for (const auto& [number, path] : failedWrites) fmt::format_to(out, "  write {} failed: {}\n", number, path);
  if (input.outcome.startupFailed) {
    fmt::format_to(out, "{}\n", paint.bad("The drop delay did not reach all filters at start-up."));
  }
  return text;
}

}  // namespace Sim
