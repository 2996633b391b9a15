#include "command/Session.h"

#include <algorithm>
#include <utility>

#include "command/Deviations.h"
#include "command/Rehearsal.h"

namespace Sim {

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

Depth depthOf(const CommandLine& line) { return line.htmlFile.empty() ? Depth::outcome : Depth::meaning; }

Session::Session(const CommandLine& line, const Device& device, Depth depth, Progress& progress)
    : line_(line),
      device_(device),
      depth_(depth),
      progress_(progress),
      fpga_(Platform::make<SimFpga>(line.failWrites)),
      traces_(line.trace),
      framework_(device, fpga_, progress.counter()),
      startupWrites_(fpga_->writes()),
      judge_(line.readings) {}

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
  steps_.push_back({step.file, step.settings, std::move(*outcome), {fpga_->reader(), device_}, {}});
  steps_.back().desired = desired_;
  if (depth_ == Depth::outcome) return true;
  judgeLast(before);
  // On a fresh device there is nothing to deviate from.
  if (steps_.size() == 1 && !isSet_) return true;
  const auto fresh = freshFilters(device_, *desired_, traces_, progress_);
  steps_.back().deviations = deviations(steps_, fresh, *fpga_, isSet_);
  return true;
}

void Session::judgeLast(const Configuration& desiredBefore) {
  progress_.begin("comparing with what is configured");
  StepReport& last = steps_.back();
  const AppliedStep step{last, *desired_};
  if (steps_.size() == 1) {
    last.verdicts = judge_.judge(step, nullptr);
  } else {
    const AppliedStep before{steps_[steps_.size() - 2], desiredBefore};
    last.verdicts = judge_.judge(step, &before);
  }
}

void Session::rehearse(const Step& step) {
  progress_.begin("trying " + (step.configuration != nullptr ? step.file : "--set"));
  const Configuration& desired = step.configuration != nullptr ? *step.configuration : nothing_;
  steps_.push_back(Sim::rehearse(device_, desired, step.state, traces_, progress_));
  steps_.back().file = step.file;
  steps_.back().desired = &desired;
  steps_.back().settings = step.settings;
  steps_.back().verdicts.idle = idleAcesOf(steps_.back().outcome, desired);
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

ReportInput Session::report(const Diagnostics& diagnostics) const {
  std::optional<ModelNode> model;
  if (line_.model) model = modelTree(framework_.helper());
  return {device_,
          steps_,
          fpga_->writes(),
          startupWrites_,
          fpga_->failedWrites(),
          {fpga_->reader(), device_},
          diagnostics,
          std::move(model),
          line_.assumptions,
          judge_.notes()};
}

std::optional<Session> startSession(const CommandLine& line, const Device& device, Depth depth, Progress& progress,
                                    Diagnostics& diagnostics) {
  try {
    return std::optional<Session>(std::in_place, line, device, depth, progress);
  } catch (const Platform::RangeError& error) {
    diagnostics.add(refusalOf(line.deviceFile, error));
    return {};
  }
}

}  // namespace Sim
