// What steps come to for packets: the device against what is configured, and against the step before.
#pragma once

#include <vector>

#include "read/Configuration.h"
#include "report/Report.h"
#include "report/Verdicts.h"
#include "verdict/Comparison.h"

namespace Sim {

// A step that was applied, and the last configuration by then.
struct AppliedStep {
  const StepReport& report;
  const Configuration& desired;
};

class Judge {
 public:
  // The ACLs of an interface in a direction that can be decided.
  struct IntfAcls {
    std::vector<const AclConfiguration*> all;
    std::vector<const AclConfiguration*> active;  // Those of them that are in force.
    bool areKnown = true;                         // Whether there is no other one.
  };

  // By these readings, of which none may be open.
  explicit Judge(const Readings& readings) : inForce_(readings), notInForce_(readings) {}

  // `before` is the step before; null for the first one. The configurations must stay as they are while this, or a
  // result of it, lives.
  StepVerdicts judge(const AppliedStep& step, const AppliedStep* before);
  // Of all steps so far.
  const std::vector<Note>& notes() const { return inForce_.notes(); }

 private:
  void addDifferences(const FilterDump& filter, const IntfAcls& acls, StepVerdicts& verdicts);

  Comparer inForce_;
  Comparer notInForce_;  // Where an ACL is refused or failed: what depends on readings there is not worth a note.
};

// Of each ACL of the outcome, the ACEs that decide nothing; none of one with errors. Refers to `desired`.
std::vector<std::vector<IdleAce>> idleAcesOf(const Outcome& outcome, const Configuration& desired);

}  // namespace Sim
