#include "command/Deviations.h"

#include <string>

#include "simulate/Framework.h"

namespace Sim {
namespace {

// Why the filter is not what a fresh device would have there.
std::string whyDeviating(const FilterDump& filter, const Outcome& outcome, const SimFpga& fpga, bool isSet) {
  size_t acls = 0;
  for (const IntfOutcome& intf : outcome.intfs) {
    if (intf.intf != filter.intf || intf.direction != filter.direction) continue;
    ++acls;
    if (intf.state == IntfState::failed) return "writing ACL " + intf.acl + " failed";
    if (intf.state == IntfState::refused) return "ACL " + intf.acl + " was refused: the filter keeps what it held";
  }
  if (fpga.isStale(filter.path)) return "a register write failed";
  if (isSet) return "attributes were set with --set";
  return acls > 1 ? "its ACLs came in another order than on a fresh device"
                  : "the filter is still programmed for the type of an ACL that has left it";
}

}  // namespace

FilterDumps freshFilters(const Device& device, const Configuration& desired, TracePrinter& traces, Progress& progress) {
  progress.begin("comparing with a fresh device");
  traces.muteIs(true);
  const auto fpga = Platform::make<SimFpga>();
  Framework(device, fpga, progress.counter()).apply(desired);
  traces.muteIs(false);
  return {fpga->reader(), device};
}

std::vector<Deviation> deviations(const StepReport& step, const FilterDumps& fresh, const SimFpga& fpga, bool isSet) {
  std::vector<Deviation> found;
  for (const FilterDump& filter : step.filters.all()) {
    if (filter == fresh.of(filter.intf, filter.direction)) continue;
    found.push_back({filter.intf, filter.direction, whyDeviating(filter, step.outcome, fpga, isSet)});
  }
  return found;
}

}  // namespace Sim
