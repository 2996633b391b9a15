#include "Framework.h"

#include <algorithm>

#include "model/AclTrace.h"

namespace Sim {
namespace {

using Platform::AclCreateError;

template <class... Visits>
struct Overloaded : Visits... {
  using Visits::operator()...;
};

// How much of an ACL the helper holds: what a translation call changes.
struct Translated {
  size_t rules = 0;
  bool hasVerdict = false;
};

Translated translated(const Kestrix::ShadowAcl& shadowAcl) {
  const auto acl = shadowAcl.acl().base();
  return acl ? Translated{acl->rule().size(), acl->permitAny().has_value()} : Translated{};
}

AceState stateAfter(const Translated& before, const Translated& after) {
  if (after.rules != before.rules) return AceState::programmed;
  return after.hasVerdict != before.hasVerdict ? AceState::verdict : AceState::notReached;
}

}  // namespace

bool Outcome::isAllApplied() const {
  return !startupFailed && std::all_of(acls.begin(), acls.end(), [](const AclOutcome& acl) {
    return acl.state == AclState::applied || acl.state == AclState::notAttached;
  });
}

Framework::Framework(const Device& device, const Platform::Ptr<SimFpga>& fpga, TraceCapture& traces)
    : traces_(traces),
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
  startupWrites_ = fpga->writes();
  startupFailed_ = !fpga->failedWrites().empty();
}

Outcome Framework::apply(const Configuration& desired) {
  std::map<std::pair<std::string, Acl::AclDirection>, std::vector<Platform::IntfId>> intfsOf;
  for (const Attachment& each : desired.attachments) intfsOf[{each.acl, each.direction}].push_back(each.intf);

  Outcome outcome;
  outcome.startupWrites = startupWrites_;
  outcome.startupFailed = startupFailed_;
  for (const AclConfiguration& acl : desired.acls) {
    bool isAttached = false;
    for (const auto direction : {Acl::AclDirection::in, Acl::AclDirection::out}) {
      const auto intfs = intfsOf.find({acl.name, direction});
      if (intfs == intfsOf.end()) continue;
      isAttached = true;
      const Platform::AclKey key{.name = acl.name, .type = acl.type, .direction = direction};
      outcome.acls.push_back(applyAcl(acl, key, intfs->second, outcome.intfs));
    }
    if (isAttached) continue;
    // The helper is told of it all the same, and ignores it or refuses its type.
    const Platform::AclKey key{.name = acl.name, .type = acl.type, .direction = Acl::AclDirection::out};
    outcome.acls.push_back(applyAcl(acl, key, {}, outcome.intfs));
  }
  return outcome;
}

AclOutcome Framework::applyAcl(const AclConfiguration& acl, const Platform::AclKey& key,
                               const std::vector<Platform::IntfId>& intfs, std::vector<IntfOutcome>& intfOutcomes) {
  AclOutcome outcome{.key = key,
                     .typeName = acl.typeName,
                     .isAttached = !intfs.empty(),
                     .state = AclState::applied,
                     .reason = {},
                     .aces = {}};
  const auto aclData = Platform::make<Platform::AclData>(key);
  const auto status = Platform::make<Platform::AclDataStatus>();
  for (const Platform::IntfId intf : intfs) helper_->addIntfToAcl({intf, key.direction}, aclData, status);

  traces_.clear();
  outcome.error = helper_->precreateAcl(aclData, status);
  if (outcome.error != AclCreateError::noError) {
    outcome.state = AclState::refused;
    outcome.reason.text = traces_.last("aclSupported");
  } else if (intfs.empty()) {
    outcome.state = AclState::notAttached;
    outcome.reason.text = "not attached to any interface";
  } else {
    uint32_t ruleNum = 0;
    for (const Ace& ace : acl.aces) outcome.aces.push_back(translate(ace, aclData, ++ruleNum));
    const auto refused = std::find_if(outcome.aces.begin(), outcome.aces.end(),
                                      [](const AceOutcome& ace) { return ace.state == AceState::refused; });
    if (refused != outcome.aces.end()) {
      // Not finalized: an ACL is applied whole or not at all.
      outcome.state = AclState::refused;
      outcome.error = refused->error;
      outcome.reason = {refused->name, refused->reason.text};
    } else {
      outcome.error = helper_->createFinalAclRule(key.type, aclData, ++ruleNum);
      if (outcome.error != AclCreateError::noError) outcome.state = AclState::failed;
    }
  }
  for (const Platform::IntfId intf : intfs) intfOutcomes.push_back(outcomeOn(intf, outcome));
  if (outcome.state == AclState::failed) {
    const auto failed = std::find_if(intfOutcomes.begin(), intfOutcomes.end(), [&](const IntfOutcome& intf) {
      return intf.acl == key.name && intf.direction == key.direction && intf.state != IntfState::active;
    });
    if (failed != intfOutcomes.end()) outcome.reason = {failed->intf.toText(), failed->reason.text};
  }
  return outcome;
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
                   outcome.state = stateAfter(before, translated(*shadowAcl));
                   outcome.reason.text = traces_.last("createIpAclSubrule");
                 },
                 [&](const FragmentRule& rule) {
                   outcome.error = helper_->createIpFragRule(aclData, rule.config, ruleId, ruleNum, 1);
                   outcome.state = AceState::notEnforced;
                   outcome.reason.text = traces_.last("createIpFragRule");
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
  const auto shadowAcl = helper_->allShadowAcl(acl.key);
  if (shadowAcl->activeIntf(intf)) return outcome;
  outcome.error = shadowAcl->errorIntf(intf).value_or(acl.error);
  if (acl.state == AclState::refused) {
    outcome.state = IntfState::refused;
    outcome.reason = acl.reason;
  } else if (outcome.error == AclCreateError::notSupported) {
    outcome.state = IntfState::refused;
    outcome.reason.text = "the filter holds an ACL of the other type";
  } else {
    outcome.state = IntfState::failed;
    outcome.reason.text = "a register write failed";
  }
  return outcome;
}

}  // namespace Sim
