#include "simulate/Observation.h"

namespace Sim {

using Platform::AclCreateError;

IntfStatus statusOn(const Kestrix::AclHelper& helper, const Platform::AclKey& key, Platform::IntfId intf) {
  const auto shadowAcl = helper.allShadowAcl(key);
  if (!shadowAcl) return {};
  return {.isActive = shadowAcl->activeIntf(intf), .isInError = shadowAcl->errorIntf().contains(intf)};
}

bool isInFilter(const Kestrix::AclHelper& helper, const Platform::AclKey& key, Platform::IntfId intf) {
  const auto filter = helper.shadowFilters(key.direction)->shadowFilter(intf);
  const auto* recorded = filter ? filter->aclOf(key.type) : nullptr;
  return recorded != nullptr && recorded->key() == key;
}

IntfOutcome failureOn(const Kestrix::AclHelper& helper, Platform::IntfId intf, const AclOutcome& acl) {
  IntfOutcome outcome{.intf = intf, .acl = acl.key.name, .direction = acl.key.direction, .reason = {}};
  const auto shadowAcl = helper.allShadowAcl(acl.key);
  outcome.error = shadowAcl ? shadowAcl->errorIntf(intf).value_or(acl.error) : acl.error;
  auto refusal = shadowAcl ? shadowAcl->intfRefusal(intf) : Kestrix::Refusal::none;
  // An error that was set by name has no reason; this is the one that an interface has it for.
  if (refusal == Kestrix::Refusal::none && outcome.error == AclCreateError::notSupported) {
    refusal = Kestrix::Refusal::typeConflict;
  }
  if (acl.state == AclState::refused) {
    outcome.state = IntfState::refused;
    outcome.reason = acl.reason;
  } else if (refusal != Kestrix::Refusal::none) {
    outcome.state = IntfState::refused;
    outcome.reason.cause = Kestrix::Refused{refusal};
  } else {
    outcome.state = IntfState::failed;
    outcome.reason.cause =
        outcome.error == AclCreateError::hardwareFailure ? OwnReason::writeFailed : OwnReason::dropped;
  }
  return outcome;
}

}  // namespace Sim
