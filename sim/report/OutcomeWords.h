// What became of ACLs, rules and interfaces, in words.
#pragma once

#include <string>

#include "registers/RegisterWords.h"
#include "report/Report.h"

namespace Sim {

std::string changeWords(const Change& change);
// `ACE "web" added as number 3`.
std::string aceChangeWords(const AceChange& change);
std::string aclWords(const AclOutcome& acl, const StepReport& step);
// Of a rule of `acl`. `holder` is a filter that holds the ACL, or null.
std::string aceWords(const AceOutcome& ace, const AclOutcome& acl, const StepReport& step, const FilterDump* holder);

}  // namespace Sim
