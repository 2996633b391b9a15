// What is to be done to bring a device from what it holds to what is wanted of it: lists of calls, from values alone.
// Nothing here knows the helper that is called, or what comes of it.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <variant>
#include <vector>

#include "platform/acl/AclKey.h"
#include "platform/network/IntfId.h"
#include "read/Configuration.h"
#include "read/Device.h"
#include "simulate/Outcome.h"

namespace Sim {

// --- What is wanted, and what is held --------------------------------------------------------------------------------

// In an order that does not change from run to run.
struct KeyOrder {
  bool operator()(const Platform::AclKey& left, const Platform::AclKey& right) const {
    return std::tie(left.name, left.type, left.direction) < std::tie(right.name, right.type, right.direction);
  }
};

// An ACL in one direction as it is to be.
struct WantedAcl {
  Platform::AclKey key;
  const AclConfiguration* config;
  std::set<Platform::IntfId> intfs;
};

// All that is wanted, in the order of the configuration, and where to find it.
struct Wanted {
  std::vector<WantedAcl> acls;
  std::map<Platform::AclKey, size_t, KeyOrder> byKey;  // Positions in `acls`.
  // The ACL of a type that an interface is to have in a direction.
  std::map<std::tuple<Platform::IntfId, Acl::AclType, Acl::AclDirection>, size_t> byIntf;
};

// Refers to `desired`.
Wanted wantedBy(const Configuration& desired);

// An ACL in one direction as the steps so far have left it.
struct HeldAcl {
  AclConfiguration config = {};
  std::set<Platform::IntfId> intfs = {};
  std::set<Platform::IntfId> inactive = {};     // Those of `intfs` on which it is not active.
  std::set<Platform::IntfId> notDetached = {};  // Taking it off failed; tried again in the next step.
  AclOutcome outcome = {};                      // Of its rules, when they were last given.
};

using HeldAcls = std::map<Platform::AclKey, HeldAcl, KeyOrder>;

// --- What is to be done ----------------------------------------------------------------------------------------------

struct AddIntf {
  Platform::AclKey key;
  Platform::IntfId intf;
};

struct RemoveIntf {
  Platform::AclKey key;
  Platform::IntfId intf;
};

// Ends the move of an interface: how `from` leaves it depends on whether `to` has come, see hasTakenOver.
struct HandOver {
  Platform::AclKey from;
  Platform::AclKey to;
  Platform::IntfId intf;
};

// Announces an ACL, whose rules follow. If the helper refuses or ignores it, they are left out.
struct Precreate {
  Platform::AclKey key;
  const AclConfiguration* config = nullptr;
};

struct GiveRule {
  Platform::AclKey key;
  uint32_t number = 0;  // From 1.
  const Ace* ace = nullptr;
};

// Left out if a rule before it was refused: an ACL is applied whole or not at all.
struct GiveFinalRule {
  Platform::AclKey key;
  uint32_t number = 0;
};

// Left out for an ACL that the helper does not know, as it was never attached.
struct RemoveAcl {
  Platform::AclKey key;
};

struct BlockIntf {
  Platform::IntfId intf;
  bool block = false;
};

using Call = std::variant<AddIntf, RemoveIntf, HandOver, Precreate, GiveRule, GiveFinalRule, RemoveAcl, BlockIntf>;

// Calls to be made one after the other, and the differences that ask for them.
struct Plan {
  std::vector<Change> changes;
  std::vector<Call> calls;
};

// What goes makes room for what comes: a filter takes the rules of one ACL only. Where an ACL of the same type comes,
// it takes the place of the old one, which is told afterwards; and only then are new rules of the old one translated,
// so that they do not reach the interfaces that have left it.
struct AttachmentPlan {
  Plan leaving;
  std::vector<Plan> coming;  // For each wanted ACL; empty for one that waits.
  Plan settling;             // The hand-overs, and then the ACLs that have waited for them.
};

AttachmentPlan planAttachments(const HeldAcls& held, const Wanted& wanted);

// An ACL on an interface.
struct IntfStatus {
  bool isActive = false;
  bool isInError = false;
};

// Whether `from` is only to be told that another ACL has taken its place. Otherwise it is removed in full: the other
// ACL did not come, or an error entry is left, which nothing else forgets.
constexpr bool hasTakenOver(IntfStatus to, IntfStatus from) { return to.isActive && !from.isInError; }

// Tries an ACL again, if all of it was accepted, where it is not active `now`: on interfaces where it was not before
// this step either, and those that the helper has dropped. `now` has a status for each of its interfaces.
Plan planRetry(const Platform::AclKey& key, const HeldAcl& acl, const std::map<Platform::IntfId, IntfStatus>& now);

// Removes the ACLs that are not wanted.
Plan planRemovals(const HeldAcls& held, const Wanted& wanted);

// Blocks the disabled interfaces, and unblocks the others.
Plan planBlocking(const Device& device, const std::set<Platform::IntfId>& blocked,
                  const std::set<Platform::IntfId>& disabled);

}  // namespace Sim
