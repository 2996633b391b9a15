// Filters that are alike, so that a page shows what they have in common once.
#pragma once

#include <cstddef>
#include <map>
#include <utility>
#include <vector>

#include "platform/acl/AclTypes.h"
#include "platform/network/IntfId.h"
#include "registers/RegisterWords.h"
#include "report/Report.h"

namespace Sim {

// An ACL on an interface.
struct AclHere {
  const AclOutcome* acl = nullptr;
  const IntfOutcome* intf = nullptr;
};

// Filters in one direction with the same registers and the same ACLs in the same states. Refers to the step.
struct FilterGroup {
  const FilterDump* filter = nullptr;  // The first of them.
  std::vector<Platform::IntfId> intfs;
  std::vector<AclHere> acls;                            // On the first interface.
  const std::vector<Difference>* withoutAcl = nullptr;  // What an interface that has no ACL does otherwise; or null.

  Acl::AclDirection direction() const { return filter->direction; }
};

// Interfaces with filters of the same groups.
struct IntfGroup {
  size_t ingress = 0;  // Positions among the groups of filters.
  size_t egress = 0;
  bool isBlocked = false;
  std::vector<Platform::IntfId> intfs;
};

// In the order of the device's interfaces; ingress before egress.
class Groups {
 public:
  // To be used as long as the step is there.
  explicit Groups(const StepReport& step);

  const std::vector<FilterGroup>& filters() const { return filters_; }
  const std::vector<IntfGroup>& intfs() const { return intfs_; }
  // The position of the group that the filter of an interface of the device is in.
  size_t of(Platform::IntfId intf, Acl::AclDirection direction) const;

 private:
  std::vector<FilterGroup> filters_;
  std::vector<IntfGroup> intfs_;
};

}  // namespace Sim
