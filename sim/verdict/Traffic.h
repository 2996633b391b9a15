// What becomes of many packets on one interface in one direction, counted.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "hw/RegisterLayout.h"
#include "read/Configuration.h"
#include "verdict/Comparison.h"
#include "verdict/Packet.h"
#include "verdict/Programmed.h"

namespace Sim {

// Packets, and the bytes of their frames as they were on the wire, whatever was captured of them.
struct Count {
  uint64_t packets = 0;
  uint64_t bytes = 0;

  bool operator==(const Count&) const = default;
  Count& operator+=(const Count& other) {
    packets += other.packets;
    bytes += other.bytes;
    return *this;
  }
};

// Which packets an ACL decides. With several ACLs a packet is shown to each until one denies it.
struct AclTraffic {
  const AclConfiguration* acl = nullptr;
  std::vector<Count> aces = {};  // Of each ACE, in their order.
  Count implicitDeny = {};
  Count unspoken = {};  // Of frames that the ACL does not speak of.
};

// Which parts of a filter decide packets.
struct FilterTraffic {
  std::array<Count, Kestrix::Layout::kMaxSlots> slots{};
  std::map<FilterPart, Count> parts = {};  // Of all but slots; only those that decide any.
};

// What the packets are. Each is one of the first five, and may be any of the others as well.
struct TrafficKinds {
  Count ipv4;
  Count arp;
  Count lldp;
  Count ipv6;
  Count other;  // Of an EtherType that is none of these, or not known.
  Count tagged;
  Count laterFragments;      // But the first of their IPv4 packets.
  Count fragmentsOtherwise;  // Those of them that the device decides otherwise by the other reading of `fragments`.
  Count cutShort;            // Of whose fields not all were captured.
  Count malformed;           // Which contradict themselves.
};

// Packets that are alike in all that a verdict depends on, and that the device does not treat as configured.
struct DifferingPackets {
  Packet packet;        // The first of them,
  uint64_t number = 0;  // and its number in the capture, from 1.
  Judgement judgement;
  Count count = {};
};

// The same of packets that the last configuration newly permits or denies.
struct TurnedPackets {
  Turn turn;
  uint64_t number = 0;
  Count count = {};
};

// Refers to the configurations.
struct Traffic {
  Count all;
  TrafficKinds kinds;            // Of all of them.
  Count undecided;               // Those for which a verdict looks at something that is not known of them.
  Count malformed;               // Of these, those that contradict themselves. The others were cut short.
  std::vector<AclTraffic> acls;  // Those of the interface that can be decided.
  FilterTraffic filter;

  // Of an interface that passes no traffic, or whose ACLs are not known, nothing is said to differ.
  Count more;                               // The device lets them through, and should not.
  Count less;                               // It stops them, and should not.
  std::vector<DifferingPackets> differing;  // In the order of the capture; kMostListed at most.
  Count newlyPermitted;                     // By the last of several configurations.
  Count newlyDenied;
  std::vector<TurnedPackets> turned;  // As `differing`.
};

// How many different packets are listed, so that a capture of any length takes no more memory.
inline constexpr size_t kMostListed = 1000;

}  // namespace Sim
