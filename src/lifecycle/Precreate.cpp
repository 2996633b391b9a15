// Before the rules of an ACL are translated: precreateAcl. And the two operations that have nothing to do here.

#include <algorithm>
#include <vector>

#include "helper/AclHelper.h"
#include "helper/Steps.h"

namespace Kestrix {
namespace {

// Whether another ACL of the type that `key` has is recorded in the filter. Only names are compared.
bool heldByAnother(const ShadowFilter* filter, const Platform::AclKey& key) {
  if (filter == nullptr) return false;
  const BaseAcl* holder = filter->aclOf(key.type);
  return holder != nullptr && holder->key().name != key.name;
}

ShadowAcl::Acl freshAcl(const Platform::AclKey& key, const Platform::TraceScope& trace) {
  switch (key.type) {
    case Acl::AclType::ipv4:
      trace.level5("creating fresh IP ACL");
      return ShadowAcl::Acl(Platform::make<IpAcl>(key));
    case Acl::AclType::mac:
      trace.level5("creating fresh MAC ACL");
      return ShadowAcl::Acl(Platform::make<MacAcl>(key));
    default:
      Platform::consistencyFailure(trace, "Kestrix only supports IPv4 and MAC ACLs");
  }
}

// The interfaces that hold an older version of the ACL, or failed to, ascending.
std::vector<Platform::IntfId> intfsToReapply(const ShadowAcl& shadowAcl, const Platform::TraceScope& trace) {
  std::vector<Platform::IntfId> intfs;
  Platform::forEachStable(shadowAcl.activeIntf(), [&](Platform::IntfId intf) {
    trace.level6("existing active intf: {}", intf);
    intfs.push_back(intf);
  });
  Platform::forEachStable(shadowAcl.errorIntf(), [&](Platform::IntfId intf) {
    trace.level6("existing error intf: {}", intf);
    intfs.push_back(intf);
  });
  std::ranges::sort(intfs);
  const auto repeated = std::ranges::unique(intfs);  // Active, and in error since.
  intfs.erase(repeated.begin(), repeated.end());
  return intfs;
}

}  // namespace

AclHelper::AclCreateError AclHelper::precreateAcl(const Ptr<AclData>& aclData, const Ptr<AclDataStatus>& /*status*/) {
  const Platform::AclKey& key = keyOf(aclData);
  const bool isActive = !aclData->activeIntf().empty();
  const OperationTrace trace(*this, "precreateAcl", aclData);
  traceAcl(trace, key);
  lastRefused_ = checkAcl(key);
  if (lastRefused_) return rowOf(lastRefused_.reason).error;

  const Ptr<ShadowAcl> shadowAcl = allShadowAcl(key);
  if (!shadowAcl) {
    trace.level5("ACL not attached to any interfaces. Ignoring");
    if (isActive) {
      Platform::consistencyFailure(trace, "ACL not attached to any interfaces, but there are active interfaces");
    }
    return AclCreateError::noError;
  }
  shadowAcl->aclRulesFinalizedIs(false);
  // Filters that hold the previous shadow ACL keep it alive: the hardware stays as it is until the new rules are
  // written.
  shadowAcl->aclIs(freshAcl(key, trace));

  const Ptr<ShadowFilters> filters = shadowFilters(key.direction);
  const std::vector<IntfId> intfs = intfsToReapply(*shadowAcl, trace);
  for (const IntfId intf : intfs) {
    const Ptr<ShadowFilter> filter = filters ? filters->shadowFilter(intf) : nullptr;
    if (heldByAnother(filter.get(), key)) {
      trace.level5("{} in use by another ACL, no-op", intf);
    } else {
      trace.level5("marking {} to apply {}", intf, key);
      shadowAcl->applyingIntfIs(intf);
    }
  }
  // The rest needs no memory: until here, another attempt finds every interface.
  for (const IntfId intf : intfs) {
    shadowAcl->activeIntfDel(intf);
    shadowAcl->errorIntfDel(intf);
  }
  return AclCreateError::noError;
}

void AclHelper::commitAcl(const Ptr<AclData>& aclData) { traceAcl(OperationTrace(*this, "commitAcl"), keyOf(aclData)); }

void AclHelper::updateAclPorts(const Ptr<AclData>& aclData, bool /*add*/) {
  traceAcl(OperationTrace(*this, "updateAclPorts"), keyOf(aclData));
}

}  // namespace Kestrix
