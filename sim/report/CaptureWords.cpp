#include "report/CaptureWords.h"

#include <algorithm>

#include <fmt/format.h>

#include "report/DecisionWords.h"

namespace Sim {
namespace {

Count decidedOf(const Traffic& traffic) {
  return {traffic.all.packets - traffic.undecided.packets, traffic.all.bytes - traffic.undecided.bytes};
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

// "match", as that is not how later fragments are read.
std::string otherFragments(const Readings& readings) {
  const ReadingRow& row = rowOf(Reading::fragments);
  return std::string(readings.isOther(row.reading) ? row.standard.name : row.other.name);
}

// The list of these, those with the same deciders together.
PacketList listOf(std::string title, Style style, const Count& all, std::vector<ListedPackets> packets) {
  PacketList list{std::move(title), style, {}, all};
  std::vector<bool> isListed(packets.size());
  for (size_t i = 0; i < packets.size(); ++i) {
    if (isListed[i]) continue;
    for (size_t j = i; j < packets.size(); ++j) {
      if (packets[j].deciders != packets[i].deciders) continue;
      isListed[j] = true;
      list.packets.push_back(packets[j]);
      list.unlisted.packets -= packets[j].count.packets;
      list.unlisted.bytes -= packets[j].count.bytes;
    }
  }
  return list;
}

PacketList differingList(const Traffic& traffic, bool isMore) {
  std::vector<ListedPackets> packets;
  for (const DifferingPackets& each : traffic.differing) {
    const auto& [configured, programmed] = each.judgement;
    if (programmed.permits != isMore) continue;
    packets.push_back(
        {fmt::format("configured: {}; the device: {}", configuredWords(configured), programmedWords(programmed)),
         each.packet, each.number, each.count});
  }
  const Count& all = isMore ? traffic.more : traffic.less;
  const std::string_view does = isMore ? "lets through what it should stop" : "stops what it should let through";
  return listOf(fmt::format("The device {}: {}", does, countWords(all)), Style::bad, all, std::move(packets));
}

std::string deviceWords(const Judgement& judgement, const PacketPlace& place) {
  return place.isBlocked ? std::string(kBlockedWords) : judgementWords(judgement);
}

PacketList turnedList(const CaptureReport& report, bool isPermitted) {
  std::vector<ListedPackets> packets;
  for (const TurnedPackets& each : report.traffic.turned) {
    const bool passes = !report.place.isBlocked && each.turn.after.programmed.permits;
    if (passes != isPermitted) continue;
    packets.push_back({fmt::format("{}; before: {}", deviceWords(each.turn.after, report.place),
                                   deviceWords(each.turn.before, *report.before)),
                       each.turn.packet, each.number, each.count});
  }
  const Count& all = isPermitted ? report.traffic.newlyPermitted : report.traffic.newlyDenied;
  return listOf(fmt::format("Newly {} by {}: {}", isPermitted ? "permitted" : "denied", report.step.file,
                            all.packets == 0 ? "no packet" : countWords(all)),
                Style::plain, all, std::move(packets));
}

// What it all comes to; nothing where the lists of what differs have said it.
Spans verdictLine(const CaptureReport& report) {
  const PacketPlace& place = report.place;
  const Traffic& traffic = report.traffic;
  if (place.isBlocked) return {{"The interface is disabled, and blocked: it passes no traffic.", Style::good}};
  if (place.foreign != nullptr)
    return {{fmt::format("Whether the device does as configured is {}.", foreignWords(*place.foreign)), Style::bad}};
  if (decidedOf(traffic).packets == 0) return {{"No packet was decided."}};
  if (traffic.more.packets != 0 || traffic.less.packets != 0) return {};
  return {{traffic.undecided.packets == 0 ? "The device does as configured with every packet."
                                          : "The device does as configured with every packet that could be decided.",
           Style::good}};
}

}  // namespace

std::string countWords(const Count& count) {
  return fmt::format("{} packet{}, {} bytes", count.packets, count.packets == 1 ? "" : "s", count.bytes);
}

Count cutShortOf(const Traffic& traffic) {
  return {traffic.undecided.packets - traffic.malformed.packets, traffic.undecided.bytes - traffic.malformed.bytes};
}

std::string ListedPackets::toText() const {
  const uint64_t more = count.packets - 1;
  return fmt::format("packet {}{}: {}", number, more == 0 ? "" : fmt::format(" and {} like it", more), packet.toText());
}

std::vector<PacketList> differingLists(const CaptureReport& report) {
  std::vector<PacketList> lists;
  if (report.traffic.more.packets != 0) lists.push_back(differingList(report.traffic, /*isMore=*/true));
  if (report.traffic.less.packets != 0) lists.push_back(differingList(report.traffic, /*isMore=*/false));
  return lists;
}

std::vector<PacketList> turnedLists(const CaptureReport& report) {
  if (report.before == nullptr) return {};
  return {turnedList(report, /*isPermitted=*/true), turnedList(report, /*isPermitted=*/false)};
}

Spans interruptionLine(const CaptureReport& report) {
  const uint64_t packets = report.traffic.all.packets;
  if (!report.isInterrupted) return {};
  return {{fmt::format("Interrupted after {} packet{}: there may be more in the capture.", packets,
                       packets == 1 ? "" : "s"),
           Style::odd}};
}

std::vector<Spans> conclusionLines(const CaptureReport& report) {
  std::vector<Spans> lines;
  if (const Spans line = verdictLine(report); !line.empty()) lines.push_back(line);
  for (const IntfOutcome* each : report.place.inactive) lines.push_back({{"  "}, {inactiveWords(*each), Style::bad}});
  const Traffic& traffic = report.traffic;
  if (traffic.undecided.packets != 0) {
    lines.push_back(
        {{fmt::format("Not decided: {} cut short, {} malformed; what a verdict looks at is not known of them",
                      cutShortOf(traffic).packets, traffic.malformed.packets),
          Style::odd}});
  }
  return lines;
}

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

std::vector<CountRow> aceRows(const AclTraffic& traffic, const CaptureReport& report) {
  const AclOutcome* const outcome = outcomeOf(*traffic.acl, report);
  std::vector<CountRow> rows;
  rows.reserve(traffic.aces.size() + 2);
  for (size_t i = 0; i < traffic.aces.size(); ++i) {
    rows.push_back({traffic.acl->aces[i].name, traffic.aces[i],
                    outcome != nullptr ? holderWords(outcome->aces[i]) : "nothing: the ACL is refused"});
  }
  rows.push_back({"(implicit deny)", traffic.implicitDeny});
  if (traffic.acl->type == Acl::AclType::ipv4) rows.push_back({"(not IPv4)", traffic.unspoken});
  return rows;
}

std::vector<std::pair<FilterDecision, Count>> decidingParts(const CaptureReport& report) {
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

std::vector<CountRow> partRows(const CaptureReport& report) {
  std::vector<CountRow> rows;
  const auto parts = decidingParts(report);
  rows.reserve(parts.size());
  for (const auto& [part, count] : parts) rows.push_back({decisionWords(part, *report.place.filter), count});
  return rows;
}

std::vector<CountRow> kindRows(const CaptureReport& report) {
  std::vector<CountRow> rows;
  for (const KindRow& row : kKindRows) {
    const Count& count = report.traffic.kinds.*row.count;
    const bool isOtherwise = row.count == &TrafficKinds::fragmentsOtherwise;
    if (count.packets != 0)
      rows.push_back({std::string(row.words) + (isOtherwise ? otherFragments(report.readings) : ""), count});
  }
  return rows;
}

}  // namespace Sim
