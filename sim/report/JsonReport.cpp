#include <nlohmann/json.hpp>

#include "registers/RegisterWords.h"
#include "report/Explanations.h"
#include "report/Json.h"
#include "report/Report.h"

namespace Sim {
namespace {

using Platform::nameOf;

Json fieldJson(const ConfiguredField& field) { return {{"name", field.name}, {"value", field.value}}; }

// What a refused rule was up against.
void addSituation(Json& json, const Reason& reason) {
  const Situation& situation = reason.situation;
  json["path"] = situation.path;
  if (const auto ports = portsOf(reason)) json["ports"] = *ports;
  json["slots"] = situation.slots;
  json["freeSlots"] = situation.freeSlots;
  if (situation.settled) {
    json["settledBy"] = {{"ace", situation.settled->ace},
                         {"side", nameOf(situation.settled->side)},
                         {"field", fieldJson(situation.settled->field)}};
  }
  json["next"] = Json::array();
  for (const Reason& next : reasonsAfter(reason)) {
    const Explanation explanation = explain(next);
    json["next"].push_back(
        {{"code", explanation.code}, {"reason", explanation.message}, {"remedy", explanation.remedy}});
  }
}

// The members that say why: absent where nothing is wrong.
void addReason(Json& json, Platform::AclCreateError error, const Reason& reason) {
  if (reason.empty()) return;
  const Explanation explanation = explain(reason);
  json["code"] = explanation.code;
  json["aclCreateError"] = static_cast<uint32_t>(error);
  json["culprit"] = reason.culprit;
  json["reason"] = explanation.message;
  json["remedy"] = explanation.remedy;
  json["fields"] = Json::array();
  for (const ConfiguredField& field : explanation.fields) json["fields"].push_back(fieldJson(field));
}

Json aceJson(const AceOutcome& ace, const AclOutcome& acl, const StepReport& step) {
  Json json{{"name", ace.name}, {"state", nameOf(ace.state)}};
  // What is in no filter is not in force, whatever the translation made of it.
  const bool isInForce = holderOf(acl, step) != nullptr;
  const bool isVerdict = ace.state == AceState::verdict;
  if (!isInForce && (isVerdict || ace.state == AceState::programmed)) json["state"] = "not-applied";
  if (isInForce && isVerdict) {
    json["verdict"] = nameOf(ace.verdict);
    json["permits"] = ace.permits;
    json["overruledOn"] = Json::array();
    for (const Platform::IntfId intf : overruledOn(ace, acl, step)) json["overruledOn"].push_back(intf.toText());
  }
  if (ace.slot && isInForce) json["slot"] = *ace.slot;
  if (const IdleAce* const idle = idleAce(ace, acl, step)) {
    json["coveredBy"] = Json::array();
    for (const Ace* each : idle->coveredBy) json["coveredBy"].push_back(each->name);
  }
  addReason(json, ace.error, ace.reason);
  if (ace.state == AceState::refused) addSituation(json, ace.reason);
  return json;
}

Json aclJson(const AclOutcome& acl, const StepReport& step) {
  Json json{
      {"name", acl.key.name}, {"type", acl.typeName}, {"state", differs(acl, step) ? "differs" : nameOf(acl.state)}};
  if (acl.isAttached) json["direction"] = directionName(acl.key.direction);
  if (!step.isApplied()) json["hasErrors"] = acl.hasErrors;
  if (acl.state == AclState::refused) json["keepsPrevious"] = acl.keepsPrevious;
  addReason(json, acl.error, acl.reason);
  json["overruledOn"] = Json::array();
  for (const IntfOutcome& intf : step.outcome.intfsOf(acl)) {
    if (isOverruled(intf, acl, step)) json["overruledOn"].push_back(intf.intf.toText());
  }
  json["wastedSlots"] = wastedSlots(acl, step);
  json["aces"] = Json::array();
  for (const AceOutcome& ace : acl.aces) json["aces"].push_back(aceJson(ace, acl, step));
  return json;
}

Json intfJson(const IntfOutcome& intf, const AclOutcome& acl, const StepReport& step, const Device& device) {
  const FilterDump& filter = step.filters.of(intf.intf, intf.direction);
  Json json{{"interface", intf.intf.toText()},
            {"direction", directionName(intf.direction)},
            {"acl", intf.acl},
            {"state", differs(intf, acl, step) ? "differs" : nameOf(intf.state)},
            {"slotsUsed", slotsFilled(intf, acl, step)},
            {"slots", device.slots(intf.direction)}};
  if (intf.state == IntfState::active) {
    json["unmatched"] = filter.permitsUnmatched() ? "permit" : "deny";
    json["overruled"] = isOverruled(intf, acl, step);
  }
  addReason(json, intf.error, intf.reason);
  return json;
}

Json configuredJson(const Decision& decision) {
  Json json{{"permits", decision.permits}};
  addDecider(json, decision);
  return json;
}

Json deviceJson(const FilterDecision& decision) {
  Json json{{"permits", decision.permits}};
  addDecider(json, decision);
  return json;
}

Json judgementJson(const Judgement& judgement) {
  return {{"configured", configuredJson(judgement.configured)}, {"device", deviceJson(judgement.programmed)}};
}

// "kind" is what the device lets through: more than is configured, or less.
void addDifference(Json& json, const Difference& difference) {
  json["kind"] = difference.programmed.permits ? "more" : "less";
  json["packet"] = difference.packet.toText();
  json["configured"] = configuredJson(difference.configured);
  json["device"] = deviceJson(difference.programmed);
}

std::string_view typeName(Acl::AclType type) { return type == Acl::AclType::ipv4 ? "ipv4-acl-type" : "eth-acl-type"; }

Json differencesJson(const StepReport& step) {
  Json list = Json::array();
  for (const auto& [place, differences] : step.verdicts.differences) {
    const auto& [intf, direction, type] = place;
    for (const Difference& each : differences) {
      Json& json = list.emplace_back(Json{{"interface", intf.toText()}, {"direction", directionName(direction)}});
      if (type) json["type"] = typeName(*type);
      addDifference(json, each);
    }
  }
  return list;
}

Json turnsJson(const StepReport& step) {
  Json list = Json::array();
  for (const auto& [intf, direction, turns] : step.verdicts.turns) {
    for (const Turn& turn : turns) {
      list.push_back({{"interface", intf.toText()},
                      {"direction", directionName(direction)},
                      {"packet", turn.packet.toText()},
                      {"before", judgementJson(turn.before)},
                      {"after", judgementJson(turn.after)}});
    }
  }
  return list;
}

Json noteJson(const Note& note) {
  Json json{{"readings", Json::array()},
            {"interface", note.intf.toText()},
            {"direction", directionName(note.direction)},
            {"differences", Json::array()}};
  for (size_t i = 0; i < note.readings.size(); ++i) {
    json["readings"].push_back({{"name", rowOf(note.readings[i]).name},
                                {"value", note.alternatives[i].name},
                                {"meaning", note.alternatives[i].meaning}});
  }
  for (const auto* each : {&note.comparison.more, &note.comparison.less}) {
    if (*each) addDifference(json["differences"].emplace_back(), **each);
  }
  return json;
}

Json aceChangeJson(const AceChange& change) {
  Json json{{"kind", nameOf(change.kind)}, {"name", change.name}};
  if (change.before) json["before"] = *change.before;
  if (change.after) json["after"] = *change.after;
  return json;
}

Json changeJson(const Change& change) {
  Json json{{"kind", nameOf(change.kind)}};
  if (!change.acl.empty()) json["acl"] = change.acl;
  if (!change.intf.empty()) json["interface"] = change.intf;
  if (!change.to.empty()) json["to"] = change.to;
  if (change.direction) json["direction"] = directionName(*change.direction);
  if (change.kind == ChangeKind::changed) json["aces"] = Json::array();
  for (const AceChange& each : change.aces) json["aces"].push_back(aceChangeJson(each));
  return json;
}

Json registerJson(uint32_t value, const std::string& words) { return {{"value", value}, {"words", words}}; }

Json filterJson(const FilterDump& filter) {
  Json json{{"interface", filter.intf.toText()}, {"direction", directionName(filter.direction)}, {"path", filter.path}};
  for (const auto& row : Kestrix::Layout::kFilterRegisters)
    json[row.name] = registerJson(filter.value(row), filter.words(row));
  json["rules"] = Json::array();
  for (const SlotDump& slot : filter.slots) {
    if (slot.isZero() && !filter.slotEnabled(slot.slot)) continue;
    Json rule{{"slot", slot.slot}};
    for (const auto& row : Kestrix::Layout::kSlotRegisters) rule[row.name] = slot.value(row);
    rule["words"] = filter.slotWords(slot);
    json["rules"].push_back(std::move(rule));
  }
  return json;
}

Json failedWritesJson(const std::vector<FailedWrite>& failedWrites) {
  Json list = Json::array();
  for (const auto& [number, path] : failedWrites) list.push_back({{"number", number}, {"path", path}});
  return list;
}

Json stepJson(const StepReport& step, const Device& device) {
  Json json{{"config", step.file},      {"applied", step.isApplied()},   {"settings", step.settings},
            {"changes", Json::array()}, {"writes", step.outcome.writes}, {"interfaces", Json::array()},
            {"blocked", Json::array()}, {"acls", Json::array()},         {"deviations", Json::array()}};
  for (const Change& change : step.outcome.changes) json["changes"].push_back(changeJson(change));
  for (const Platform::IntfId intf : step.outcome.blocked) json["blocked"].push_back(intf.toText());
  for (const AclOutcome& acl : step.outcome.acls) {
    for (const IntfOutcome& intf : step.outcome.intfsOf(acl)) {
      json["interfaces"].push_back(intfJson(intf, acl, step, device));
    }
    json["acls"].push_back(aclJson(acl, step));
  }
  for (const Deviation& each : step.deviations) {
    json["deviations"].push_back(
        {{"interface", each.intf.toText()}, {"direction", directionName(each.direction)}, {"why", each.why}});
  }
  json["differences"] = differencesJson(step);
  json["turns"] = turnsJson(step);
  return json;
}

Json modelJson(const ModelNode& node) {
  Json json{{"name", node.name}, {"value", node.value}, {"settable", node.isSettable}};
  if (!node.members.empty()) json["members"] = Json::array();
  for (const ModelNode& member : node.members) json["members"].push_back(modelJson(member));
  return json;
}

}  // namespace

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

void addDecider(Json& json, const Decision& decision) {
  if (decision.acl != nullptr) json["acl"] = decision.acl->name;
  if (decision.ace != nullptr) json["ace"] = decision.ace->name;
}

void addDecider(Json& json, const FilterDecision& decision) {
  json["by"] = nameOf(decision.part);
  if (decision.part == FilterPart::slot) json["slot"] = decision.slot;
}

std::string textOf(const Json& json) { return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n"; }

std::string jsonDiagnostics(const Diagnostics& diagnostics) {
  return textOf({{"result", "bad-input"}, {"diagnostics", diagnosticsJson(diagnostics)}});
}

std::string jsonReport(const ReportInput& input) {
  Json json{{"result", input.diagnostics.hasErrors() ? "bad-input"
                       : isAllApplied(input)         ? "applied"
                                                     : "not-all-applied"},
            {"diagnostics", diagnosticsJson(input.diagnostics)},
            {"steps", Json::array()},
            {"filters", Json::array()},
            {"writes", input.writes},
            {"startupWrites", input.startupWrites},
            {"failedWrites", failedWritesJson(input.failedWrites)},
            {"assumptions", input.assumptions},
            {"notes", Json::array()}};
  for (const Note& note : input.notes) json["notes"].push_back(noteJson(note));
  for (const StepReport& step : input.steps) json["steps"].push_back(stepJson(step, input.device));
  // Every filter that holds anything in the end.
  for (const FilterDump& filter : input.filters.all()) {
    if (!filter.isZero()) json["filters"].push_back(filterJson(filter));
  }
  if (input.model) json["model"] = modelJson(*input.model);
  return textOf(json);
}

}  // namespace Sim
