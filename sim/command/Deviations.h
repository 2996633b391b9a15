// Where a device is not what its last desired state alone would have made of a fresh one.
#pragma once

#include <vector>

#include "command/Progress.h"
#include "read/Configuration.h"
#include "read/Device.h"
#include "registers/RegisterWords.h"
#include "report/Report.h"
#include "simulate/SimFpga.h"
#include "simulate/TracePrinter.h"

namespace Sim {

// What a fresh device holds once `desired` alone was applied to it. Its traces are not printed.
FilterDumps freshFilters(const Device& device, const Configuration& desired, TracePrinter& traces, Progress& progress);

// The filters of the last one of `steps` that are others than `fresh`, and why; `isSet` says whether attributes were
// set so far.
std::vector<Deviation> deviations(const std::vector<StepReport>& steps, const FilterDumps& fresh, const SimFpga& fpga,
                                  bool isSet);

}  // namespace Sim
