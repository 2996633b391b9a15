#include "report/Report.h"

#include <algorithm>

namespace Sim {

bool isAllApplied(const ReportInput& input) {
  return !input.diagnostics.hasErrors() && input.failedWrites.empty() &&
         std::all_of(input.steps.begin(), input.steps.end(),
                     [](const auto& step) { return step.outcome.isAllApplied() && step.verdicts.differences.empty(); });
}

const std::vector<Difference>& differencesOf(const IntfOutcome& intf, const AclOutcome& acl, const StepReport& step) {
  static const std::vector<Difference> none;
  const auto found = step.verdicts.differences.find({intf.intf, intf.direction, acl.key.type});
  return found == step.verdicts.differences.end() ? none : found->second;
}

bool differs(const IntfOutcome& intf, const AclOutcome& acl, const StepReport& step) {
  return intf.state == IntfState::active && !differencesOf(intf, acl, step).empty();
}

bool differs(const AclOutcome& acl, const StepReport& step) {
  return acl.state == AclState::applied &&
         std::ranges::any_of(step.outcome.intfsOf(acl), [&](const auto& intf) { return differs(intf, acl, step); });
}

const IdleAce* idleAce(const AceOutcome& ace, const AclOutcome& acl, const StepReport& step) {
  const auto& idle = step.verdicts.idle.at(static_cast<size_t>(&acl - step.outcome.acls.data()));
  const auto found = std::ranges::find(idle, static_cast<size_t>(&ace - acl.aces.data()), &IdleAce::position);
  return found == idle.end() ? nullptr : &*found;
}

size_t wastedSlots(const AclOutcome& acl, const StepReport& step) {
  if (holderOf(acl, step) == nullptr) return 0;
  return static_cast<size_t>(std::ranges::count_if(
      acl.aces, [&](const AceOutcome& ace) { return ace.slot && idleAce(ace, acl, step) != nullptr; }));
}

const FilterDump* holderOf(const AclOutcome& acl, const StepReport& step) {
  for (const IntfOutcome& intf : step.outcome.intfsOf(acl)) {
    if (intf.state == IntfState::active) return &step.filters.of(intf.intf, intf.direction);
  }
  return nullptr;
}

std::vector<Platform::IntfId> overruledOn(const AceOutcome& ace, const AclOutcome& acl, const StepReport& step) {
  std::vector<Platform::IntfId> intfs;
  if (ace.verdict != Verdict::unmatched) return intfs;
  for (const IntfOutcome& intf : step.outcome.intfsOf(acl)) {
    if (intf.state != IntfState::active) continue;
    if (step.filters.of(intf.intf, intf.direction).permitsUnmatched() != ace.permits) intfs.push_back(intf.intf);
  }
  return intfs;
}

unsigned slotsFilled(const IntfOutcome& intf, const AclOutcome& acl, const StepReport& step) {
  const FilterDump& filter = step.filters.of(intf.intf, intf.direction);
  const bool isOfItsType =
      filter.isSet(Kestrix::Layout::kEnable, Kestrix::Layout::kIpv4) == (acl.key.type == Acl::AclType::ipv4);
  const bool isInFilter = intf.state != IntfState::refused || intf.keepsPrevious;
  return isOfItsType && isInFilter ? filter.slotsInUse() : 0;
}

bool permitsUnmatched(const AclOutcome& acl) {
  const auto verdict = std::ranges::find(acl.aces, Verdict::unmatched, &AceOutcome::verdict);
  return verdict != acl.aces.end() && verdict->permits;
}

bool isOverruled(const IntfOutcome& intf, const AclOutcome& acl, const StepReport& step) {
  return intf.state == IntfState::active && acl.state != AclState::refused &&
         step.filters.of(intf.intf, intf.direction).permitsUnmatched() != permitsUnmatched(acl);
}

}  // namespace Sim
