#include "command/Run.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "command/Deviations.h"
#include "command/Documents.h"
#include "command/ExitStatus.h"
#include "command/Judge.h"
#include "command/Rehearsal.h"
#include "registers/RegisterDump.h"
#include "report/Report.h"
#include "simulate/Framework.h"
#include "simulate/SimFpga.h"
#include "simulate/TracePrinter.h"

namespace Sim {
namespace {

// A step of the command line: a configuration, or, where there is none, what is set between two of them.
struct Step {
  const Configuration* configuration = nullptr;
  std::string file = {};
  std::vector<std::string> settings = {};
  StepState state = StepState::applied;  // Once it is taken.
};

std::vector<Step> stepsOf(const CommandLine& line, const std::vector<ReadConfiguration>& configurations) {
  std::vector<Step> steps;
  auto setting = line.settings.begin();
  for (size_t i = 0; i <= configurations.size(); ++i) {
    Step set;
    for (; setting != line.settings.end() && setting->position == i; ++setting) set.settings.push_back(setting->text);
    if (!set.settings.empty()) steps.push_back(std::move(set));
    if (i < configurations.size()) steps.push_back({&configurations[i].desired, line.configFiles[i]});
    if (i < configurations.size() && configurations[i].hasErrors) steps.back().state = StepState::hasErrors;
  }
  const auto isBad = [](const Step& step) { return step.state == StepState::hasErrors; };
  for (auto step = std::ranges::find_if(steps, isBad); step != steps.end(); ++step) {
    if (!isBad(*step)) step->state = StepState::afterErrors;
  }
  return steps;
}

// The simulated device, from its start-up on.
class Session {
 public:
  // Raises Platform::RangeError for a device that the library refuses.
  Session(const CommandLine& line, const Device& device, Progress& progress)
      : device_(device),
        progress_(progress),
        fpga_(Platform::make<SimFpga>(line.failWrites)),
        traces_(line.trace),
        framework_(device, fpga_, progress.counter()),
        startupWrites_(fpga_->writes()),
        judge_(line.readings) {}

  // Whether the step could be taken; a diagnostic says why not.
  bool take(const Step& step, Diagnostics& diagnostics);
  // Of the steps that were taken; of the model, too, where it is asked for.
  RunResult report(const CommandLine& line, const Diagnostics& diagnostics, const Looks& looks) const;

 private:
  void rehearse(const Step& step);
  // Finds out what the last step, which was applied, comes to for packets.
  void judgeLast(const Configuration& desiredBefore);
  // None when the step cannot be taken.
  std::optional<Outcome> outcomeOf(const Step& step, Diagnostics& diagnostics);

