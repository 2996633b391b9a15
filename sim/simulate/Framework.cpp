#include "simulate/Framework.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "simulate/ModelTree.h"
#include "simulate/Observation.h"
#include "simulate/RuleCall.h"

namespace Sim {

using Platform::AclCreateError;

Framework::Framework(const Device& device, const Platform::Ptr<SimFpga>& fpga, AtAcl atAcl)
    : device_(device),
      fpga_(fpga),
      atAcl_(std::move(atAcl)),
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

// --- A desired state -------------------------------------------------------------------------------------------------

Outcome Framework::apply(const Configuration& desired) {
  Outcome outcome;
  const uint64_t writesBefore = fpga_->writes();
  desired_ = desired;
  wanted_ = wantedBy(desired_);
  const AttachmentPlan plan = planAttachments(held_, wanted_);
  holdWanted();

  carryOut(plan.leaving, outcome);
  for (size_t number = 0; const Plan& acl : plan.coming) {
    atAcl_(++number, plan.coming.size());
    carryOut(acl, outcome);
  }
  carryOut(plan.settling, outcome);
  for (const WantedAcl& each : wanted_.acls) {
    const HeldAcl& acl = held_.at(each.key);
    carryOut(planRetry(each.key, acl, statuses(each.key, acl)), outcome);
  }
  carryOut(planRemovals(held_, wanted_), outcome);
  carryOut(planBlocking(device_, blocked_, desired_.disabled), outcome);
  report(writesBefore, outcome);
  return outcome;
}

void Framework::holdWanted() {
  for (const WantedAcl& wanted : wanted_.acls) {
    HeldAcl& held = held_[wanted.key];
    std::set<Platform::IntfId> inactive;
    for (const auto& [intf, now] : statuses(wanted.key, held)) {
      if (!now.isActive) inactive.insert(intf);
    }
    held.inactive = std::move(inactive);
    held.config = *wanted.config;
    held.intfs = wanted.intfs;
    Published& acl = published_[wanted.key];
    if (acl.data) continue;
    acl.data = Platform::make<Platform::AclData>(wanted.key);
    acl.status = Platform::make<Platform::AclDataStatus>();
  }
}

std::map<Platform::IntfId, IntfStatus> Framework::statuses(const Platform::AclKey& key, const HeldAcl& acl) const {
  std::map<Platform::IntfId, IntfStatus> statuses;
  for (const Platform::IntfId intf : acl.intfs) statuses.emplace(intf, status(key, intf));
  return statuses;
}

IntfStatus Framework::status(const Platform::AclKey& key, Platform::IntfId intf) const {
  IntfStatus status = statusOn(*helper_, key, intf);
  // Where taking it off failed, the helper goes on to count it as active, though the filter is to be empty.
  if (held_.at(key).notDetached.contains(intf)) status.isActive = false;
  return status;
}

// --- Calls -----------------------------------------------------------------------------------------------------------

void Framework::carryOut(const Plan& plan, Outcome& outcome) {
  outcome.changes.insert(outcome.changes.end(), plan.changes.begin(), plan.changes.end());
  for (const Call& call : plan.calls) {
    std::visit([this](const auto& each) { make(each); }, call);
  }
}

void Framework::make(const AddIntf& call) {
  const auto& [data, status] = published_.at(call.key);
  helper_->addIntfToAcl({call.intf, call.key.direction}, data, status);
}

void Framework::make(const RemoveIntf& call) {
  const auto& data = published_.at(call.key).data;
  helper_->removeIntfFromAcl({call.intf, call.key.direction}, data, /*belongsToAnother=*/false);
  data->activeIntfDel(call.intf);
  HeldAcl& held = held_.at(call.key);
  if (statusOn(*helper_, call.key, call.intf).isInError) {
    held.notDetached.insert(call.intf);
  } else {
    held.notDetached.erase(call.intf);
  }
}

void Framework::make(const HandOver& call) {
  if (!hasTakenOver(status(call.to, call.intf), status(call.from, call.intf))) {
    make(RemoveIntf{call.from, call.intf});
    return;
  }
  const auto& data = published_.at(call.from).data;
  helper_->removeIntfFromAcl({call.intf, call.from.direction}, data, /*belongsToAnother=*/true);
  data->activeIntfDel(call.intf);
}

void Framework::make(const Precreate& call) {
  AclOutcome& outcome = held_.at(call.key).outcome;
  outcome = {.key = call.key,
             .typeName = call.config->typeName,
             .hasErrors = call.config->hasErrors,
             .reason = {},
             .aces = {}};
  const auto& [data, status] = published_.at(call.key);
  outcome.error = helper_->precreateAcl(data, status);
  if (outcome.error != AclCreateError::noError) {
    outcome.state = AclState::refused;
    outcome.reason.cause = helper_->lastRefused();
    outcome.reason.situation = {.fields = {{Match::aclType, "type", outcome.typeName}}};
  } else if (!helper_->allShadowAcl(call.key)) {
    outcome.state = AclState::notAttached;
    outcome.reason.cause = OwnReason::notAttached;
  }
}

void Framework::make(const GiveRule& call) {
  AclOutcome& outcome = held_.at(call.key).outcome;
  if (outcome.state != AclState::applied) return;
  outcome.aces.push_back(giveRule(*helper_, published_.at(call.key).data, call.number, *call.ace));
}

void Framework::make(const GiveFinalRule& call) {
  AclOutcome& outcome = held_.at(call.key).outcome;
  if (outcome.state != AclState::applied) return;
  noteSituations(held_.at(call.key).config, translated(call.key), outcome.aces);
  const auto refused = std::find_if(outcome.aces.begin(), outcome.aces.end(),
                                    [](const AceOutcome& ace) { return ace.state == AceState::refused; });
  if (refused != outcome.aces.end()) {
    outcome.state = AclState::refused;
    outcome.error = refused->error;
    outcome.reason = refused->reason;
    outcome.reason.culprit = refused->name;
    return;
  }
  helper_->createFinalAclRule(call.key.type, published_.at(call.key).data, call.number);
}

TranslatedAcl Framework::translated(const Platform::AclKey& key) const {
  const auto acl = helper_->allShadowAcl(key)->acl().base();
  return {device_.slots(key.direction), acl->srcOrDst(), otherDirection(device_, key.direction)};
}

void Framework::make(const RemoveAcl& call) {
  if (helper_->allShadowAcl(call.key)) {
    const auto& data = published_.at(call.key).data;
    helper_->destroyAcl(data);
    helper_->cleanupAcl(data);
  }
  published_.erase(call.key);
  held_.erase(call.key);
}

void Framework::make(const BlockIntf& call) {
  helper_->blockIntf(call.intf, call.block, 0);
  if (fpga_->error().error()) {
    // The helper would report it as a failure of the next filter it writes. It is told here, and tried again.
    fpga_->error().errorIs(false);
  } else if (call.block) {
    blocked_.insert(call.intf);
  } else {
    blocked_.erase(call.intf);
  }
}

// --- Settings --------------------------------------------------------------------------------------------------------

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

// --- What came of it -------------------------------------------------------------------------------------------------

void Framework::report(uint64_t writesBefore, Outcome& outcome) {
  outcome.blocked = {blocked_.begin(), blocked_.end()};
  outcome.writes = fpga_->writes() - writesBefore;
  for (const WantedAcl& each : wanted_.acls) outcome.acls.push_back(reportAcl(each, outcome));
}

AclOutcome Framework::reportAcl(const WantedAcl& wanted, Outcome& outcome) {
  AclOutcome acl = held_.at(wanted.key).outcome;
  acl.isAttached = !wanted.intfs.empty();
  acl.firstIntf = outcome.intfs.size();
  acl.intfCount = wanted.intfs.size();
  if (!acl.isAttached && acl.state != AclState::refused) {
    acl.state = AclState::notAttached;
    acl.reason = {{}, OwnReason::notAttached};
  }
  for (const Platform::IntfId intf : wanted.intfs) {
    const bool keepsPrevious = acl.state == AclState::refused && isInFilter(*helper_, wanted.key, intf);
    acl.keepsPrevious = acl.keepsPrevious || keepsPrevious;
    if (status(wanted.key, intf).isActive) {
      published_.at(wanted.key).data->activeIntfIs(intf);
      outcome.intfs.push_back({.intf = intf, .acl = acl.key.name, .direction = acl.key.direction, .reason = {}});
      continue;
    }
    outcome.intfs.push_back(failureOn(*helper_, device_, intf, acl));
    outcome.intfs.back().keepsPrevious = keepsPrevious;
    if (acl.state != AclState::applied) continue;
    acl.state = AclState::failed;
    acl.error = outcome.intfs.back().error;
    acl.reason = outcome.intfs.back().reason;
    acl.reason.culprit = intf.toText();
  }
  return acl;
}

}  // namespace Sim
