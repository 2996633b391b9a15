// What a step comes to for packets, beside what became of its ACLs. Values, which the reports put into words.
#pragma once

#include <map>
#include <optional>
#include <tuple>
#include <vector>

#include "platform/acl/AclTypes.h"
#include "platform/network/IntfId.h"
#include "verdict/Comparison.h"

namespace Sim {

// An ACL on an interface, by its type, as there is one of a type. Without a type: the interface, which has no ACL.
using AclPlace = std::tuple<Platform::IntfId, Acl::AclDirection, std::optional<Acl::AclType>>;

// What a filter does otherwise than before the step.
struct FilterTurns {
  Platform::IntfId intf;
  Acl::AclDirection direction = Acl::AclDirection::in;
  std::vector<Turn> turns;
};

// Refers to the configurations of the step and the one before.
struct StepVerdicts {
  // What the device does otherwise than configured. Where the ACL is not in force, that is what it does instead.
  std::map<AclPlace, std::vector<Difference>> differences;
  std::vector<FilterTurns> turns;          // In the order of the device's interfaces.
  std::vector<std::vector<IdleAce>> idle;  // Of each ACL of the outcome.
};

}  // namespace Sim
