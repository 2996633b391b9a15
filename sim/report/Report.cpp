#include "report/Report.h"

#include <algorithm>

namespace Sim {

bool isAllApplied(const ReportInput& input) {
  return !input.diagnostics.hasErrors() && input.failedWrites.empty() &&
         std::all_of(input.steps.begin(), input.steps.end(),
                     [](const auto& step) { return step.outcome.isAllApplied(); });
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

}  // namespace Sim
