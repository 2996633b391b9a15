// What became of ACLs, rules and interfaces, in words and as they look.
#pragma once

#include <cstddef>
#include <string>

#include "registers/RegisterWords.h"
#include "report/Colour.h"
#include "report/Report.h"

namespace Sim {

std::string changeWords(const Change& change);
// `ACE "web" added as number 3`.
std::string aceChangeWords(const AceChange& change);
std::string aclWords(const AclOutcome& acl, const StepReport& step);
// Of a rule of `acl`. `holder` is a filter that holds the ACL, or null.
std::string aceWords(const AceOutcome& ace, const AclOutcome& acl, const StepReport& step, const FilterDump* holder);

// An ACL on an interface: "active", "would be refused", "differs"; and why, or in what it is not as configured.
struct StateWords {
  std::string state;
  std::string reason;
  Style style = Style::plain;
};
StateWords stateWords(const IntfOutcome& intf, const AclOutcome& acl, const StepReport& step);

// What the state of an ACL leaves out: where it is applied, but not as a whole.
std::string exceptionWords(const AclOutcome& acl, const StepReport& step);
// Whether the reason of the ACL is not that of a rule, which has its own advice.
bool isAboutWholeAcl(const AclOutcome& acl);

// What interfaces that `device` does not have stand for, in a step that was not applied; or nothing.
std::string standInWords(const StepReport& step, const Device& device);

// Of an ACL that has so many slots with ACEs that decide no packet.
std::string wastedWords(size_t slots);

Style styleOf(const AclOutcome& acl, const StepReport& step);
Style styleOf(AceState state);

}  // namespace Sim
