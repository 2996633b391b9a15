// The reactor that follows the agent's ACL drop delay flag and writes it into every interface's filters.
#pragma once

#include "helper/AclHelper.h"
#include "platform/agent/Instance.h"
#include "platform/runtime/Export.h"

namespace Kestrix {

// The reactor. It follows the flag from its construction to its destruction, unless it is told to stop.
class AclHelperInstanceConfigSm final : public Platform::Entity {
  KESTRIX_ENTITY(AclHelperInstanceConfigSm, "Kestrix::AclHelperInstanceConfigSm");
  // Where the flag is read, where it is published, which interfaces there are, and whose filters are written. All
  // shared with the agent for the reactor's whole life.
  KESTRIX_FIXED(Platform::Ptr<const Platform::InstanceConfig>, instanceConfig);
  KESTRIX_FIXED(Platform::Ptr<Platform::InstanceStatus>, instanceStatus);
  KESTRIX_FIXED(Platform::Ptr<const Platform::VelCommonSmData>, vcsd);
  KESTRIX_FIXED(Platform::Ptr<AclHelper>, aclHelper);
  KESTRIX_MADE_BY(AclHelperInstanceConfigSmIs);

 public:
  // A new reactor, which has applied the flag and follows it. Raises RangeError when an argument is null, and as
  // handleAclDropDelay.
  KESTRIX_API static Platform::Ptr<AclHelperInstanceConfigSm> AclHelperInstanceConfigSmIs(
      const Platform::Ptr<const Platform::InstanceConfig>& instanceConfig,
      const Platform::Ptr<Platform::InstanceStatus>& instanceStatus,
      const Platform::Ptr<const Platform::VelCommonSmData>& vcsd, const Platform::Ptr<AclHelper>& aclHelper);

  // Writes the flag as it is now into the filters of every managed interface, creating the shadow filters that are
  // missing, and publishes it in the statuses. A failed write is traced, and the pass goes on. Raises ConsistencyError,
  // and changes nothing, while the helper reads or writes a register.
  KESTRIX_API void handleAclDropDelay();
  KESTRIX_OPERATION(handleAclDropDelay);

  // Follows changes of the flag, or stops to. Switching on applies nothing by itself.
  KESTRIX_API void hasNotificationActiveIs(bool active);
  // Whether changes of the flag are followed.
  bool hasNotificationActive() const { return subscription_.connected(); }

 private:
  AclHelperInstanceConfigSm(const Platform::Ptr<const Platform::InstanceConfig>& instanceConfig,
                            const Platform::Ptr<Platform::InstanceStatus>& instanceStatus,
                            const Platform::Ptr<const Platform::VelCommonSmData>& vcsd,
                            const Platform::Ptr<AclHelper>& aclHelper);

  // What is subscribed: `subscriber` is told that an attribute of `publisher` has changed.
  static void instanceConfigDispatch(const Platform::InstanceConfig& publisher, AclHelperInstanceConfigSm& subscriber,
                                     Platform::AttributeId attributeId);

  // The first member to go: what follows in the teardown tells the reactor nothing. The references go in the reverse
  // order of their declaration.
  Platform::Subscription subscription_;
};

// The library's entry point for the agent: the same as AclHelperInstanceConfigSm::AclHelperInstanceConfigSmIs.
KESTRIX_API Platform::Ptr<AclHelperInstanceConfigSm> aclHelperInstanceConfigSmFactory(
    const Platform::Ptr<const Platform::InstanceConfig>& instanceConfig,
    const Platform::Ptr<Platform::InstanceStatus>& instanceStatus,
    const Platform::Ptr<const Platform::VelCommonSmData>& vcsd, const Platform::Ptr<AclHelper>& aclHelper);

}  // namespace Kestrix
