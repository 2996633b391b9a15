// What a device does with packets, against what was configured.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <string>
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
  std::optional<Difference> more;  // One that the device lets through, and should not.
  std::optional<Difference> less;  // One that it stops, and should not.

  bool isEqual() const { return !more && !less; }
};

// A difference that there is by other readings than those taken.
struct Note {
  std::vector<Reading> readings;  // Taken the other way.
  Platform::IntfId intf;          // Where it is seen; there may be more.
  Acl::AclDirection direction = Acl::AclDirection::in;
  Comparison comparison;
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

 private:
  struct Key {
    std::vector<uint32_t> registers;
    std::vector<const AclConfiguration*> acls;
    auto operator<=>(const Key&) const = default;
  };

  Comparison compared(const FilterDump& filter, Acls acls);
  // Notes what is different, in the packets and readings of `differing`.
  void note(const FilterDump& filter, Acls acls, const PacketSet& differing);

  Readings readings_;
  std::map<Key, Comparison> known_;
  std::vector<Note> notes_;
  Readings open_ = Readings::allOpen();  // But for those that are noted.
};

// An ACE that decides no packet.
struct IdleAce {
  const Ace* ace;
  std::vector<const Ace*> coveredBy;  // Empty if there are no packets that it matches.
};

// Refers to `acl`.
std::vector<IdleAce> idleAces(const AclConfiguration& acl);

}  // namespace Sim
