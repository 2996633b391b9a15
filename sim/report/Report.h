// What is told of a run: for a person as text, for a program as JSON.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "read/Configuration.h"
#include "read/Device.h"
#include "read/Diagnostics.h"
#include "registers/RegisterWords.h"
#include "report/Page.h"
#include "report/Verdicts.h"
#include "simulate/ModelTree.h"
#include "simulate/Outcome.h"

namespace Sim {

// An interface whose filter is not what the last desired state alone would have made of a fresh device.
struct Deviation {
  Platform::IntfId intf;
  Acl::AclDirection direction = Acl::AclDirection::in;
  std::string why;
};

// Whether a step was applied to the device, or why not: it has errors, or a step before it has. The outcome and the
// filters are then those of a device of its own.
enum class StepState : uint8_t { applied, hasErrors, afterErrors };

// One desired state, or attributes set by name, and what the device was afterwards.
struct StepReport {
  std::string file;                   // Empty where attributes were set.
  std::vector<std::string> settings;  // PATH=VALUE
  Outcome outcome;
  FilterDumps filters;
  std::vector<Deviation> deviations;
  StepState state = StepState::applied;
  StepVerdicts verdicts = {};
  const Configuration* desired = nullptr;  // By then; never null in a report.

  bool isApplied() const { return state == StepState::applied; }
};

struct ReportInput {
  const Device& device;
  const std::vector<StepReport>& steps;
  uint64_t writes = 0;         // Of the whole run,
  uint64_t startupWrites = 0;  // and before its first step.
  const std::vector<FailedWrite>& failedWrites;
  FilterDumps filters;  // In the end.
  const Diagnostics& diagnostics;
  std::optional<ModelNode> model;               // In the end, where it is asked for.
  const std::vector<std::string>& assumptions;  // Readings that were asked for, NAME=ALTERNATIVE.
  const std::vector<Note>& notes;               // What depends on other readings.
};

bool isAllApplied(const ReportInput& input);

struct TextOptions {
  bool registers = false;  // Every filter's registers, in words.
  bool notes = false;      // A packet for each note.
  Looks looks = {};
};

std::string textReport(const ReportInput& input, const TextOptions& options);
std::string jsonReport(const ReportInput& input);

// The filter of the first interface on which the ACL is active; null when there is none, so that nothing of it is in
// force.
const FilterDump* holderOf(const AclOutcome& acl, const StepReport& step);
// What the device does with packets otherwise than configured, where that is told of this ACL.
const std::vector<Difference>& differencesOf(const IntfOutcome& intf, const AclOutcome& acl, const StepReport& step);
// Whether the ACL is in force there, with another meaning than configured.
bool differs(const IntfOutcome& intf, const AclOutcome& acl, const StepReport& step);
// Whether it is so on some interface, and on no other one is worse.
bool differs(const AclOutcome& acl, const StepReport& step);
// What covers an ACE of the ACL that decides no packet; null for one that decides some.
const IdleAce* idleAce(const AceOutcome& ace, const AclOutcome& acl, const StepReport& step);
// How many slots the ACL fills with ACEs that decide no packet.
size_t wastedSlots(const AclOutcome& acl, const StepReport& step);

// The interfaces that hold the ACL, where what no slot matches gets another verdict than `ace`, a verdict of the ACL,
// says: the other ACL of the filter decides it.
std::vector<Platform::IntfId> overruledOn(const AceOutcome& ace, const AclOutcome& acl, const StepReport& step);

// How many slots of its filter an ACL fills on one of its interfaces: none where it only shares the filter.
unsigned slotsFilled(const IntfOutcome& intf, const AclOutcome& acl, const StepReport& step);
// The ACL's own verdict for what no slot matches: that of its rules, or the deny that every ACL ends with.
bool permitsUnmatched(const AclOutcome& acl);
// Whether the ACL is in the filter, and that verdict is not, as the other ACL of the filter decides.
bool isOverruled(const IntfOutcome& intf, const AclOutcome& acl, const StepReport& step);

// Of documents that cannot be applied.
std::string textDiagnostics(const Diagnostics& diagnostics, const Looks& looks);
std::string jsonDiagnostics(const Diagnostics& diagnostics);

}  // namespace Sim
