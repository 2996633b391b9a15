// One run of kestrix-sim, from the texts of its documents to the report.
#pragma once

#include <string>
#include <vector>

#include "CommandLine.h"

namespace Sim {

struct RunResult {
  int exitStatus = 0;
  std::string output;
};

// The files named by `line` have the contents `deviceText` and, in the same order, `configTexts`.
RunResult run(const CommandLine& line, const std::string& deviceText, const std::vector<std::string>& configTexts,
              bool colour);

}  // namespace Sim
