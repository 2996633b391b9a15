#include "platform/VelAclHelper.h"

namespace VelHelper {

AclHelper::AclHelper() = default;
AclHelper::~AclHelper() = default;

void AclHelper::hwInit() {}
bool AclHelper::intfSupportsAcl(IntfId) { return false; }
AclHelper::String AclHelper::intfLinecardName(IntfId) { return {}; }

AclHelper::AclCreateError AclHelper::createIpAclSubrule(Acl::AclType, const Acl::RuleConfig&, const UniqueId&,
                                                        const Ptr<AclData>&, uint32_t, uint32_t, uint16_t, uint16_t,
                                                        uint16_t, uint16_t, uint16_t, uint16_t, uint16_t, uint16_t,
                                                        uint16_t, uint16_t, uint16_t, uint16_t, uint8_t, bool, uint8_t,
                                                        uint8_t) {
  return AclCreateError::notSupported;
}
AclHelper::AclCreateError AclHelper::createIpFragRule(const Ptr<AclData>&, const Acl::IpRuleConfig&, const UniqueId&,
                                                      uint32_t, uint32_t) {
  return AclCreateError::notSupported;
}
AclHelper::AclCreateError AclHelper::createMacAclRule(const Acl::MacRuleConfig&, const UniqueId&, const Ptr<AclData>&,
                                                      uint32_t) {
  return AclCreateError::notSupported;
}
AclHelper::AclCreateError AclHelper::createFinalAclRule(Acl::AclType, const Ptr<AclData>&, uint32_t) {
  return AclCreateError::notSupported;
}
AclHelper::AclCreateError AclHelper::precreateAcl(const Ptr<AclData>&, const Ptr<AclDataStatus>&) {
  return AclCreateError::notSupported;
}
void AclHelper::destroyAcl(const Ptr<AclData>&) {}
void AclHelper::cleanupAcl(const Ptr<AclData>&) {}
void AclHelper::commitAcl(const Ptr<AclData>&) {}
void AclHelper::blockIntf(IntfId, bool, uint32_t) {}
AclHelper::AclCreateError AclHelper::addIntfToAcl(const IntfPairKey&, const Ptr<AclData>&, const Ptr<AclDataStatus>&) {
  return AclCreateError::notSupported;
}
AclHelper::AclCreateError AclHelper::removeIntfFromAcl(const IntfPairKey&, const Ptr<AclData>&, bool) {
  return AclCreateError::notSupported;
}
void AclHelper::updateAclPorts(const Ptr<AclData>&, bool) {}
AclHelper::AclCreateError AclHelper::createFinalAclRuleWithId(Acl::AclType aclType, const UniqueId&,
                                                              const Ptr<AclData>& aclData, uint32_t ruleNum) {
  return createFinalAclRule(aclType, aclData, ruleNum);
}

// Each keeps its own reference to the listener, which may replace itself while it is called.

void AclHelper::aclStatusUpdateCallback(const Platform::AclKey& key, AclCreateError error) {
  if (const auto listener = listener_) listener->aclStatusUpdate(key, error);
}

void AclHelper::publishUnitErrorIs(const String& unit, bool publish) {
  Platform::store(publishUnitError_, unit, publish);
  if (const auto listener = listener_) listener->unitErrorPublished(unit, publish);
}

void AclHelper::unitErrorIs(const String& unit, AclCreateError error) {
  Platform::store(unitError_, unit, error);
  if (const auto listener = listener_) listener->unitErrorChanged(unit, error);
}

void AclHelper::dirtyIs(bool dirty) {
  dirty_ = dirty;
  if (const auto listener = listener_) listener->dirtyChanged(dirty);
}

void AclHelper::aclIntfBlockedStatusIs(IntfId intf, bool blocked) {
  Platform::store(aclIntfBlockedStatus_, intf, blocked);
  if (const auto listener = listener_) listener->aclIntfBlocked(intf, blocked);
}

void AclHelper::aclIntfBlockedStatusDel(IntfId intf) {
  aclIntfBlockedStatus_.erase(intf);
  if (const auto listener = listener_) listener->aclIntfBlocked(intf, false);
}

}  // namespace VelHelper
