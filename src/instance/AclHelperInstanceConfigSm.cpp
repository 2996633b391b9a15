#include "instance/AclHelperInstanceConfigSm.h"

#include "helper/Steps.h"
#include "hw/FilterRegisters.h"
#include "model/TracePoints.h"
#include "platform/object/Describe.h"

namespace Kestrix {

KESTRIX_DEFINE_ENTITY(AclHelperInstanceConfigSm)

namespace {

constexpr std::string_view kClass = "AclHelperInstanceConfigSm";

// Sets the delay of one filter, made empty where there is none, and rewrites its enable register.
bool applyDelay(AclHelper& helper, ShadowFilters& filters, Platform::IntfId intf, Acl::AclDirection direction,
                bool delay) {
  Platform::Ptr<ShadowFilter> filter = filters.shadowFilter(intf);
  if (!filter) filter = filters.shadowFilterIs(intf, Acl::AclType::mac, helper.slotCount(direction));
  filter->delayIs(delay);
  return helper.regWriteHelper(filter->genRegisters(), intf, direction, /*enableRegOnly=*/true) ==
         Platform::AclCreateError::noError;
}

}  // namespace

AclHelperInstanceConfigSm::AclHelperInstanceConfigSm(
    const Platform::Ptr<const Platform::InstanceConfig>& instanceConfig,
    const Platform::Ptr<Platform::InstanceStatus>& instanceStatus,
    const Platform::Ptr<const Platform::VelCommonSmData>& vcsd, const Platform::Ptr<AclHelper>& aclHelper)
    : instanceConfig_(requireNotNull<AclHelperInstanceConfigSm>("instanceConfig", instanceConfig)),
      instanceStatus_(requireNotNull<AclHelperInstanceConfigSm>("instanceStatus", instanceStatus)),
      vcsd_(requireNotNull<AclHelperInstanceConfigSm>("vcsd", vcsd)),
      aclHelper_(requireNotNull<AclHelperInstanceConfigSm>("aclHelper", aclHelper)) {
  hasNotificationActiveIs(true);
  handleAclDropDelay();
}

Platform::Ptr<AclHelperInstanceConfigSm> AclHelperInstanceConfigSm::AclHelperInstanceConfigSmIs(
    const Platform::Ptr<const Platform::InstanceConfig>& instanceConfig,
    const Platform::Ptr<Platform::InstanceStatus>& instanceStatus,
    const Platform::Ptr<const Platform::VelCommonSmData>& vcsd, const Platform::Ptr<AclHelper>& aclHelper) {
  return Platform::Ptr<AclHelperInstanceConfigSm>(
      new AclHelperInstanceConfigSm(instanceConfig, instanceStatus, vcsd, aclHelper));
}

Platform::Ptr<AclHelperInstanceConfigSm> aclHelperInstanceConfigSmFactory(
    const Platform::Ptr<const Platform::InstanceConfig>& instanceConfig,
    const Platform::Ptr<Platform::InstanceStatus>& instanceStatus,
    const Platform::Ptr<const Platform::VelCommonSmData>& vcsd, const Platform::Ptr<AclHelper>& aclHelper) {
  return AclHelperInstanceConfigSm::AclHelperInstanceConfigSmIs(instanceConfig, instanceStatus, vcsd, aclHelper);
}

void AclHelperInstanceConfigSm::handleAclDropDelay() {
  // Held while it runs: what it sets off may drop the last reference. Without one yet, it is being constructed.
  const Platform::Ptr<AclHelperInstanceConfigSm> self(use_count() == 0 ? nullptr : this);
  requireNoAccess(*aclHelper(), kClass, "handleAclDropDelay");
  const AclTrace trace(kClass, "handleAclDropDelay");
  const bool delay = instanceConfig()->aclDropDelay();
  trace.level5("acl drop delay: {}", delay);

  AclHelper& helper = *aclHelper();
  Platform::forEachStable(vcsd()->intf(), [&](Platform::IntfId intf) {
    if (!applyDelay(helper, *helper.outShadowFilterIs(), intf, Acl::AclDirection::out, delay)) {
      trace.failure("Failed to write registers for already set filter");
    }
    if (helper.ingressAclsSupported() &&
        !applyDelay(helper, *helper.inShadowFilterIs(), intf, Acl::AclDirection::in, delay)) {
      trace.failure("Failed to write registers for already set input filter");
    }
    if (const auto status = instanceStatus()->downstreamIntfStatus(intf)) status->aclDropDelayIs(delay);
  });
  instanceStatus()->aclDropDelayIs(delay);
}

void AclHelperInstanceConfigSm::instanceConfigDispatch(const Platform::InstanceConfig& /*publisher*/,
                                                       AclHelperInstanceConfigSm& subscriber,
                                                       Platform::AttributeId attributeId) {
  if (attributeId == Platform::InstanceConfig::kAclDropDelay) subscriber.handleAclDropDelay();
}

void AclHelperInstanceConfigSm::hasNotificationActiveIs(bool active) {
  if (!active) {
    subscription_.disconnect();
  } else if (!subscription_.connected()) {
    subscription_ = instanceConfig()->publisher().subscribe(
        [this](Platform::AttributeId attributeId) { instanceConfigDispatch(*instanceConfig(), *this, attributeId); });
  }
}

}  // namespace Kestrix
