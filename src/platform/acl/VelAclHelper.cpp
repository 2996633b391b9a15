#include "platform/acl/VelAclHelper.h"

namespace VelHelper {

AclHelper::AclHelper() = default;
AclHelper::~AclHelper() = default;

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
