// What would become of a desired state that is not to be applied.
#pragma once

#include "command/Progress.h"
#include "read/Configuration.h"
#include "read/Device.h"
#include "report/Report.h"
#include "simulate/TracePrinter.h"

namespace Sim {

// Applies what could be read of a configuration to a fresh device like `device`, on which no interfaces share a filter.
// An ACL that is to be attached, and cannot be, has an interface of its own there: "?1", "?2" and so on. In a document
// with errors so has one that is not attached: its ACL set may be what could not be read. No trace is printed.
StepReport rehearse(const Device& device, const Configuration& desired, StepState state, TracePrinter& traces,
                    Progress& progress);

}  // namespace Sim
