#include "command/Judge.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace Sim {
namespace {

using FilterId = std::pair<Platform::IntfId, Acl::AclDirection>;

// A filter that is not there has no ACL.
using IntfAcls = Judge::IntfAcls;
using AclsByFilter = std::map<FilterId, IntfAcls>;

using AclsByName = std::map<std::pair<std::string, Acl::AclType>, const AclConfiguration*>;

AclsByName byName(const Configuration& desired) {
  AclsByName acls;
  for (const AclConfiguration& acl : desired.acls) acls.emplace(std::pair(acl.name, acl.type), &acl);
  return acls;
}

AclsByFilter aclsOf(const AppliedStep& step) {
  const AclsByName configured = byName(step.desired);
  AclsByFilter acls;
  for (const AclOutcome& outcome : step.report.outcome.acls) {
    const AclConfiguration* const acl = configured.at({outcome.key.name, outcome.key.type});
    for (const IntfOutcome& intf : step.report.outcome.intfsOf(outcome)) {
      IntfAcls& there = acls[{intf.intf, intf.direction}];
      if (!canBeDecided(*acl)) {
        there.areKnown = false;
        continue;
      }
      there.all.push_back(acl);
      if (intf.state == IntfState::active) there.active.push_back(acl);
    }
  }
  return acls;
}

const IntfAcls& aclsOn(const FilterDump& filter, const AclsByFilter& acls) {
  static const IntfAcls none;
  const auto found = acls.find({filter.intf, filter.direction});
  return found == acls.end() ? none : found->second;
}

std::vector<Difference> listOf(const Comparison& comparison) {
  std::vector<Difference> list;
  if (comparison.more) list.push_back(*comparison.more);
  list.insert(list.end(), comparison.moreOfOthers.begin(), comparison.moreOfOthers.end());
  if (comparison.less) list.push_back(*comparison.less);
  return list;
}

// The ACLs that a difference is told of: the one that decides the packet; where none does, those in force, or all.
std::vector<std::optional<Acl::AclType>> typesFor(const Difference& difference, const IntfAcls& acls) {
  if (difference.configured.acl != nullptr) return {difference.configured.acl->type};
  std::vector<std::optional<Acl::AclType>> types;
  for (const AclConfiguration* acl : acls.active.empty() ? acls.all : acls.active) types.emplace_back(acl->type);
  if (types.empty()) types.emplace_back(std::nullopt);
  return types;
}

std::set<Platform::IntfId> blockedIn(const StepReport& step) {
  return {step.outcome.blocked.begin(), step.outcome.blocked.end()};
}

}  // namespace

StepVerdicts Judge::judge(const AppliedStep& step, const AppliedStep* before) {
  StepVerdicts verdicts;
  verdicts.idle = idleAcesOf(step.report.outcome, step.desired);
  const AclsByFilter acls = aclsOf(step);
  const AclsByFilter aclsBefore = before != nullptr ? aclsOf(*before) : AclsByFilter();
  const auto blocked = blockedIn(step.report);
  const auto blockedBefore = before != nullptr ? blockedIn(before->report) : blocked;
  for (const FilterDump& filter : step.report.filters.all()) {
    if (blocked.contains(filter.intf)) continue;
    const IntfAcls& there = aclsOn(filter, acls);
    addDifferences(filter, there, verdicts);
    if (before == nullptr || blockedBefore.contains(filter.intf)) continue;
    const FilterDump& filterBefore = before->report.filters.of(filter.intf, filter.direction);
    if (filter == filterBefore) continue;
    const auto& turns = inForce_.turns({filterBefore, aclsOn(filter, aclsBefore).all}, {filter, there.all});
    if (!turns.empty()) verdicts.turns.push_back({filter.intf, filter.direction, turns});
  }
  return verdicts;
}

void Judge::addDifferences(const FilterDump& filter, const IntfAcls& acls, StepVerdicts& verdicts) {
  if (acls.all.empty() && !acls.areKnown) return;
  Comparer& comparer = acls.active == acls.all ? inForce_ : notInForce_;
  for (const Difference& each : listOf(comparer.compare(filter, acls.all))) {
    for (const auto& type : typesFor(each, acls))
      verdicts.differences[{filter.intf, filter.direction, type}].push_back(each);
  }
}

std::vector<std::vector<IdleAce>> idleAcesOf(const Outcome& outcome, const Configuration& desired) {
  const AclsByName configured = byName(desired);
  std::vector<std::vector<IdleAce>> idle;
  for (const AclOutcome& each : outcome.acls) {
    const AclConfiguration* const acl = configured.at({each.key.name, each.key.type});
    idle.push_back(canBeDecided(*acl) ? idleAces(*acl) : std::vector<IdleAce>());
  }
  return idle;
}

}  // namespace Sim
