#include "report/VerifyReport.h"

#include <optional>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "report/DecisionWords.h"
#include "report/Json.h"
#include "report/Report.h"
#include "report/VerifyWords.h"

namespace Sim {
namespace {

void writeRegister(Page& page, size_t indent, const RegisterPair& pair) {
  std::string line =
      fmt::format("{:{}}{} {}, expected {}", "", indent, pair.name, pair.foundText(), pair.expectedText());
  if (!pair.missing.empty()) line += "; missing: " + pair.missing;
  if (!pair.unexpected.empty()) line += "; not expected: " + pair.unexpected;
  page.line({{line}});
}

void writeSlot(Page& page, const SlotPair& pair) {
  const std::string lead = fmt::format("  rule[{}] {}", pair.slot, pair.found);
  page.line({{lead + (pair.expected == pair.found ? ", as expected" : ", expected " + pair.expected)}});
  for (const RegisterPair& each : pair.registers) writeRegister(page, 4, each);
}

void writeChange(Page& page, std::string_view what, const std::optional<PacketChange>& change,
                 const FilterMismatch& filter) {
  if (!change) return;
  page.line({{fmt::format("  {} ", what), Style::bad}, {change->packet.toText()}});
  page.line({{"    by       " + decisionWords(change->found, filter.found)}});
  page.line({{"    expected " + decisionWords(change->expected, filter.expected)}});
}

void writeFilter(Page& page, const FilterMismatch& filter) {
  const std::string_view direction = directionName(filter.expected.direction);
  page.line({{fmt::format("{} {}  {}", namesOf(filter.intfs), direction, filter.expected.path), Style::head}});
  for (const RegisterPair& each : registerPairs(filter)) writeRegister(page, 2, each);
  for (const SlotPair& each : slotPairs(filter)) writeSlot(page, each);
  const auto& [more, less] = filter.changes;
  writeChange(page, "lets through", more, filter);
  writeChange(page, "stops", less, filter);
  if (!more && !less) page.line({{fmt::format("  {}", kDecidesAsExpected)}});
  page.line();
}

void writeLinkMonitor(Page& page, const LinkMonitorMismatch& monitor) {
  page.line({{namesOf(monitor.intfs), Style::head},
             {fmt::format("  {} 0x{:02x}: {}, expected {}", monitor.path, monitor.found, blockingWords(monitor),
                          expectedBlockingWords(monitor))}});
  page.line();
}

Style styleOf(bool isEqual) { return isEqual ? Style::good : Style::bad; }

void writeTotals(Page& page, const Verification& verification) {
  const auto [filters, registers, linkMonitors, missing, others] = totalWords(verification);
  page.line({{filters, styleOf(verification.filters.empty())}, {fmt::format(" ({})", registers)}});
  page.line({{linkMonitors, styleOf(verification.linkMonitors.empty())}, {missing.empty() ? missing : "; " + missing}});
  page.line({{others}});
}

void writeRepair(Page& page, const std::vector<Register>& repair) {
  page.line();
  page.line({{repairWords(repair)}});
  for (const Register& each : repair) page.line({{lineOf(each)}});
}

Json namesJson(const std::vector<Platform::IntfId>& intfs) {
  Json names = Json::array();
  for (const Platform::IntfId intf : intfs) names.push_back(intf.toText());
  return names;
}

Json registersJson(const std::vector<RegisterPair>& pairs) {
  Json list = Json::array();
  for (const RegisterPair& each : pairs) {
    Json& json = list.emplace_back(Json{{"name", each.name}, {"expected", each.expected}, {"found", each.found}});
    if (!each.missing.empty()) json["missing"] = each.missing;
    if (!each.unexpected.empty()) json["unexpected"] = each.unexpected;
  }
  return list;
}

Json decisionJson(const FilterDecision& decision, const FilterDump& filter) {
  Json json{{"permits", decision.permits},
            {"by", Platform::nameOf(decision.part)},
            {"words", decisionWords(decision, filter)}};
  if (decision.part == FilterPart::slot) json["slot"] = decision.slot;
  return json;
}

void addChange(Json& json, const char* name, const std::optional<PacketChange>& change, const FilterMismatch& filter) {
  if (!change) return;
  json[name] = {{"packet", change->packet.toText()},
                {"expected", decisionJson(change->expected, filter.expected)},
                {"found", decisionJson(change->found, filter.found)}};
}

Json filterJson(const FilterMismatch& filter) {
  Json json{{"interfaces", namesJson(filter.intfs)},
            {"direction", directionName(filter.expected.direction)},
            {"path", filter.expected.path},
            {"registers", registersJson(registerPairs(filter))},
            {"rules", Json::array()}};
  for (const SlotPair& each : slotPairs(filter)) {
    json["rules"].push_back({{"slot", each.slot},
                             {"expected", each.expected},
                             {"found", each.found},
                             {"registers", registersJson(each.registers)}});
  }
  addChange(json, "letsThrough", filter.changes.more, filter);
  addChange(json, "stops", filter.changes.less, filter);
  return json;
}

}  // namespace

std::string textVerification(const VerifyInput& input, const Looks& looks) {
  Page page(looks);
  for (const FilterMismatch& each : input.verification.filters) writeFilter(page, each);
  for (const LinkMonitorMismatch& each : input.verification.linkMonitors) writeLinkMonitor(page, each);
  writeTotals(page, input.verification);
  if (input.repair) writeRepair(page, repairOf(input.verification));
  const std::string warnings = textDiagnostics(input.diagnostics, looks);
  return warnings + (warnings.empty() ? "" : "\n") + page.text();
}

std::string jsonVerification(const VerifyInput& input) {
  const Verification& verification = input.verification;
  Json json{{"result", verification.isEqual() ? "equal" : "differs"},
            {"diagnostics", diagnosticsJson(input.diagnostics)},
            {"filtersCompared", verification.filtersCompared},
            {"registersCompared", verification.registersCompared},
            {"linkMonitorsCompared", verification.linkMonitorsCompared},
            {"linkMonitorsMissing", verification.linkMonitorsMissing},
            {"others", verification.others},
            {"filters", Json::array()},
            {"linkMonitors", Json::array()}};
  for (const FilterMismatch& each : verification.filters) json["filters"].push_back(filterJson(each));
  for (const LinkMonitorMismatch& each : verification.linkMonitors) {
    json["linkMonitors"].push_back({{"interfaces", namesJson(each.intfs)},
                                    {"path", each.path},
                                    {"found", each.found},
                                    {"words", blockingWords(each)},
                                    {"expectedToBlock", each.isToBlock}});
  }
  if (!input.repair) return textOf(json);
  json["repair"] = Json::array();
  for (const Register& each : repairOf(verification))
    json["repair"].push_back({{"path", each.path}, {"value", each.value}});
  return textOf(json);
}

}  // namespace Sim
