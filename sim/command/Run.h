// One run of kestrix-sim, from the texts of its documents to the report.
#pragma once

#include <string>
#include <vector>

#include "command/CommandLine.h"
#include "command/Progress.h"
#include "report/Page.h"

namespace Sim {

struct RunResult {
  int exitStatus = 0;
  std::string output;
};

// The files named by `line` have the contents `deviceText` and, in the same order, `configTexts`.
RunResult run(const CommandLine& line, const std::string& deviceText, const std::vector<std::string>& configTexts,
              const Looks& looks, Progress& progress);
// The same, and nothing is shown of how far it is.
inline RunResult run(const CommandLine& line, const std::string& deviceText,
                     const std::vector<std::string>& configTexts, bool colour) {
  Progress none;
  return run(line, deviceText, configTexts, {.colour = colour}, none);
}

}  // namespace Sim
