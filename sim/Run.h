// One run of kestrix-sim, from the texts of its documents to the report.
#pragma once

#include <string>

#include "CommandLine.h"

namespace Sim {

struct RunResult {
  int exitStatus = 0;
  std::string output;
};

// The files named by `line` have the contents `deviceText` and `configText`.
RunResult run(const CommandLine& line, const std::string& deviceText, const std::string& configText, bool colour);

}  // namespace Sim
