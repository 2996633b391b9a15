#include "simulate/Plan.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Sim {
namespace {

// An ACL, whatever its directions.
using NameAndType = std::pair<std::string, Acl::AclType>;

NameAndType nameAndType(const Platform::AclKey& key) { return {key.name, key.type}; }

bool isWanted(const Wanted& wanted, const Platform::AclKey& key, Platform::IntfId intf) {
  const auto found = wanted.byKey.find(key);
  return found != wanted.byKey.end() && wanted.acls[found->second].intfs.contains(intf);
}

void addIntfs(const Platform::AclKey& key, const std::set<Platform::IntfId>& intfs, ChangeKind kind, Plan& plan) {
  for (const Platform::IntfId intf : intfs) {
    plan.calls.push_back(AddIntf{key, intf});
    plan.changes.push_back({kind, key.name, intf.toText(), key.direction});
  }
}

void giveRules(const WantedAcl& acl, Plan& plan) {
  plan.calls.push_back(Precreate{acl.key, acl.config});
  uint32_t number = 0;
  for (const Ace& ace : acl.config->aces) plan.calls.push_back(GiveRule{acl.key, ++number, &ace});
  plan.calls.push_back(GiveFinalRule{acl.key, ++number});
}

// Takes an ACL off where it is not wanted. Where another ACL is to replace it, that is one of `moves`, for later.
void planLeaving(const Platform::AclKey& key, const HeldAcl& acl, const Wanted& wanted, Plan& plan,
                 std::vector<HandOver>& moves) {
  for (const Platform::IntfId intf : acl.notDetached) plan.calls.push_back(RemoveIntf{key, intf});
  for (const Platform::IntfId intf : acl.intfs) {
    if (isWanted(wanted, key, intf)) continue;
    const auto next = wanted.byIntf.find({intf, key.type, key.direction});
    if (next == wanted.byIntf.end()) {
      plan.calls.push_back(RemoveIntf{key, intf});
      plan.changes.push_back({ChangeKind::detached, key.name, intf.toText(), key.direction});
    } else {
      const Platform::AclKey& to = wanted.acls[next->second].key;
      moves.push_back({key, to, intf});
      plan.changes.push_back({ChangeKind::moved, key.name, intf.toText(), key.direction, to.name});
    }
  }
}

// `held` is null for an ACL that is new.
void planComing(const WantedAcl& wanted, const HeldAcl* held, Plan& plan) {
  const bool isChanged = held != nullptr && held->config != *wanted.config;
  if (isChanged) {
    plan.changes.push_back({.kind = ChangeKind::changed,
                            .acl = wanted.key.name,
                            .intf = {},
                            .direction = wanted.key.direction,
                            .aces = aceChanges(held->config, *wanted.config)});
  }
  std::set<Platform::IntfId> added = wanted.intfs;
  if (held != nullptr) std::erase_if(added, [&](Platform::IntfId intf) { return held->intfs.contains(intf); });

  // Rules can be given for an ACL that is on some interface; one that was on none has none yet.
  const bool isFirst = held == nullptr || held->outcome.state == AclState::notAttached;
  if (isFirst) addIntfs(wanted.key, added, ChangeKind::attached, plan);
  if (isFirst || isChanged) giveRules(wanted, plan);
  if (!isFirst) addIntfs(wanted.key, added, ChangeKind::attached, plan);
}

}  // namespace

Wanted wantedBy(const Configuration& desired) {
  std::map<std::pair<std::string, Acl::AclDirection>, std::set<Platform::IntfId>> intfsOf;
  for (const Attachment& each : desired.attachments) intfsOf[{each.acl, each.direction}].insert(each.intf);

  Wanted wanted;
  auto want = [&](const AclConfiguration& acl, Acl::AclDirection direction, std::set<Platform::IntfId> intfs) {
    Platform::AclKey key;
    key.name = acl.name;
    key.type = acl.type;
    key.direction = direction;
    wanted.byKey.emplace(key, wanted.acls.size());
    for (const Platform::IntfId intf : intfs)
      wanted.byIntf.emplace(std::tuple(intf, key.type, direction), wanted.acls.size());
    wanted.acls.push_back({std::move(key), &acl, std::move(intfs)});
  };
  for (const AclConfiguration& acl : desired.acls) {
    const size_t before = wanted.acls.size();
    for (const auto direction : {Acl::AclDirection::in, Acl::AclDirection::out}) {
      const auto intfs = intfsOf.find({acl.name, direction});
      if (intfs != intfsOf.end()) want(acl, direction, intfs->second);
    }
    // The helper is told of one that is not attached all the same, and ignores it or refuses its type.
    if (wanted.acls.size() == before) want(acl, Acl::AclDirection::out, {});
  }
  return wanted;
}

AttachmentPlan planAttachments(const HeldAcls& held, const Wanted& wanted) {
  AttachmentPlan plan;
  std::vector<HandOver> moves;
  std::set<NameAndType> known;
  for (const auto& [key, acl] : held) {
    planLeaving(key, acl, wanted, plan.leaving, moves);
    known.insert(nameAndType(key));
  }
  std::set<Platform::AclKey, KeyOrder> left;
  for (const HandOver& move : moves) left.insert(move.from);

  Plan waiting;
  for (const WantedAcl& acl : wanted.acls) {
    Plan& coming = plan.coming.emplace_back();
    if (known.insert(nameAndType(acl.key)).second) {
      coming.changes.push_back({ChangeKind::added, acl.key.name, {}, {}});
    }
    const auto found = held.find(acl.key);
    const HeldAcl* const before = found == held.end() ? nullptr : &found->second;
    const bool waits = before != nullptr && left.contains(acl.key) && before->config != *acl.config;
    planComing(acl, before, waits ? waiting : coming);
  }
  plan.settling = std::move(waiting);
  plan.settling.calls.insert(plan.settling.calls.begin(), moves.begin(), moves.end());
  return plan;
}

Plan planRetry(const Platform::AclKey& key, const HeldAcl& acl, const std::map<Platform::IntfId, IntfStatus>& now) {
  Plan plan;
  if (acl.outcome.state != AclState::applied) return plan;
  std::set<Platform::IntfId> retried;
  for (const Platform::IntfId intf : acl.intfs) {
    const IntfStatus status = now.at(intf);
    if (!status.isActive && (acl.inactive.contains(intf) || !status.isInError)) retried.insert(intf);
  }
  addIntfs(key, retried, ChangeKind::retried, plan);
  return plan;
}

Plan planRemovals(const HeldAcls& held, const Wanted& wanted) {
  std::map<NameAndType, size_t> keysOf;  // A name goes with the last of its keys.
  for (const auto& [key, acl] : held) ++keysOf[nameAndType(key)];

  Plan plan;
  for (const auto& [key, acl] : held) {
    if (wanted.byKey.contains(key)) continue;
    plan.calls.push_back(RemoveAcl{key});
    if (--keysOf[nameAndType(key)] == 0) plan.changes.push_back({ChangeKind::removed, key.name, {}, {}});
  }
  return plan;
}

Plan planBlocking(const Device& device, const std::set<Platform::IntfId>& blocked,
                  const std::set<Platform::IntfId>& disabled) {
  Plan plan;
  for (const Interface& interface : device.interfaces) {
    const bool block = disabled.contains(interface.id);
    if (block == blocked.contains(interface.id)) continue;
    plan.calls.push_back(BlockIntf{interface.id, block});
    plan.changes.push_back({block ? ChangeKind::blocked : ChangeKind::unblocked, {}, interface.id.toText(), {}});
  }
  return plan;
}

}  // namespace Sim
