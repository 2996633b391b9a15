// What became of the packets of a capture, in words and in rows, for text, JSON and pages.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "report/CaptureReport.h"
#include "report/Page.h"
#include "verdict/Traffic.h"

namespace Sim {

// "2 packets, 128 bytes".
std::string countWords(const Count& count);
// Of the packets that were not decided, those that were cut short.
Count cutShortOf(const Traffic& traffic);

// Packets that are alike, as they are listed.
struct ListedPackets {
  std::string deciders;  // In words.
  Packet packet;         // The first of them.
  uint64_t number = 0;   // In the capture, from 1.
  Count count;

  // "packet 3 and 2 like it: tcp ...".
  std::string toText() const;
};

// Packets of which the same is said.
struct PacketList {
  std::string title;  // With their count.
  Style style = Style::plain;
  std::vector<ListedPackets> packets;  // Those with the same deciders together, in the order of the first ones.
  Count unlisted = {};                 // Those that are not among them.
};

// What the device lets through, and should not; what it stops, and should not. Only such as there are.
std::vector<PacketList> differingLists(const CaptureReport& report);
// What the last configuration newly permits, and what it newly denies. None where there is no configuration before it.
std::vector<PacketList> turnedLists(const CaptureReport& report);

// What is said of the capture as a whole, beside those lists, a line each: whether it was interrupted, before them;
// what it all comes to, which ACLs are not in force and what was not decided, behind them.
Spans interruptionLine(const CaptureReport& report);
std::vector<Spans> conclusionLines(const CaptureReport& report);

// A row of a table of packets.
struct CountRow {
  std::string what;
  Count count;
  std::string more = {};  // What holds an ACE on the device.
};
// A row for each ACE, in their order, and for what is left.
std::vector<CountRow> aceRows(const AclTraffic& traffic, const CaptureReport& report);
// What became of an ACL; null for one that is refused at the place. One that failed there may be in force in part.
const AclOutcome* outcomeOf(const AclConfiguration& acl, const CaptureReport& report);
// What of the filter decided any packet.
std::vector<std::pair<FilterDecision, Count>> decidingParts(const CaptureReport& report);
// The same as rows.
std::vector<CountRow> partRows(const CaptureReport& report);

// What packets are.
struct KindRow {
  const char* name;        // In JSON.
  std::string_view words;  // Indented where it is a part of those above.
  Count TrafficKinds::* count;
};
inline constexpr KindRow kKindRows[] = {
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
// Those that the capture has.
std::vector<CountRow> kindRows(const CaptureReport& report);

}  // namespace Sim
