// What became of a desired state: of its ACLs, rules and interfaces. Values, which the reports put into words.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/acl/AclKey.h"
#include "platform/network/IntfId.h"
#include "simulate/AceChanges.h"
#include "simulate/Reason.h"

namespace Sim {

// What the helper made of a rule.
enum class AceState : uint8_t {
  programmed,   // In a slot.
  verdict,      // Folded into a verdict of the filter.
  notReached,   // After that verdict: no packet comes this far.
  notEnforced,  // A fragment rule: accepted, though the hardware does not tell fragments apart.
  refused,
  inError,  // As it could not be read, it was not given to the helper.
};

// What a rule without a slot decides.
enum class Verdict : uint8_t { none, unmatched, arp, lldp };

struct AceOutcome {
  std::string name;
  AceState state = AceState::refused;
  std::optional<uint8_t> slot;      // When programmed.
  Verdict verdict = Verdict::none;  // When a verdict, and
  bool permits = false;             // which.
  Platform::AclCreateError error = Platform::AclCreateError::noError;
  Reason reason;  // When refused.
};

enum class AclState : uint8_t {
  applied,
  notAttached,
  refused,  // By the helper: the ACL as a whole, or rules of it.
  failed,   // On some interface.
};

struct AclOutcome {
  Platform::AclKey key;
  std::string typeName;        // As configured.
  bool hasErrors = false;      // In its document, so that it was not given in full.
  bool isAttached = false;     // To some interface in the key's direction.
  bool keepsPrevious = false;  // Refused, but an earlier version of it is still in a filter.
  AclState state = AclState::applied;
  Platform::AclCreateError error = Platform::AclCreateError::noError;
  Reason reason;
  std::vector<AceOutcome> aces;
  size_t firstIntf = 0;  // Its interfaces, in Outcome::intfs,
  size_t intfCount = 0;  // and how many there are.
};

enum class IntfState : uint8_t { active, refused, failed };

// One ACL on one interface and direction.
struct IntfOutcome {
  Platform::IntfId intf;
  std::string acl;
  Acl::AclDirection direction = Acl::AclDirection::in;
  IntfState state = IntfState::active;
  Platform::AclCreateError error = Platform::AclCreateError::noError;
  Reason reason;
  bool keepsPrevious = false;  // As of the ACL, in this filter.
};

enum class ChangeKind : uint8_t {
  added,
  changed,
  removed,
  attached,
  detached,
  moved,
  retried,
  blocked,
  unblocked,
  rewritten,  // An interface's filter, after attributes were set by name.
};

// One difference between the state before and the desired one, and so one reason to call the helper.
struct Change {
  ChangeKind kind = ChangeKind::added;
  std::string acl;   // Empty for an interface that is blocked, unblocked or rewritten.
  std::string intf;  // Empty for an ACL as a whole.
  std::optional<Acl::AclDirection> direction;
  std::string to = {};               // The ACL that an interface has moved to.
  std::vector<AceChange> aces = {};  // Of an ACL that has changed: what of it.
};

// A register write that did not reach its register.
struct FailedWrite {
  uint64_t number;  // From 1, over all writes.
  std::string path;
};

// What became of one desired state.
struct Outcome {
  std::vector<Change> changes;
  std::vector<AclOutcome> acls;
  std::vector<IntfOutcome> intfs;  // Those of an ACL together.
  std::vector<Platform::IntfId> blocked;
  uint64_t writes = 0;

  // Whether each ACL is in force wherever it is attached.
  bool isAllApplied() const;
  // The interfaces of an ACL of this outcome.
  std::span<const IntfOutcome> intfsOf(const AclOutcome& acl) const {
    return std::span(intfs).subspan(acl.firstIntf, acl.intfCount);
  }
};

}  // namespace Sim

template <>
inline constexpr Platform::EnumName<Sim::AceState> Platform::enumNames<Sim::AceState>[] = {
    {Sim::AceState::programmed, "programmed"},  {Sim::AceState::verdict, "verdict"},
    {Sim::AceState::notReached, "not-reached"}, {Sim::AceState::notEnforced, "not-enforced"},
    {Sim::AceState::refused, "refused"},        {Sim::AceState::inError, "in-error"}};
template <>
inline constexpr Platform::EnumName<Sim::Verdict> Platform::enumNames<Sim::Verdict>[] = {
    {Sim::Verdict::none, "none"},
    {Sim::Verdict::unmatched, "unmatched"},
    {Sim::Verdict::arp, "arp"},
    {Sim::Verdict::lldp, "lldp"}};
template <>
inline constexpr Platform::EnumName<Sim::AclState> Platform::enumNames<Sim::AclState>[] = {
    {Sim::AclState::applied, "applied"},
    {Sim::AclState::notAttached, "not-attached"},
    {Sim::AclState::refused, "refused"},
    {Sim::AclState::failed, "failed"}};
template <>
inline constexpr Platform::EnumName<Sim::IntfState> Platform::enumNames<Sim::IntfState>[] = {
    {Sim::IntfState::active, "active"}, {Sim::IntfState::refused, "refused"}, {Sim::IntfState::failed, "failed"}};

template <>
inline constexpr Platform::EnumName<Sim::ChangeKind> Platform::enumNames<Sim::ChangeKind>[] = {
    {Sim::ChangeKind::added, "added"},         {Sim::ChangeKind::changed, "changed"},
    {Sim::ChangeKind::removed, "removed"},     {Sim::ChangeKind::attached, "attached"},
    {Sim::ChangeKind::detached, "detached"},   {Sim::ChangeKind::moved, "moved"},
    {Sim::ChangeKind::retried, "retried"},     {Sim::ChangeKind::blocked, "blocked"},
    {Sim::ChangeKind::unblocked, "unblocked"}, {Sim::ChangeKind::rewritten, "rewritten"}};
