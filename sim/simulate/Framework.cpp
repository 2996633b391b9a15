#include "simulate/Framework.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>
#include <variant>

#include "model/AclTrace.h"
#include "simulate/ModelTree.h"

namespace Sim {
namespace {

using Platform::AclCreateError;

template <class... Visits>
struct Overloaded : Visits... {
  using Visits::operator()...;
};

// What a translation call changes in the helper's shadow of an ACL.
struct Translated {
  size_t rules = 0;
  std::optional<bool> permitAny;
  std::optional<bool> permitArp;
  std::optional<bool> permitLldp;
};

Translated translated(const Kestrix::ShadowAcl& shadowAcl) {
  Translated shadow;
  const auto acl = shadowAcl.acl().base();
  if (!acl) return shadow;
  shadow.rules = acl->rule().size();
  shadow.permitAny = acl->permitAny();
  if (shadowAcl.acl().containsMac()) {
    shadow.permitArp = shadowAcl.acl().mac()->permitArp();
    shadow.permitLldp = shadowAcl.acl().mac()->permitLldp();
  }
  return shadow;
}

// What an accepted rule became.
void noteAccepted(const Translated& before, const Translated& after, AceOutcome& ace) {
  auto verdict = [&](Verdict kind, bool permits) {
    ace.state = AceState::verdict;
    ace.verdict = kind;
    ace.permits = permits;
  };
  if (after.rules != before.rules) {
    ace.state = AceState::programmed;
  } else if (after.permitAny != before.permitAny) {
    verdict(Verdict::unmatched, *after.permitAny);
  } else if (after.permitArp != before.permitArp) {
    verdict(Verdict::arp, *after.permitArp);
  } else if (after.permitLldp != before.permitLldp) {
    verdict(Verdict::lldp, *after.permitLldp);
  } else {
    ace.state = AceState::notReached;
  }
}

}  // namespace

Framework::Framework(const Device& device, const Platform::Ptr<SimFpga>& fpga, TraceCapture& traces, Progress& progress)
    : device_(device),
      fpga_(fpga),
      traces_(traces),
      progress_(progress),
      vcsd_(Platform::make<Platform::VelCommonSmData>()),
      instanceConfig_(Platform::make<Platform::InstanceConfig>()),
      instanceStatus_(Platform::make<Platform::InstanceStatus>()) {
  Kestrix::IntfIdToPortGroupId intfMap;
  for (const Interface& interface : device.interfaces) {
    Platform::DownstreamIntfId::coreIdIs(interface.id, interface.core);
    intfMap.portGroupMapIs(interface.id, interface.portGroup);
    vcsd_->intfIs(interface.id, true);
    instanceStatus_->downstreamIntfStatusIs(interface.id);
  }
  instanceConfig_->aclDropDelayIs(device.aclDropDelay);

  helper_ = Kestrix::aclHelperFactory(fpga, intfMap, device.inRules, device.outRules, vcsd_);
  helper_->hwInit();
  reactor_ = Kestrix::aclHelperInstanceConfigSmFactory(instanceConfig_, instanceStatus_, vcsd_, helper_);
}

Framework::Wish Framework::wantedBy(const Configuration& desired) {
  std::map<std::pair<std::string, Acl::AclDirection>, std::set<Platform::IntfId>> intfsOf;
  for (const Attachment& each : desired.attachments) intfsOf[{each.acl, each.direction}].insert(each.intf);

  Wish wanted;
  auto want = [&](const AclConfiguration& acl, Acl::AclDirection direction, std::set<Platform::IntfId> intfs) {
    Platform::AclKey key;
    key.name = acl.name;
    key.type = acl.type;
    key.direction = direction;
    wanted.byKey.emplace(key, wanted.all.size());
    for (const Platform::IntfId intf : intfs)
      wanted.byIntf.emplace(std::tuple(intf, key.type, direction), wanted.all.size());
    wanted.all.push_back({std::move(key), &acl, std::move(intfs)});
  };
  for (const AclConfiguration& acl : desired.acls) {
    const size_t before = wanted.all.size();
    for (const auto direction : {Acl::AclDirection::in, Acl::AclDirection::out}) {
      const auto intfs = intfsOf.find({acl.name, direction});
      if (intfs != intfsOf.end()) want(acl, direction, intfs->second);
    }
    // The helper is told of one that is not attached all the same, and ignores it or refuses its type.
    if (wanted.all.size() == before) want(acl, Acl::AclDirection::out, {});
  }
  return wanted;
}

Outcome Framework::apply(const Configuration& desired) {
  Outcome outcome;
  const uint64_t writesBefore = fpga_->writes();
  desired_ = desired;
  const Wish wish = wantedBy(desired_);
  const std::vector<Wanted>& wanted = wish.all;

  std::vector<std::set<Platform::IntfId>> inactive;
  inactive.reserve(wanted.size());
  for (const Wanted& each : wanted) inactive.push_back(inactiveIntfs(each));
  // What goes makes room for what comes: a filter takes the rules of one ACL only. Where an ACL of the same type comes,
  // it takes the place of the old one, which is told afterwards; and only then are new rules of the old one translated,
  // so that they do not reach the interfaces that have left it.
  const std::vector<Move> moves = detach(wish, outcome);
  std::set<Platform::AclKey, KeyOrder> left;
  for (const Move& move : moves) left.insert(move.from);
  auto waits = [&](const Wanted& each) { return left.contains(each.key) && held_.at(each.key).config != *each.config; };
  std::vector<const Wanted*> waiting;
  for (size_t done = 0; const Wanted& each : wanted) {
    progress_.at(++done, wanted.size());
    if (waits(each)) {
      waiting.push_back(&each);
    } else {
      attach(each, outcome);
    }
  }
  for (const Move& move : moves) finish(move);
  for (const Wanted* each : waiting) attach(*each, outcome);
  for (size_t i = 0; i < wanted.size(); ++i) retry(wanted[i], inactive[i], outcome);
  removeGone(wish, outcome);
  block(desired_, outcome);
  report(writesBefore, outcome);
  return outcome;
}

Outcome Framework::set(const std::vector<std::string>& settings) {
  Outcome outcome;
  const uint64_t writesBefore = fpga_->writes();
  const Images before = images();
  for (const std::string& setting : settings) setByPath(*helper_, setting);
  for (const auto& [filter, image] : images()) {
    const auto same = before.find(filter);
    if (same != before.end() && same->second.toText() == image.toText()) continue;
    const auto& [intf, direction] = filter;
    byName(*helper_).call("regWriteHelper", {image, intf, direction, /*enableRegOnly=*/false});
    outcome.changes.push_back({ChangeKind::rewritten, {}, intf.toText(), direction});
  }
  report(writesBefore, outcome);
  return outcome;
}

Framework::Images Framework::images() const {
  Images images;
  for (const auto direction : {Acl::AclDirection::in, Acl::AclDirection::out}) {
    for (const auto& [intf, filter] : helper_->shadowFilters(direction)->shadowFilter()) {
      images.emplace(std::pair(intf, direction), byName(*filter).call("genRegisters", {}));
    }
  }
  return images;
}

void Framework::block(const Configuration& desired, Outcome& outcome) {
  for (const Interface& interface : device_.interfaces) {
    const bool block = desired.disabled.contains(interface.id);
    if (block == blocked_.contains(interface.id)) continue;
    helper_->blockIntf(interface.id, block, 0);
    outcome.changes.push_back({block ? ChangeKind::blocked : ChangeKind::unblocked, {}, interface.id.toText(), {}});
    if (fpga_->error().error()) {
      // The helper would report it as a failure of the next filter it writes. It is told here, and tried again.
      fpga_->error().errorIs(false);
    } else if (block) {
      blocked_.insert(interface.id);
    } else {
      blocked_.erase(interface.id);
    }
  }
}

void Framework::takeOff(Held& held, Platform::IntfId intf) {
  const Platform::AclKey& key = held.data->key();
  helper_->removeIntfFromAcl({intf, key.direction}, held.data, /*belongsToAnother=*/false);
  held.data->activeIntfDel(intf);
  if (helper_->allShadowAcl(key)->activeIntf(intf) || isInError(key, intf)) {
    held.notDetached.insert(intf);
  } else {
    held.notDetached.erase(intf);
  }
}

std::vector<Framework::Move> Framework::detach(const Wish& wanted, Outcome& outcome) {
  std::vector<Move> moves;
  for (auto& [key, held] : held_) {
    for (const Platform::IntfId intf : std::set(held.notDetached)) takeOff(held, intf);
    const auto kept = wanted.byKey.find(key);
    for (const Platform::IntfId intf : std::set(held.intfs)) {
      if (kept != wanted.byKey.end() && wanted.all[kept->second].intfs.contains(intf)) continue;
      held.intfs.erase(intf);
      const auto next = wanted.byIntf.find({intf, key.type, key.direction});
      if (next == wanted.byIntf.end()) {
        takeOff(held, intf);
        outcome.changes.push_back({ChangeKind::detached, key.name, intf.toText(), key.direction});
      } else {
        const Platform::AclKey& to = wanted.all[next->second].key;
        moves.push_back({key, to, intf});
        outcome.changes.push_back({ChangeKind::moved, key.name, intf.toText(), key.direction, to.name});
      }
    }
  }
  return moves;
}

void Framework::finish(const Move& move) {
  Held& held = held_.at(move.from);
  if (isActive(move.to, move.intf) && !isInError(move.from, move.intf)) {
    helper_->removeIntfFromAcl({move.intf, move.from.direction}, held.data, /*belongsToAnother=*/true);
    held.data->activeIntfDel(move.intf);
  } else {
    // The other ACL did not come, or an error entry is left, which only a full detach forgets.
    takeOff(held, move.intf);
  }
}

void Framework::addIntfs(Held& held, const std::set<Platform::IntfId>& intfs, ChangeKind kind, Outcome& outcome) {
  const Platform::AclKey& key = held.data->key();
  for (const Platform::IntfId intf : intfs) {
    helper_->addIntfToAcl({intf, key.direction}, held.data, held.status);
    held.intfs.insert(intf);
    outcome.changes.push_back({kind, key.name, intf.toText(), key.direction});
  }
}

void Framework::attach(const Wanted& wanted, Outcome& outcome) {
  const auto found = held_.find(wanted.key);
  const bool isNew = found == held_.end();
  if (isNew && !isKnownByName(wanted.key)) {
    outcome.changes.push_back({ChangeKind::added, wanted.key.name, {}, {}});
  }
  Held& held = isNew ? held_[wanted.key] : found->second;
  const bool isChanged = !isNew && held.config != *wanted.config;
  if (isChanged) outcome.changes.push_back({ChangeKind::changed, wanted.key.name, {}, wanted.key.direction});
  if (isNew) {
    held.data = Platform::make<Platform::AclData>(wanted.key);
    held.status = Platform::make<Platform::AclDataStatus>();
  }
  held.config = *wanted.config;
  std::set<Platform::IntfId> added;
  for (const Platform::IntfId intf : wanted.intfs) {
    if (!held.intfs.contains(intf)) added.insert(intf);
  }

  // Rules can be given for an ACL that is on some interface; one that was on none has none yet.
  const bool isFirst = isNew || held.outcome.state == AclState::notAttached;
  if (isFirst) addIntfs(held, added, ChangeKind::attached, outcome);
  if (isFirst || isChanged) translate(held);
  if (!isFirst) addIntfs(held, added, ChangeKind::attached, outcome);
}

// Interfaces that were not active before this step, of an ACL that is in order, and those that the helper has dropped.
void Framework::retry(const Wanted& wanted, const std::set<Platform::IntfId>& inactive, Outcome& outcome) {
  Held& held = held_.at(wanted.key);
  if (held.outcome.state != AclState::applied) return;
  std::set<Platform::IntfId> retried;
  for (const Platform::IntfId intf : wanted.intfs) {
    if (isActive(wanted.key, intf)) continue;
    if (inactive.contains(intf) || !isInError(wanted.key, intf)) retried.insert(intf);
  }
  addIntfs(held, retried, ChangeKind::retried, outcome);
}

std::set<Platform::IntfId> Framework::inactiveIntfs(const Wanted& wanted) const {
  std::set<Platform::IntfId> intfs;
  const auto held = held_.find(wanted.key);
  if (held == held_.end()) return intfs;
  for (const Platform::IntfId intf : held->second.intfs) {
    if (!isActive(wanted.key, intf)) intfs.insert(intf);
  }
  return intfs;
}

bool Framework::isKnownByName(const Platform::AclKey& key) const {
  const auto sameName = held_.lower_bound({key.name, key.type, Acl::AclDirection::in});
  return sameName != held_.end() && sameName->first.name == key.name && sameName->first.type == key.type;
}

void Framework::translate(Held& held) {
  if (!giveRules(held)) return;
  helper_->createFinalAclRule(held.data->key().type, held.data, static_cast<uint32_t>(held.config.aces.size()) + 1);
}

bool Framework::giveRules(Held& held) {
  const TraceCapture::Details details(traces_);
  const Platform::AclKey& key = held.data->key();
  AclOutcome& outcome = held.outcome;
  outcome = {.key = key, .typeName = held.config.typeName, .reason = {}, .aces = {}};
  traces_.clear();
  outcome.error = helper_->precreateAcl(held.data, held.status);
  if (outcome.error != AclCreateError::noError) {
    outcome.state = AclState::refused;
    outcome.reason.text = traces_.last("aclSupported");
    return false;
  }
  if (!helper_->allShadowAcl(key)) {
    outcome.state = AclState::notAttached;
    outcome.reason.text = "not attached to any interface";
    return false;
  }
  uint32_t ruleNum = 0;
  for (const Ace& ace : held.config.aces) outcome.aces.push_back(translate(ace, held.data, ++ruleNum));
  const auto refused = std::find_if(outcome.aces.begin(), outcome.aces.end(),
                                    [](const AceOutcome& ace) { return ace.state == AceState::refused; });
  if (refused != outcome.aces.end()) {
    // Not finalized: an ACL is applied whole or not at all.
    outcome.state = AclState::refused;
    outcome.error = refused->error;
    outcome.reason = {refused->name, refused->reason.text};
    return false;
  }
  return true;
}

void Framework::removeGone(const Wish& wanted, Outcome& outcome) {
  std::vector<Platform::AclKey> gone;
  for (const auto& [key, held] : held_) {
    if (!wanted.byKey.contains(key)) gone.push_back(key);
  }
  for (const Platform::AclKey& key : gone) {
    // One that was never attached is unknown to the helper.
    if (helper_->allShadowAcl(key)) {
      helper_->destroyAcl(held_.at(key).data);
      helper_->cleanupAcl(held_.at(key).data);
    }
    held_.erase(key);
    if (!isKnownByName(key)) outcome.changes.push_back({ChangeKind::removed, key.name, {}, {}});
  }
}

void Framework::report(uint64_t writesBefore, Outcome& outcome) {
  outcome.blocked = {blocked_.begin(), blocked_.end()};
  outcome.writes = fpga_->writes() - writesBefore;
  for (const auto& failed : fpga_->failedWrites()) {
    if (failed.number > writesBefore) outcome.failedWrites.push_back(failed);
  }
  for (const Wanted& each : wantedBy(desired_).all) {
    Held& held = held_.at(each.key);
    AclOutcome acl = held.outcome;
    acl.isAttached = !held.intfs.empty();
    acl.firstIntf = outcome.intfs.size();
    acl.intfCount = held.intfs.size();
    if (!acl.isAttached && acl.state != AclState::refused) {
      acl.state = AclState::notAttached;
      acl.reason = {{}, "not attached to any interface"};
    }
    for (const Platform::IntfId intf : held.intfs) {
      const IntfOutcome on = outcomeOn(intf, acl);
      acl.keepsPrevious = acl.keepsPrevious || (acl.state == AclState::refused && isInFilter(each.key, intf));
      if (on.state == IntfState::active) {
        held.data->activeIntfIs(intf);
      } else if (acl.state == AclState::applied) {
        acl.state = AclState::failed;
        acl.error = on.error;
        acl.reason = {intf.toText(), on.reason.text};
      }
      outcome.intfs.push_back(on);
    }
    outcome.acls.push_back(std::move(acl));
  }
}

bool Framework::isActive(const Platform::AclKey& key, Platform::IntfId intf) const {
  const auto shadowAcl = helper_->allShadowAcl(key);
  const auto held = held_.find(key);
  // Where taking it off failed, the helper goes on to count it as active, though the filter is to be empty.
  if (held != held_.end() && held->second.notDetached.contains(intf)) return false;
  return shadowAcl && shadowAcl->activeIntf(intf);
}

bool Framework::isInError(const Platform::AclKey& key, Platform::IntfId intf) const {
  const auto shadowAcl = helper_->allShadowAcl(key);
  return shadowAcl && shadowAcl->errorIntf().contains(intf);
}

bool Framework::isInFilter(const Platform::AclKey& key, Platform::IntfId intf) const {
  const auto filter = helper_->shadowFilters(key.direction)->shadowFilter(intf);
  const auto* recorded = filter ? filter->recorded(key.type == Acl::AclType::ipv4) : nullptr;
  return recorded != nullptr && recorded->key() == key;
}

AceOutcome Framework::translate(const Ace& ace, const Platform::Ptr<Platform::AclData>& aclData, uint32_t ruleNum) {
  const auto shadowAcl = helper_->allShadowAcl(aclData->key());
  const Translated before = translated(*shadowAcl);
  const Platform::UniqueId ruleId(ruleNum);
  AceOutcome outcome{.name = ace.name, .slot = {}, .reason = {}};
  traces_.clear();
  std::visit(Overloaded{
                 [&](const IpRule& rule) {
                   const auto& [source, destination] = std::tie(rule.source, rule.destination);
                   outcome.error = helper_->createIpAclSubrule(
                       aclData->key().type, rule.config, ruleId, aclData, ruleNum, 1, source.port, 0, destination.port,
                       0, source.low, source.high, destination.low, destination.high, rule.ipLength, 0, rule.ipLength,
                       rule.ipLength, 0, false, 0, 0);
                   noteAccepted(before, translated(*shadowAcl), outcome);
                   outcome.reason.text = traces_.last("createIpAclSubrule");
                 },
                 [&](const FragmentRule& rule) {
                   outcome.error = helper_->createIpFragRule(aclData, rule.config, ruleId, ruleNum, 1);
                   outcome.state = AceState::notEnforced;
                   outcome.reason.text = traces_.last("createIpFragRule");
                 },
                 [&](const MacRule& rule) {
                   outcome.error = helper_->createMacAclRule(rule.config, ruleId, aclData, ruleNum);
                   noteAccepted(before, translated(*shadowAcl), outcome);
                   outcome.reason.text = traces_.last("createMacAclRule");
                 },
                 [&](const ForeignRule&) { outcome.error = AclCreateError::notSupported; },
             },
             ace.rule);
  if (outcome.error != AclCreateError::noError) {
    outcome.state = AceState::refused;
    return outcome;
  }
  outcome.reason = {};
  if (outcome.state == AceState::programmed) {
    outcome.slot = shadowAcl->acl().base()->rule().rbegin()->first;
  }
  return outcome;
}

IntfOutcome Framework::outcomeOn(Platform::IntfId intf, const AclOutcome& acl) const {
  IntfOutcome outcome{.intf = intf, .acl = acl.key.name, .direction = acl.key.direction, .reason = {}};
  if (isActive(acl.key, intf)) return outcome;
  const auto shadowAcl = helper_->allShadowAcl(acl.key);
  outcome.error = shadowAcl ? shadowAcl->errorIntf(intf).value_or(acl.error) : acl.error;
  if (acl.state == AclState::refused) {
    outcome.state = IntfState::refused;
    outcome.reason = acl.reason;
  } else if (outcome.error == AclCreateError::notSupported) {
    outcome.state = IntfState::refused;
    outcome.reason.text = "the filter holds an ACL of the other type";
  } else if (outcome.error == AclCreateError::hardwareFailure) {
    outcome.state = IntfState::failed;
    outcome.reason.text = "a register write failed";
  } else {
    outcome.state = IntfState::failed;
    outcome.reason.text = "the helper does not know the interface for this ACL";
  }
  return outcome;
}

}  // namespace Sim
