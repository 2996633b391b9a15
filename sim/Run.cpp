#include "Run.h"

#include "ConfigurationReader.h"
#include "Device.h"
#include "ExitStatus.h"
#include "Framework.h"
#include "Report.h"
#include "SimFpga.h"
#include "TraceCapture.h"

namespace Sim {
namespace {

RunResult badInput(const CommandLine& line, const Diagnostics& diagnostics, bool colour) {
  return {kBadInput, line.json ? jsonDiagnostics(diagnostics) : textDiagnostics(diagnostics, colour)};
}

// What a fresh device holds once `desired` alone was applied to it.
std::vector<FilterDump> freshFilters(const Device& device, const Configuration& desired, TraceCapture& traces) {
  traces.muteIs(true);
  const auto fpga = Platform::make<SimFpga>();
  Framework(device, fpga, traces).apply(desired);
  traces.muteIs(false);
  return dumpFilters(*fpga, device);
}

// Why the filter is not what a fresh device would have there.
std::string whyDeviating(const FilterDump& filter, const Outcome& outcome, const SimFpga& fpga) {
  size_t acls = 0;
  for (const IntfOutcome& intf : outcome.intfs) {
    if (intf.intf != filter.intf || intf.direction != filter.direction) continue;
    ++acls;
    if (intf.state == IntfState::failed) return "writing ACL " + intf.acl + " failed";
    if (intf.state == IntfState::refused) return "ACL " + intf.acl + " was refused: the filter keeps what it held";
  }
  if (fpga.isStale(filter.path)) return "a register write failed";
  return acls > 1 ? "its ACLs came in another order than on a fresh device"
                  : "the filter is still programmed for the type of an ACL that has left it";
}

std::vector<Deviation> deviations(const std::vector<FilterDump>& filters, const std::vector<FilterDump>& fresh,
                                  const Outcome& outcome, const SimFpga& fpga) {
  std::vector<Deviation> found;
  for (size_t i = 0; i < filters.size(); ++i) {
    if (filters[i] == fresh[i]) continue;
    found.push_back({filters[i].intf, filters[i].direction, whyDeviating(filters[i], outcome, fpga)});
  }
  return found;
}

}  // namespace

RunResult run(const CommandLine& line, const std::string& deviceText, const std::vector<std::string>& configTexts,
              bool colour) {
  Diagnostics diagnostics;
  Device device = readDevice(line.deviceFile, deviceText, diagnostics);
  // What is missing from a broken device would be missed in the configurations, too.
  if (diagnostics.hasErrors()) return badInput(line, diagnostics, colour);
  std::vector<Configuration> configurations;
  configurations.reserve(configTexts.size());
  for (size_t i = 0; i < configTexts.size(); ++i) {
    configurations.push_back(readConfiguration(line.configFiles.at(i), configTexts[i], device, diagnostics));
  }
  if (diagnostics.hasErrors()) return badInput(line, diagnostics, colour);
  if (line.dropDelay) device.aclDropDelay = *line.dropDelay;

  const auto fpga = Platform::make<SimFpga>(line.failWrites);
  TraceCapture traces(line.trace);
  try {
    Framework framework(device, fpga, traces);
    const uint64_t startupWrites = fpga->writes();
    std::vector<StepReport> steps;
    for (size_t i = 0; i < configurations.size(); ++i) {
      const Outcome outcome = framework.apply(configurations[i]);
      const std::vector<FilterDump> filters = dumpFilters(*fpga, device);
      steps.push_back({line.configFiles[i], outcome, filters, {}});
      // On a fresh device there is nothing to deviate from.
      if (i == 0) continue;
      const auto fresh = freshFilters(device, configurations[i], traces);
      steps.back().deviations = deviations(filters, fresh, outcome, *fpga);
    }
    const ReportInput input{device, *fpga, steps, startupWrites, diagnostics};
    return {isAllApplied(input) ? kAllApplied : kNotAllApplied,
            line.json ? jsonReport(input) : textReport(input, {.registers = line.registers, .colour = colour})};
  } catch (const Platform::RangeError& error) {
    diagnostics.add({.code = "device-refused",
                     .file = line.deviceFile,
                     .path = {},
                     .acl = {},
                     .ace = {},
                     .message = error.what(),
                     .remedy = "Describe a device that the hardware can be."});
    return badInput(line, diagnostics, colour);
  }
}

}  // namespace Sim