  const Device& device_;
  Progress& progress_;
  Platform::Ptr<SimFpga> fpga_;
  TracePrinter traces_;
  Framework framework_;
  uint64_t startupWrites_;
  Configuration nothing_;
  const Configuration* desired_ = &nothing_;  // By the last configuration.
  bool isSet_ = false;                        // Whether anything was set so far.
  Judge judge_;
  std::vector<StepReport> reports_;
};

bool Session::take(const Step& step, Diagnostics& diagnostics) {
  if (step.state != StepState::applied) {
    rehearse(step);
    return true;
  }
  const Configuration& before = *desired_;
  if (step.configuration != nullptr) desired_ = step.configuration;
  isSet_ = isSet_ || !step.settings.empty();
  progress_.begin("applying " + (step.configuration != nullptr ? step.file : "--set"));
  std::optional<Outcome> outcome = outcomeOf(step, diagnostics);
  if (!outcome) return false;
  reports_.push_back({step.file, step.settings, std::move(*outcome), {fpga_->reader(), device_}, {}});
  judgeLast(before);
  // On a fresh device there is nothing to deviate from.
  if (reports_.size() == 1 && !isSet_) return true;
  const auto fresh = freshFilters(device_, *desired_, traces_, progress_);
  reports_.back().deviations = deviations(reports_, fresh, *fpga_, isSet_);
  return true;
}

void Session::judgeLast(const Configuration& desiredBefore) {
  progress_.begin("comparing with what is configured");
  StepReport& last = reports_.back();
  const AppliedStep step{last, *desired_};
  if (reports_.size() == 1) {
    last.verdicts = judge_.judge(step, nullptr);
  } else {
    const AppliedStep before{reports_[reports_.size() - 2], desiredBefore};
    last.verdicts = judge_.judge(step, &before);
  }
}

void Session::rehearse(const Step& step) {
  progress_.begin("trying " + (step.configuration != nullptr ? step.file : "--set"));
  const Configuration& desired = step.configuration != nullptr ? *step.configuration : nothing_;
  reports_.push_back(Sim::rehearse(device_, desired, step.state, traces_, progress_));
  reports_.back().file = step.file;
  reports_.back().settings = step.settings;
  reports_.back().verdicts.idle = idleAcesOf(reports_.back().outcome, desired);
}

std::optional<Outcome> Session::outcomeOf(const Step& step, Diagnostics& diagnostics) {
  Diagnostic refusal;
  refusal.file = step.configuration == nullptr ? "--set" : step.file;
  try {
    return step.configuration != nullptr ? framework_.apply(*step.configuration) : framework_.set(step.settings);
  } catch (const Platform::ModelError& error) {
    refusal.code = "setting-refused";
    refusal.message = error.what();
    refusal.remedy = "--model shows every path, and what can be set.";
  } catch (const Platform::ConsistencyError& error) {
    if (!isSet_) throw;
    refusal.code = "setting-broke-order";
    refusal.message = error.what();
    refusal.remedy = "What was set with --set breaks what the library relies on: leave it out.";
  }
  diagnostics.add(refusal);
  return {};
}

RunResult Session::report(const CommandLine& line, const Diagnostics& diagnostics, const Looks& looks) const {
  Diagnostics all = diagnostics;
  warnOfUnreachedWrites(line.failWrites, fpga_->writes(), all);
  std::optional<ModelNode> model;
  if (line.model) model = modelTree(framework_.helper());
  const FilterDumps filters(fpga_->reader(), device_);
  const ReportInput input{device_, reports_, fpga_->writes(), startupWrites_,   fpga_->failedWrites(),
                          filters, all,      model,           line.assumptions, judge_.notes()};
  const int exitStatus = all.hasErrors() ? kBadInput : isAllApplied(input) ? kAllApplied : kNotAllApplied;
  RunResult result{exitStatus,
                   line.json ? jsonReport(input)
                             : textReport(input, {.registers = line.registers, .notes = line.notes, .looks = looks})};
  if (!line.dumpFile.empty() && exitStatus != kBadInput)
    result.file = OutputFile{line.dumpFile, dumpText(device_, fpga_->reader())};
  return result;
}

// None when the library refuses the device, as a diagnostic then says.
std::optional<Session> start(const CommandLine& line, const Device& device, Progress& progress,
                             Diagnostics& diagnostics) {
  try {
    return std::optional<Session>(std::in_place, line, device, progress);
  } catch (const Platform::RangeError& error) {
    diagnostics.add(refusalOf(line.deviceFile, error));
    return {};
  }
}

}  // namespace

RunResult run(const CommandLine& line, const FileText& device, const std::vector<FileText>& configs, const Looks& looks,
              Progress& progress) {
  Diagnostics diagnostics;
  const auto documents = readDocuments(line, device, configs, diagnostics, progress);
  if (!documents) return badInput(line, diagnostics, looks);
  auto session = start(line, documents->device, progress, diagnostics);
  if (!session) return badInput(line, diagnostics, looks);
  for (const Step& step : stepsOf(line, documents->configurations)) {
    if (!session->take(step, diagnostics)) return badInput(line, diagnostics, looks);
  }
  progress.begin("writing the report");
  return session->report(line, diagnostics, looks);
}

RunResult run(const CommandLine& line, const std::string& deviceText, const std::vector<std::string>& configTexts,
              bool colour) {
  std::vector<FileText> configs;
  configs.reserve(configTexts.size());
  for (const std::string& text : configTexts) configs.push_back({text});
  Progress none;
  return run(line, {deviceText}, configs, {.colour = colour}, none);
}

}  // namespace Sim
