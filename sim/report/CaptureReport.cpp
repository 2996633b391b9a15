#include "report/CaptureReport.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "report/DecisionWords.h"
#include "report/Json.h"
#include "report/PacketReport.h"
#include "report/Table.h"

namespace Sim {
namespace {

std::string countWords(const Count& count) {
  return fmt::format("{} packet{}, {} bytes", count.packets, count.packets == 1 ? "" : "s", count.bytes);
}

Count decidedOf(const Traffic& traffic) {
  return {traffic.all.packets - traffic.undecided.packets, traffic.all.bytes - traffic.undecided.bytes};
}

Count cutShortOf(const Traffic& traffic) {
  return {traffic.undecided.packets - traffic.malformed.packets, traffic.undecided.bytes - traffic.malformed.bytes};
}

// --- Packets, under what decides them --------------------------------------------------------------------------------

// Packets of one kind, as they are listed.
struct ListedPackets {
  std::string deciders;  // In words.
  const Packet& packet;
  uint64_t number;
  const Count& count;
};

// Those with the same deciders together, in the order of the first ones.
void writePackets(Page& page, const std::vector<ListedPackets>& packets) {
  std::vector<bool> isWritten(packets.size());
  for (size_t i = 0; i < packets.size(); ++i) {
    if (isWritten[i]) continue;
    page.line({{"  " + packets[i].deciders}});
    for (size_t j = i; j < packets.size(); ++j) {
      if (packets[j].deciders != packets[i].deciders) continue;
      isWritten[j] = true;
      const uint64_t more = packets[j].count.packets - 1;
      const std::string alike = more == 0 ? "" : fmt::format(" and {} like it", more);
      page.line({{fmt::format("    packet {}{}: {}", packets[j].number, alike, packets[j].packet.toText())}}, 6);
    }
  }
}

// What `all` are beside those that are listed.
void writeUnlisted(Page& page, const Count& all, const std::vector<ListedPackets>& packets) {
  Count rest = all;
  for (const ListedPackets& each : packets) {
    rest.packets -= each.count.packets;
    rest.bytes -= each.count.bytes;
  }
  if (rest.packets != 0) page.line({{fmt::format("  and {}, which are not listed", countWords(rest))}});
}

void writeDiffering(Page& page, const Traffic& traffic, bool isMore) {
  const Count& all = isMore ? traffic.more : traffic.less;
  if (all.packets == 0) return;
  std::vector<ListedPackets> packets;
  for (const DifferingPackets& each : traffic.differing) {
    const auto& [configured, programmed] = each.judgement;
    if (programmed.permits != isMore) continue;
    packets.push_back(
        {fmt::format("configured: {}; the device: {}", configuredWords(configured), programmedWords(programmed)),
         each.packet, each.number, each.count});
  }
  const std::string_view does = isMore ? "lets through what it should stop" : "stops what it should let through";
  page.line({{fmt::format("The device {}: {}", does, countWords(all)), Style::bad}});
  writePackets(page, packets);
  writeUnlisted(page, all, packets);
}

std::string deviceWords(const Judgement& judgement, const PacketPlace& place) {
  return place.isBlocked ? std::string(kBlockedWords) : judgementWords(judgement);
}

void writeTurned(Page& page, const CaptureReport& report, bool isPermitted) {
  const Count& all = isPermitted ? report.traffic.newlyPermitted : report.traffic.newlyDenied;
  std::vector<ListedPackets> packets;
  for (const TurnedPackets& each : report.traffic.turned) {
    const bool passes = !report.place.isBlocked && each.turn.after.programmed.permits;
    if (passes != isPermitted) continue;
    packets.push_back({fmt::format("{}; before: {}", deviceWords(each.turn.after, report.place),
                                   deviceWords(each.turn.before, *report.before)),
                       each.turn.packet, each.number, each.count});
  }
  page.line({{fmt::format("Newly {} by {}: {}", isPermitted ? "permitted" : "denied", report.step.file,
                          all.packets == 0 ? "no packet" : countWords(all))}});
  writePackets(page, packets);
  writeUnlisted(page, all, packets);
}

void writeConclusion(Page& page, const CaptureReport& report) {
  const Traffic& traffic = report.traffic;
  const PacketPlace& place = report.place;
  if (report.isInterrupted) {
    page.line({{fmt::format("Interrupted after {} packet{}: there may be more in the capture.", traffic.all.packets,
                            traffic.all.packets == 1 ? "" : "s"),
                Style::odd}});
  }
  writeDiffering(page, traffic, /*isMore=*/true);
  writeDiffering(page, traffic, /*isMore=*/false);
  if (place.isBlocked) {
    page.line({{"The interface is disabled, and blocked: it passes no traffic.", Style::good}});
  } else if (place.foreign != nullptr) {
    page.line(
        {{fmt::format("Whether the device does as configured is {}.", foreignWords(*place.foreign)), Style::bad}});
  } else if (decidedOf(traffic).packets == 0) {
    page.line({{"No packet was decided."}});
  } else if (traffic.more.packets == 0 && traffic.less.packets == 0) {
    page.line(
        {{traffic.undecided.packets == 0 ? "The device does as configured with every packet."
                                         : "The device does as configured with every packet that could be decided.",
          Style::good}});
  }
  writeInactive(page, place);
  if (traffic.undecided.packets != 0) {
    page.line({{fmt::format("Not decided: {} cut short, {} malformed; what a verdict looks at is not known of them",
                            cutShortOf(traffic).packets, traffic.malformed.packets),
                Style::odd}});
  }
}

// --- Tables ----------------------------------------------------------------------------------------------------------

struct CountRow {
  std::string what;
  Count count;
  std::string more = {};
};

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

// The part of the filter that holds it.
std::string holderWords(const AceOutcome& ace) {
  switch (ace.state) {
    case AceState::programmed:
      return fmt::format("slot {}", *ace.slot);
    case AceState::verdict:
      return ace.verdict == Verdict::arp    ? "its verdict for ARP"
             : ace.verdict == Verdict::lldp ? "its verdict for LLDP"
                                            : "its verdict for what no slot matches";
    case AceState::notReached:
      return "nothing: an earlier ACE decides all that it matches";
    case AceState::notEnforced:
      return "nothing: the hardware does not tell fragments apart";
    case AceState::refused:
    case AceState::inError:
      break;
  }
  return "nothing";
}

// What became of an ACL; null for one that is refused at the place. One that failed there may be in force in part.
const AclOutcome* outcomeOf(const AclConfiguration& acl, const CaptureReport& report) {
  const PacketPlace& place = report.place;
  const auto isRefused = [&](const IntfOutcome* each) {
    return each->acl == acl.name && each->state == IntfState::refused;
  };
  if (std::ranges::any_of(place.inactive, isRefused)) return nullptr;
  const auto& all = report.step.outcome.acls;
  const auto found = std::ranges::find_if(all, [&](const AclOutcome& each) {
    return each.key.name == acl.name && each.key.type == acl.type && each.key.direction == place.direction;
  });
  return found == all.end() || found->aces.size() != acl.aces.size() ? nullptr : &*found;
}

std::vector<CountRow> rowsOf(const AclTraffic& traffic, const CaptureReport& report) {
  const AclOutcome* const outcome = outcomeOf(*traffic.acl, report);
  std::vector<CountRow> rows;
  for (size_t i = 0; i < traffic.aces.size(); ++i) {
    rows.push_back({traffic.acl->aces[i].name, traffic.aces[i],
                    outcome != nullptr ? holderWords(outcome->aces[i]) : "nothing: the ACL is refused"});
  }
  rows.push_back({"(implicit deny)", traffic.implicitDeny});
  if (traffic.acl->type == Acl::AclType::ipv4) rows.push_back({"(not IPv4)", traffic.unspoken});
  return rows;
}

// What of the filter decided any packet.
std::vector<std::pair<FilterDecision, Count>> partsOf(const CaptureReport& report) {
  std::vector<std::pair<FilterDecision, Count>> parts;
  const FilterDump& filter = *report.place.filter;
  for (const SlotDump& slot : filter.slots) {
    const Count& count = report.traffic.filter.slots.at(slot.slot);
    const bool permits = filter.isSet(Kestrix::Layout::kAction, slot.slot);
    if (count.packets != 0) parts.push_back({{permits, FilterPart::slot, slot.slot}, count});
  }
  for (const auto& [part, count] : report.traffic.filter.parts) parts.push_back({{true, part, 0}, count});
  return parts;
}

// "match", as that is not how later fragments are read.
std::string otherFragments(const Readings& readings) {
  const ReadingRow& row = rowOf(Reading::fragments);
  return std::string(readings.isOther(row.reading) ? row.standard.name : row.other.name);
}

struct KindRow {
  const char* name;   // In JSON.
  std::string words;  // Indented where it is a part of those above.
  Count TrafficKinds::* count;
};
const KindRow kKindRows[] = {
    {"ipv4", "IPv4", &TrafficKinds::ipv4},
    {"arp", "ARP", &TrafficKinds::arp},
    {"lldp", "LLDP", &TrafficKinds::lldp},
    {"ipv6", "IPv6", &TrafficKinds::ipv6},
    {"other", "other frames", &TrafficKinds::other},
    {"tagged", "  behind a VLAN tag", &TrafficKinds::tagged},
    {"laterFragments", "  later fragments", &TrafficKinds::laterFragments},
    {"fragmentsOtherwise", "    decided otherwise by fragments=", &TrafficKinds::fragmentsOtherwise},
    {"cutShort", "  cut short", &TrafficKinds::cutShort},
    {"malformed", "  malformed", &TrafficKinds::malformed},
};

void writeTables(Page& page, const CaptureReport& report) {
  for (const AclTraffic& each : report.traffic.acls) {
    page.line();
    page.line({{fmt::format("ACL {} ({})", each.acl->name, each.acl->typeName), Style::head}});
    writeCounts(page, "ACE", "on the device", rowsOf(each, report));
  }
  std::vector<CountRow> parts, kinds;
  for (const auto& [part, count] : partsOf(report)) parts.push_back({decisionWords(part, *report.place.filter), count});
  page.line();
  if (!parts.empty()) writeCounts(page, "decided on the device by", "", parts);
  for (const KindRow& row : kKindRows) {
    const Count& count = report.traffic.kinds.*row.count;
    const std::string more = row.count == &TrafficKinds::fragmentsOtherwise ? otherFragments(report.readings) : "";
    if (count.packets != 0) kinds.push_back({row.words + more, count});
  }
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
  const auto rows = rowsOf(traffic, report);
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
  for (const auto& [part, count] : partsOf(report)) {
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
  writeConclusion(page, report);
  if (report.before != nullptr) {
    page.line();
    writeTurned(page, report, /*isPermitted=*/true);
    writeTurned(page, report, /*isPermitted=*/false);
  }
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
