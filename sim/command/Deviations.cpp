#include "command/Deviations.h"

#include <algorithm>
#include <string>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "simulate/Framework.h"

namespace Sim {
namespace {

bool concerns(const Change& change, const FilterDump& filter) {
  return change.direction == filter.direction && change.intf == filter.intf.toText();
}

// The ACLs on the interface of the filter, each time that they were written there, in the order of that.
std::vector<std::string> writtenTo(const FilterDump& filter, const std::vector<StepReport>& steps) {
  std::vector<std::string> written;
  const auto apply = [&](const Change& change) {
    switch (change.kind) {
      case ChangeKind::attached:
      case ChangeKind::retried:
        if (concerns(change, filter)) written.push_back(change.acl);
        break;
      case ChangeKind::detached:
      case ChangeKind::moved:
        if (concerns(change, filter)) std::erase(written, change.acl);
        break;
      case ChangeKind::changed:
        if (change.direction == filter.direction && std::ranges::count(written, change.acl) != 0)
          written.push_back(change.acl);
        break;
      default:
        break;
    }
  };
  for (const StepReport& step : steps) std::ranges::for_each(step.outcome.changes, apply);
  return written;
}

// Why a filter with several ACLs is another one when they were written to it so, and not once each as on a fresh
// device.
std::string orderWords(const std::vector<std::string>& written, const std::vector<std::string>& fresh) {
  std::vector<std::string> came;
  for (const std::string& acl : written) {
    if (std::ranges::count(came, acl) == 0) came.push_back(acl);
  }
  if (came != fresh) {
    return fmt::format("its ACLs came in another order than on a fresh device: {}, there {}", fmt::join(came, ", "),
                       fmt::join(fresh, ", "));
  }
  if (written.size() > fresh.size()) {
    return fmt::format("ACL {} was written again: {}, on a fresh device {}", written.back(), fmt::join(written, ", "),
                       fmt::join(fresh, ", "));
  }
  return "the filter is still programmed for the type of an ACL that has left it";
}

// Why the filter is not what a fresh device would have there.
std::string whyDeviating(const FilterDump& filter, const std::vector<StepReport>& steps, const SimFpga& fpga,
                         bool isSet) {
  std::vector<std::string> acls;
  for (const IntfOutcome& intf : steps.back().outcome.intfs) {
    if (intf.intf != filter.intf || intf.direction != filter.direction) continue;
    acls.push_back(intf.acl);
    if (intf.state == IntfState::failed) return "writing ACL " + intf.acl + " failed";
    if (intf.state == IntfState::refused) return "ACL " + intf.acl + " was refused: the filter keeps what it held";
  }
  if (fpga.isStale(filter.path)) return "a register write failed";
  if (isSet) return "attributes were set with --set";
  return acls.size() > 1 ? orderWords(writtenTo(filter, steps), acls) : orderWords({}, {});
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

std::vector<Deviation> deviations(const std::vector<StepReport>& steps, const FilterDumps& fresh, const SimFpga& fpga,
                                  bool isSet) {
  std::vector<Deviation> found;
  for (const FilterDump& filter : steps.back().filters.all()) {
    if (filter == fresh.of(filter.intf, filter.direction)) continue;
    found.push_back({filter.intf, filter.direction, whyDeviating(filter, steps, fpga, isSet)});
  }
  return found;
}

}  // namespace Sim
