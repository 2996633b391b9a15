// What came of the calls, as the helper tells it afterwards.
#pragma once

#include <optional>

#include "helper/AclHelper.h"
#include "read/Device.h"
#include "simulate/Outcome.h"
#include "simulate/Plan.h"

namespace Sim {

IntfStatus statusOn(const Kestrix::AclHelper& helper, const Platform::AclKey& key, Platform::IntfId intf);

// Whether the filter of the interface holds some version of the ACL.
bool isInFilter(const Kestrix::AclHelper& helper, const Platform::AclKey& key, Platform::IntfId intf);

// The other direction, where ACLs can be attached in it.
std::optional<Acl::AclDirection> otherDirection(const Device& device, Acl::AclDirection direction);

// What became of an ACL on an interface where it is not active.
IntfOutcome failureOn(const Kestrix::AclHelper& helper, const Device& device, Platform::IntfId intf,
                      const AclOutcome& acl);

}  // namespace Sim
