// What a device does with packets, against what was configured.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "read/Configuration.h"
#include "registers/RegisterWords.h"
#include "verdict/Configured.h"
#include "verdict/Packet.h"
#include "verdict/PacketSet.h"
#include "verdict/Programmed.h"
#include "verdict/Readings.h"

namespace Sim {

using Acls = std::span<const AclConfiguration* const>;

// What is to become of a packet, and by which ACE.
struct Decision {
  bool permits = true;
  const AclConfiguration* acl = nullptr;  // Null where no ACL speaks of the packet.
  const Ace* ace = nullptr;               // Null for the implicit deny.

  bool operator==(const Decision&) const = default;
};

// What a filter does with a packet, and by which part of it.
struct FilterDecision {
  bool permits = true;
  FilterPart part = FilterPart::noAcl;
  uint8_t slot = 0;  // Of a slot.

  bool operator==(const FilterDecision&) const = default;
};

// By the readings, of which none may be open. Of several ACLs, the one that denies, or else the last that speaks of the
// packet.
Decision decide(Acls acls, const Packet& packet, const Readings& readings);
FilterDecision decide(const FilterDump& filter, const Packet& packet, const Readings& readings);

// The packets that a filter lets through.
PacketSet permittedBy(const FilterDump& filter, const Readings& readings);

// A packet of the set that people know, if there is one: the first of the familiar kinds that it has. Not of an empty
// set.
Packet telling(const PacketSet& set);

// A packet that the device does not treat as configured.
struct Difference {
  Packet packet;
  Decision configured;
  FilterDecision programmed;
};

// None where there is no such packet.
struct Comparison {
  std::optional<Difference> more;        // One that the device lets through, and should not.
  std::optional<Difference> less;        // One that it stops, and should not.
  std::vector<Difference> moreOfOthers;  // As `more`: one for each other ACL that denies what the device lets through.

  bool isEqual() const { return !more && !less; }
};

// A difference that there is by other readings than those taken.
struct Note {
  std::vector<Reading> readings;          // Taken the other way:
  std::vector<Alternative> alternatives;  // in this one, each.
  Platform::IntfId intf;                  // Where it is seen; there may be more.
  Acl::AclDirection direction = Acl::AclDirection::in;
  Comparison comparison;
};

// Who decides a packet: by the ACLs as configured, and by the registers.
struct Judgement {
  Decision configured;
  FilterDecision programmed;

  bool operator==(const Judgement&) const = default;
};

// A filter, and the ACLs of its interface and direction.
struct Guard {
  const FilterDump& filter;
  Acls acls;
};

// A packet that a device treats otherwise than before.
struct Turn {
  Packet packet;
  Judgement before;
  Judgement after;

  bool operator==(const Turn&) const = default;
};

// Compares many filters. Equal ones with the same ACLs are compared once.
class Comparer {
 public:
  // By these readings, of which none may be open.
  explicit Comparer(const Readings& readings) : readings_(readings) {}

  // `acls` are those of the filter's interface and direction; they must stay as they are while this lives.
  const Comparison& compare(const FilterDump& filter, Acls acls);
  // For each reading by which a filter compared so far is different, the first such filter.
  const std::vector<Note>& notes() const { return notes_; }
  // A packet that is let through `after` only, and one that is let through `before` only, where there are such.
  const std::vector<Turn>& turns(const Guard& before, const Guard& after);

 private:
  // What a verdict can depend on.
  using Registers = std::vector<uint32_t>;
  using Key = std::pair<Registers, std::vector<const AclConfiguration*>>;

  static Key keyOf(const FilterDump& filter, Acls acls);
  Judgement judged(const Guard& guard, const Packet& packet) const;

  Comparison compared(const FilterDump& filter, Acls acls);
  // Notes what is different, in the packets and readings of `differing`.
  void note(const FilterDump& filter, Acls acls, const PacketSet& differing);

  Readings readings_;
  std::map<Key, Comparison> known_;
  std::map<std::pair<Key, Key>, std::vector<Turn>> turns_;
  std::vector<Note> notes_;
  Readings open_ = Readings::allOpen();  // But for those that are noted.
};

// An ACE that decides no packet.
struct IdleAce {
  const Ace* ace;
  size_t position;                    // In its ACL.
  std::vector<const Ace*> coveredBy;  // Empty if there are no packets that it matches.
};

// Refers to `acl`.
std::vector<IdleAce> idleAces(const AclConfiguration& acl);

}  // namespace Sim
