// The filters of a step on a page: the ACEs of their ACLs beside the slots and verdict bits that they became.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "html/Groups.h"
#include "html/Markup.h"
#include "report/Report.h"
#include "verdict/Traffic.h"

namespace Sim {

// What packets of a capture met, on one filter.
struct Hits {
  Platform::IntfId intf;
  Acl::AclDirection direction = Acl::AclDirection::in;
  const Traffic& traffic;
};

// What a page shows of one step.
struct StepPage {
  const StepReport& step;
  size_t number;  // From 1.
  const Groups& groups;
  const Device& device;
  const std::optional<Hits>& hits;
};

// The id of the section of a group of filters after a step.
std::string filterId(size_t step, size_t group);
// A link to it, on the same page.
std::string linkTo(size_t step, size_t group);

// The interfaces, both directions, with the states of their ACLs.
void putOverview(Markup& html, const StepPage& page);
// A section for each group of filters with an ACL; the others are folded behind them.
void putFilters(Markup& html, const StepPage& page);
// Those that no interface has.
void putUnattached(Markup& html, const StepPage& page);

}  // namespace Sim
