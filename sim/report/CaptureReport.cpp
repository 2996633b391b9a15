#include "report/CaptureReport.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "report/CaptureWords.h"
#include "report/DecisionWords.h"
#include "report/Json.h"
#include "report/PacketReport.h"
#include "report/Table.h"

namespace Sim {
namespace {

void writeList(Page& page, const PacketList& list) {
  page.line({{list.title, list.style}});
  const std::string* deciders = nullptr;
  for (const ListedPackets& each : list.packets) {
    if (deciders == nullptr || *deciders != each.deciders) page.line({{"  " + each.deciders}});
    deciders = &each.deciders;
    page.line({{"    " + each.toText()}}, 6);
  }
  if (list.unlisted.packets != 0)
    page.line({{fmt::format("  and {}, which are not listed", countWords(list.unlisted))}});
}

void writeCounts(Page& page, std::string_view head, std::string_view more, const std::vector<CountRow>& rows) {
  size_t packets = std::string_view("packets").size(), bytes = std::string_view("bytes").size();
  for (const CountRow& each : rows) {
    packets = std::max(packets, std::to_string(each.count.packets).size());
    bytes = std::max(bytes, std::to_string(each.count.bytes).size());
  }
  std::vector<Spans> table{{{head, Style::head},
                            {fmt::format("{:>{}}", "packets", packets), Style::head},
                            {fmt::format("{:>{}}", "bytes", bytes), Style::head},
                            {more, Style::head}}};
  for (const auto& [what, count, words] : rows) {
    table.push_back({{what},
                     {fmt::format("{:>{}}", count.packets, packets)},
                     {fmt::format("{:>{}}", count.bytes, bytes)},
                     {words}});
  }
  layOut(table, page);
}

void writeTables(Page& page, const CaptureReport& report) {
  for (const AclTraffic& each : report.traffic.acls) {
    page.line();
    page.line({{fmt::format("ACL {} ({})", each.acl->name, each.acl->typeName), Style::head}});
    writeCounts(page, "ACE", "on the device", aceRows(each, report));
  }
  const auto parts = partRows(report), kinds = kindRows(report);
  page.line();
  if (!parts.empty()) writeCounts(page, "decided on the device by", "", parts);
  if (!parts.empty()) page.line();
  if (!kinds.empty()) writeCounts(page, "in the capture", "", kinds);
}

// --- JSON ------------------------------------------------------------------------------------------------------------

Json countJson(const Count& count) { return {{"packets", count.packets}, {"bytes", count.bytes}}; }

Json listedJson(const Packet& packet, uint64_t number, const Count& count) {
  return {{"packet", packet.toText()}, {"number", number}, {"count", countJson(count)}};
}

Json sidesJson(const PacketPlace& place, const Packet& packet, const Judgement& judgement) {
  return answerJson({{place.intf, place.direction, packet}, place, judgement.configured, judgement.programmed});
}

Json differingJson(const CaptureReport& report) {
  const Traffic& traffic = report.traffic;
  Json json{{"more", countJson(traffic.more)}, {"less", countJson(traffic.less)}, {"listed", Json::array()}};
  for (const DifferingPackets& each : traffic.differing) {
    json["listed"].push_back(listedJson(each.packet, each.number, each.count));
    const Json sides = sidesJson(report.place, each.packet, each.judgement);
    for (const char* side : {"configured", "device"}) json["listed"].back()[side] = sides[side];
  }
  return json;
}

Json turnedJson(const CaptureReport& report) {
  const Traffic& traffic = report.traffic;
  Json json{{"permitted", countJson(traffic.newlyPermitted)},
            {"denied", countJson(traffic.newlyDenied)},
            {"listed", Json::array()}};
  for (const TurnedPackets& each : traffic.turned) {
    const auto& [packet, before, after] = each.turn;
    json["listed"].push_back(listedJson(packet, each.number, each.count));
    json["listed"].back()["before"] = sidesJson(*report.before, packet, before)["device"];
    json["listed"].back()["after"] = sidesJson(report.place, packet, after)["device"];
  }
  return json;
}

Json aclJson(const AclTraffic& traffic, const CaptureReport& report) {
  const AclOutcome* const outcome = outcomeOf(*traffic.acl, report);
  Json json{{"acl", traffic.acl->name},
            {"aces", Json::array()},
            {"implicitDeny", countJson(traffic.implicitDeny)},
            {"notSpokenOf", countJson(traffic.unspoken)}};
  const auto rows = aceRows(traffic, report);
  for (size_t i = 0; i < traffic.aces.size(); ++i) {
    Json ace{{"ace", rows[i].what}, {"count", countJson(rows[i].count)}, {"words", rows[i].more}};
    if (outcome != nullptr && outcome->aces[i].slot) ace["slot"] = *outcome->aces[i].slot;
    json["aces"].push_back(std::move(ace));
  }
  return json;
}

Json captureJson(const CaptureReport& report) {
  const Traffic& traffic = report.traffic;
  Json json{{"file", report.file},
            {"interface", report.place.intf.toText()},
            {"direction", directionName(report.place.direction)},
            {"interrupted", report.isInterrupted},
            {"blocked", report.place.isBlocked},
            {"known", report.place.foreign == nullptr},
            {"inactive", inactiveJson(report.place)},
            {"all", countJson(traffic.all)},
            {"undecided", {{"cutShort", countJson(cutShortOf(traffic))}, {"malformed", countJson(traffic.malformed)}}},
            {"differing", differingJson(report)}};
  if (report.before != nullptr) json["turned"] = turnedJson(report);
  json["acls"] = Json::array();
  for (const AclTraffic& each : traffic.acls) json["acls"].push_back(aclJson(each, report));
  json["filter"] = Json::array();
  for (const auto& [part, count] : decidingParts(report)) {
    Json row{{"by", Platform::nameOf(part.part)},
             {"words", decisionWords(part, *report.place.filter)},
             {"count", countJson(count)}};
    if (part.part == FilterPart::slot) row["slot"] = part.slot;
    json["filter"].push_back(std::move(row));
  }
  for (const KindRow& row : kKindRows) json["kinds"][row.name] = countJson(traffic.kinds.*row.count);
  return json;
}

}  // namespace

bool CaptureReport::isGood() const {
  return traffic.more.packets == 0 && traffic.less.packets == 0 && (place.foreign == nullptr || place.isBlocked);
}

std::string textReport(const CaptureReport& report, const Looks& looks) {
  Page page(looks);
  page.line(
      {{fmt::format("{} at {}: {}", report.file, report.place.toText(), countWords(report.traffic.all)), Style::head}});
  if (const Spans line = interruptionLine(report); !line.empty()) page.line(line);
  for (const PacketList& each : differingLists(report)) writeList(page, each);
  for (const Spans& each : conclusionLines(report)) page.line(each);
  if (report.before != nullptr) page.line();
  for (const PacketList& each : turnedLists(report)) writeList(page, each);
  writeTables(page, report);
  const std::string warnings = textDiagnostics(report.diagnostics, looks);
  return warnings.empty() ? page.text() : warnings + "\n" + page.text();
}

std::string jsonReport(const CaptureReport& report) {
  return textOf({{"result", report.diagnostics.hasErrors() ? "bad-input"
                            : report.isGood()              ? "as-configured"
                                                           : "not-as-configured"},
                 {"diagnostics", diagnosticsJson(report.diagnostics)},
                 {"capture", captureJson(report)}});
}

}  // namespace Sim
