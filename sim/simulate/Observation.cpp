#include "simulate/Observation.h"

namespace Sim {

using Platform::AclCreateError;

namespace {

// What keeps the ACL from the interface: the ACL of the other type that its filter holds.
Situation situationOn(const Kestrix::AclHelper& helper, const Device& device, Platform::IntfId intf,
                      const Platform::AclKey& key) {
  Situation situation{.slots = device.slots(key.direction), .other = otherDirection(device, key.direction)};
  const auto filter = helper.shadowFilters(key.direction)->shadowFilter(intf);
  const auto otherType = key.type == Acl::AclType::ipv4 ? Acl::AclType::mac : Acl::AclType::ipv4;
  const auto* holder = filter ? filter->aclOf(otherType) : nullptr;
  if (holder != nullptr) situation.fields = {{Match::otherAcl, "ACL", holder->key().name}};
  return situation;
}

}  // namespace

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

std::optional<Acl::AclDirection> otherDirection(const Device& device, Acl::AclDirection direction) {
  const auto other = direction == Acl::AclDirection::in ? Acl::AclDirection::out : Acl::AclDirection::in;
  return device.slots(other) == 0 ? std::nullopt : std::optional(other);
}

IntfOutcome failureOn(const Kestrix::AclHelper& helper, const Device& device, Platform::IntfId intf,
                      const AclOutcome& acl) {
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
    outcome.reason.situation = situationOn(helper, device, intf, acl.key);
  } else {
    outcome.state = IntfState::failed;
    outcome.reason.cause =
        outcome.error == AclCreateError::hardwareFailure ? OwnReason::writeFailed : OwnReason::dropped;
  }
  return outcome;
}

}  // namespace Sim
