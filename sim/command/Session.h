// The simulated device, from its start-up on, through the steps of a run.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "command/CommandLine.h"
#include "command/Documents.h"
#include "command/Judge.h"
#include "command/Progress.h"
#include "read/Configuration.h"
#include "read/Device.h"
#include "read/Diagnostics.h"
#include "report/Report.h"
#include "simulate/Framework.h"
#include "simulate/SimFpga.h"
#include "simulate/TracePrinter.h"

namespace Sim {

// A step of the command line: a configuration, or, where there is none, what is set between two of them.
struct Step {
  const Configuration* configuration = nullptr;
  std::string file = {};
  std::vector<std::string> settings = {};
  StepState state = StepState::applied;  // Once it is taken.
};

// In their order. Refers to `configurations`.
std::vector<Step> stepsOf(const CommandLine& line, const std::vector<ReadConfiguration>& configurations);

// How much is found out about each step.
enum class Depth : uint8_t {
  outcome,  // What became of its ACLs, and the filters,
  meaning,  // and what that comes to for packets, and against a fresh device.
};

// What packet and verify need: only on a page they show what the configurations have made of the device.
Depth depthOf(const CommandLine& line);

class Session {
 public:
  // Raises Platform::RangeError for a device that the library refuses. `line`, `device` and `progress` must live as
  // long as this.
  Session(const CommandLine& line, const Device& device, Depth depth, Progress& progress);

  // Whether the step could be taken; a diagnostic says why not. What it refers to must live as long as this.
  bool take(const Step& step, Diagnostics& diagnostics);
  // Those that were taken.
  const std::vector<StepReport>& steps() const { return steps_; }
  // Registers as they are now; to be used while this lives.
  RegisterAt registers() const { return fpga_->reader(); }
  // Writes that were tried so far.
  uint64_t writes() const { return fpga_->writes(); }
  // Of all of it so far; of the model, too, where the command line asks for it. Refers to this and to `diagnostics`.
  ReportInput report(const Diagnostics& diagnostics) const;

 private:
  void rehearse(const Step& step);
  // Finds out what the last step, which was applied, comes to for packets.
  void judgeLast(const Configuration& desiredBefore);
  // None when the step cannot be taken.
  std::optional<Outcome> outcomeOf(const Step& step, Diagnostics& diagnostics);

  const CommandLine& line_;
  const Device& device_;
  Depth depth_;
  Progress& progress_;
  Platform::Ptr<SimFpga> fpga_;
  TracePrinter traces_;
  Framework framework_;
  uint64_t startupWrites_;
  Configuration nothing_;
  const Configuration* desired_ = &nothing_;  // By the last configuration.
  bool isSet_ = false;                        // Whether anything was set so far.
  Judge judge_;
  std::vector<StepReport> steps_;
};

// None when the library refuses the device, as a diagnostic then says.
std::optional<Session> startSession(const CommandLine& line, const Device& device, Depth depth, Progress& progress,
                                    Diagnostics& diagnostics);

}  // namespace Sim
