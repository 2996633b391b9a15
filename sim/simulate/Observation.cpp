#include "simulate/Observation.h"

namespace Sim {

using Platform::AclCreateError;

Reason refusal(const TraceCapture& traces, std::string_view operation) { return {{}, traces.last(operation)}; }

IntfStatus statusOn(const Kestrix::AclHelper& helper, const Platform::AclKey& key, Platform::IntfId intf) {
  const auto shadowAcl = helper.allShadowAcl(key);
  if (!shadowAcl) return {};
  return {.isActive = shadowAcl->activeIntf(intf), .isInError = shadowAcl->errorIntf().contains(intf)};
}

bool isInFilter(const Kestrix::AclHelper& helper, const Platform::AclKey& key, Platform::IntfId intf) {
  const auto filter = helper.shadowFilters(key.direction)->shadowFilter(intf);
  const auto* recorded = filter ? filter->recorded(key.type == Acl::AclType::ipv4) : nullptr;
  return recorded != nullptr && recorded->key() == key;
}

IntfOutcome failureOn(const Kestrix::AclHelper& helper, Platform::IntfId intf, const AclOutcome& acl) {
  IntfOutcome outcome{.intf = intf, .acl = acl.key.name, .direction = acl.key.direction, .reason = {}};
  const auto shadowAcl = helper.allShadowAcl(acl.key);
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
