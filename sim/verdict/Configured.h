// What is to become of packets, by the ACEs as they were read.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "read/Configuration.h"
#include "verdict/PacketSet.h"
#include "verdict/Readings.h"

namespace Sim {

// Packets that an ACE, or the end of its ACL, decides, if nothing before it in the ACL does.
struct AceVerdict {
  const Ace* ace = nullptr;  // Null for the implicit deny, and for frames that the ACL does not speak of.
  PacketSet matched;
  bool permits = false;
};

// What the ACE says. Not of an ACE of a type that no helper takes, or that could not be read.
bool permits(const Ace& ace);

// Whether it is known what the ACL matches: all of it could be read, and it is of a type that a helper takes.
bool canBeDecided(const AclConfiguration& acl);

// The verdicts of one ACL, first to last. The last one matches what is left. Refers to `acl`.
std::vector<AceVerdict> verdictsOf(const AclConfiguration& acl, const Readings& readings);

// The packets that pass all ACLs of an interface in a direction, at most one of each type.
PacketSet permittedBy(std::span<const AclConfiguration* const> acls, const Readings& readings);

}  // namespace Sim
