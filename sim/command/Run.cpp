#include "command/Run.h"

#include <optional>
#include <utility>

#include "command/ExitStatus.h"
#include "read/ConfigurationReader.h"
#include "read/Device.h"
#include "report/Report.h"
#include "simulate/Framework.h"
#include "simulate/SimFpga.h"
#include "simulate/TraceCapture.h"

namespace Sim {
namespace {

RunResult badInput(const CommandLine& line, const Diagnostics& diagnostics, bool colour) {
  return {kBadInput, line.json ? jsonDiagnostics(diagnostics) : textDiagnostics(diagnostics, colour)};
}

// A step of the command line: a configuration, or, where there is none, what is set between two of them.
struct Step {
  const Configuration* configuration = nullptr;
  std::string file = {};
  std::vector<std::string> settings = {};
};

std::vector<Step> stepsOf(const CommandLine& line, const std::vector<Configuration>& configurations) {
  std::vector<Step> steps;
  auto setting = line.settings.begin();
  for (size_t i = 0; i <= configurations.size(); ++i) {
    Step set;
    for (; setting != line.settings.end() && setting->position == i; ++setting) set.settings.push_back(setting->text);
    if (!set.settings.empty()) steps.push_back(std::move(set));
    if (i < configurations.size()) steps.push_back({&configurations[i], line.configFiles[i]});
  }
  return steps;
}

// What a fresh device holds once `desired` alone was applied to it.
FilterDumps freshFilters(const Device& device, const Configuration& desired, TraceCapture& traces, Progress& progress) {
  progress.begin("comparing with a fresh device");
  traces.muteIs(true);
  const auto fpga = Platform::make<SimFpga>();
  Framework(device, fpga, traces, progress.counter()).apply(desired);
  traces.muteIs(false);
  return {*fpga, device};
}

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

std::vector<Deviation> deviations(const FilterDumps& filters, const FilterDumps& fresh, const Outcome& outcome,
                                  const SimFpga& fpga, bool isSet) {
  std::vector<Deviation> found;
  for (const FilterDump& filter : filters.all()) {
    if (filter == fresh.of(filter.intf, filter.direction)) continue;
    found.push_back({filter.intf, filter.direction, whyDeviating(filter, outcome, fpga, isSet)});
  }
  return found;
}

// What came of the step; none when it cannot be taken, as a diagnostic then says.
std::optional<Outcome> take(const Step& step, Framework& framework, bool isSet, Diagnostics& diagnostics) {
  Diagnostic refusal;
  refusal.file = step.configuration == nullptr ? "--set" : step.file;
  try {
    return step.configuration != nullptr ? framework.apply(*step.configuration) : framework.set(step.settings);
  } catch (const Platform::ModelError& error) {
    refusal.code = "setting-refused";
    refusal.message = error.what();
    refusal.remedy = "--model shows every path, and what can be set.";
  } catch (const Platform::ConsistencyError& error) {
    if (!isSet) throw;
    refusal.code = "setting-broke-order";
    refusal.message = error.what();
    refusal.remedy = "What was set with --set breaks what the library relies on: leave it out.";
  }
  diagnostics.add(refusal);
  return {};
}

}  // namespace

RunResult run(const CommandLine& line, const std::string& deviceText, const std::vector<std::string>& configTexts,
              bool colour, Progress& progress) {
  Diagnostics diagnostics;
  progress.begin("reading " + line.deviceFile);
  Device device = readDevice(line.deviceFile, deviceText, diagnostics);
  // What is missing from a broken device would be missed in the configurations, too.
  if (diagnostics.hasErrors()) return badInput(line, diagnostics, colour);
  std::vector<Configuration> configurations;
  configurations.reserve(configTexts.size());
  for (size_t i = 0; i < configTexts.size(); ++i) {
    progress.begin("reading " + line.configFiles.at(i));
    configurations.push_back(readConfiguration(line.configFiles.at(i), configTexts[i], device, diagnostics));
  }
  if (diagnostics.hasErrors()) return badInput(line, diagnostics, colour);
  if (line.dropDelay) device.aclDropDelay = *line.dropDelay;

  const auto fpga = Platform::make<SimFpga>(line.failWrites);
  TraceCapture traces(line.trace);
  std::optional<Framework> framework;
  try {
    framework.emplace(device, fpga, traces, progress.counter());
  } catch (const Platform::RangeError& error) {
    Diagnostic refusal;
    refusal.code = "device-refused";
    refusal.file = line.deviceFile;
    refusal.message = error.what();
    refusal.remedy = "Describe a device that the hardware can be.";
    diagnostics.add(refusal);
    return badInput(line, diagnostics, colour);
  }

  const uint64_t startupWrites = fpga->writes();
  std::vector<StepReport> reports;
  Configuration desired;
  bool isSet = false;  // Whether anything was set so far.
  for (const Step& step : stepsOf(line, configurations)) {
    if (step.configuration != nullptr) desired = *step.configuration;
    isSet = isSet || !step.settings.empty();
    progress.begin("applying " + (step.configuration != nullptr ? step.file : "--set"));
    const std::optional<Outcome> outcome = take(step, *framework, isSet, diagnostics);
    if (!outcome) return badInput(line, diagnostics, colour);
    reports.push_back({step.file, step.settings, *outcome, {*fpga, device}, {}});
    // On a fresh device there is nothing to deviate from.
    if (reports.size() == 1 && !isSet) continue;
    const auto fresh = freshFilters(device, desired, traces, progress);
    reports.back().deviations = deviations(reports.back().filters, fresh, *outcome, *fpga, isSet);
  }
  progress.begin("writing the report");
  std::optional<ModelNode> model;
  if (line.model) model = modelTree(framework->helper());
  const ReportInput input{device, reports, fpga->writes(), startupWrites, fpga->failedWrites(), diagnostics, model};
  return {isAllApplied(input) ? kAllApplied : kNotAllApplied,
          line.json ? jsonReport(input) : textReport(input, {.registers = line.registers, .colour = colour})};
}

}  // namespace Sim
