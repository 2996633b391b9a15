#include "html/Groups.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <tuple>

#include "report/DecisionWords.h"

namespace Sim {
namespace {

using FilterId = std::pair<Platform::IntfId, Acl::AclDirection>;

std::map<FilterId, std::vector<AclHere>> aclsByFilter(const StepReport& step) {
  std::map<FilterId, std::vector<AclHere>> acls;
  for (const AclOutcome& acl : step.outcome.acls) {
    for (const IntfOutcome& intf : step.outcome.intfsOf(acl))
      acls[{intf.intf, intf.direction}].push_back({&acl, &intf});
  }
  return acls;
}

// All that a page says of a filter, but for the names of its interfaces.
struct FilterKey {
  Acl::AclDirection direction = Acl::AclDirection::in;
  std::vector<uint32_t> registers;
  std::vector<std::tuple<const AclOutcome*, IntfState, std::string, bool>> acls;
  std::vector<std::string> withoutAcl;

  auto operator<=>(const FilterKey&) const = default;
};

FilterKey keyOf(const FilterGroup& group) {
  FilterKey key{.direction = group.direction(), .registers = {}, .acls = {}, .withoutAcl = {}};
  key.registers.assign(group.filter->values.begin(), group.filter->values.end());
  for (const SlotDump& slot : group.filter->slots)
    key.registers.insert(key.registers.end(), slot.values.begin(), slot.values.end());
  for (const auto& [acl, intf] : group.acls)
    key.acls.emplace_back(acl, intf->state, intf->reason.words(), intf->keepsPrevious);
  if (group.withoutAcl == nullptr) return key;
  for (const Difference& each : *group.withoutAcl) key.withoutAcl.push_back(differenceWords(each));
  return key;
}

}  // namespace

Groups::Groups(const StepReport& step) {
  const auto acls = aclsByFilter(step);
  const std::set<Platform::IntfId> blocked(step.outcome.blocked.begin(), step.outcome.blocked.end());
  std::map<FilterKey, size_t> filters;
  // The position of the group of a filter, which is a new one if need be.
  const auto groupOf = [&](const FilterDump& filter) {
    FilterGroup group{&filter, {}, {}, nullptr};
    const auto there = acls.find({filter.intf, filter.direction});
    if (there != acls.end()) group.acls = there->second;
    const auto difference = step.verdicts.differences.find({filter.intf, filter.direction, std::nullopt});
    if (difference != step.verdicts.differences.end()) group.withoutAcl = &difference->second;
    const auto [place, isNew] = filters.try_emplace(keyOf(group), filters_.size());
    if (isNew) filters_.push_back(std::move(group));
    filters_[place->second].intfs.push_back(filter.intf);
    return place->second;
  };
  std::map<std::tuple<size_t, size_t, bool>, size_t> intfs;
  const auto& all = step.filters.all();
  for (size_t i = 0; i + 1 < all.size(); i += 2) {
    const size_t ingress = groupOf(all[i]), egress = groupOf(all[i + 1]);
    const bool isBlocked = blocked.contains(all[i].intf);
    const auto [place, isNew] = intfs.try_emplace({ingress, egress, isBlocked}, intfs_.size());
    if (isNew) intfs_.push_back({ingress, egress, isBlocked, {}});
    intfs_[place->second].intfs.push_back(all[i].intf);
  }
}

size_t Groups::of(Platform::IntfId intf, Acl::AclDirection direction) const {
  const auto group = std::ranges::find_if(
      intfs_, [&](const IntfGroup& each) { return std::ranges::find(each.intfs, intf) != each.intfs.end(); });
  return direction == Acl::AclDirection::in ? group->ingress : group->egress;
}

}  // namespace Sim
