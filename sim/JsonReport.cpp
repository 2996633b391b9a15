#include <nlohmann/json.hpp>

#include "Explanations.h"
#include "RegisterWords.h"
#include "Report.h"

namespace Sim {
namespace {

using Json = nlohmann::ordered_json;

using Platform::nameOf;

// The members that say why: absent where nothing is wrong.
void addReason(Json& json, Platform::AclCreateError error, const Reason& reason) {
  if (reason.empty()) return;
  const Explanation explanation = explain(reason.text);
  json["code"] = explanation.code;
  json["aclCreateError"] = static_cast<uint32_t>(error);
  json["culprit"] = reason.culprit;
  json["reason"] = reason.text;
  json["remedy"] = explanation.remedy;
}

Json diagnosticsJson(const Diagnostics& diagnostics) {
  Json list = Json::array();
  for (const Diagnostic& each : diagnostics.all()) {
    list.push_back({{"severity", each.severity == Severity::error ? "error" : "warning"},
                    {"code", each.code},
                    {"file", each.file},
                    {"path", each.path},
                    {"acl", each.acl},
                    {"ace", each.ace},
                    {"message", each.message},
                    {"remedy", each.remedy}});
  }
  return list;
}

Json aclJson(const AclOutcome& acl) {
  Json json{{"name", acl.key.name}, {"type", acl.typeName}, {"state", nameOf(acl.state)}};
  if (acl.isAttached) json["direction"] = directionName(acl.key.direction);
  addReason(json, acl.error, acl.reason);
  json["aces"] = Json::array();
  for (const AceOutcome& ace : acl.aces) {
    Json each{{"name", ace.name}, {"state", nameOf(ace.state)}};
    if (ace.slot && acl.state != AclState::refused) each["slot"] = *ace.slot;
    addReason(each, ace.error, ace.reason);
    json["aces"].push_back(std::move(each));
  }
  return json;
}

Json intfJson(const IntfOutcome& intf, const ReportInput& input) {
  const FilterDump filter =
      dumpFilter(input.fpga, input.device, *input.device.find(intf.intf.toText()), intf.direction);
  Json json{{"interface", intf.intf.toText()},
            {"direction", directionName(intf.direction)},
            {"acl", intf.acl},
            {"state", nameOf(intf.state)},
            {"slotsUsed", filter.slotsInUse()},
            {"slots", input.device.slots(intf.direction)}};
  if (intf.state == IntfState::active) json["unmatched"] = filter.permitsUnmatched() ? "permit" : "deny";
  addReason(json, intf.error, intf.reason);
  return json;
}

Json registerJson(uint32_t value, const std::string& words) { return {{"value", value}, {"words", words}}; }

Json filterJson(const Interface& interface, Acl::AclDirection direction, const FilterDump& filter) {
  Json json{{"interface", interface.id.toText()},
            {"direction", directionName(direction)},
            {"path", filter.path},
            {"enable", registerJson(filter.enable, filter.enableWords())},
            {"action", registerJson(filter.action, filter.actionWords())},
            {"tcp", registerJson(filter.tcp, filter.tcpWords())},
            {"udp", registerJson(filter.udp, filter.udpWords())},
            {"rules", Json::array()}};
  for (const SlotRegisters& slot : filter.slots) {
    if (slot.isZero() && !filter.slotEnabled(slot.slot)) continue;
    json["rules"].push_back({{"slot", slot.slot},
                             {"mask_high", slot.maskHigh},
                             {"mask_low", slot.maskLow},
                             {"addr_high", slot.addrHigh},
                             {"addr_low", slot.addrLow},
                             {"words", filter.slotWords(slot)}});
  }
  return json;
}

std::string text(const Json& json) { return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n"; }

}  // namespace

std::string jsonDiagnostics(const Diagnostics& diagnostics) {
  return text({{"result", "bad-input"}, {"diagnostics", diagnosticsJson(diagnostics)}});
}

std::string jsonReport(const ReportInput& input) {
  Json json{{"result", input.outcome.isAllApplied() ? "applied" : "not-all-applied"},
            {"diagnostics", diagnosticsJson(input.diagnostics)},
            {"interfaces", Json::array()},
            {"acls", Json::array()},
            {"filters", Json::array()},
            {"writes", input.fpga.writes()},
            {"startupWrites", input.outcome.startupWrites},
            {"failedWrites", Json::array()}};
  for (const IntfOutcome& intf : input.outcome.intfs) json["interfaces"].push_back(intfJson(intf, input));
  for (const AclOutcome& acl : input.outcome.acls) json["acls"].push_back(aclJson(acl));
  // Every filter that holds anything.
  for (const Interface& interface : input.device.interfaces) {
    for (const auto direction : {Acl::AclDirection::in, Acl::AclDirection::out}) {
      const FilterDump filter = dumpFilter(input.fpga, input.device, interface, direction);
      if (!filter.isZero()) json["filters"].push_back(filterJson(interface, direction, filter));
    }
  }
  for (const auto& [number, path] : input.fpga.failedWrites()) {
    json["failedWrites"].push_back({{"number", number}, {"path", path}});
  }
  return text(json);
}

}  // namespace Sim
