// One run of kestrix-sim, from the texts of its documents to the report.
#pragma once

#include <string>
#include <vector>

#include "command/CommandLine.h"
#include "command/ExitStatus.h"
#include "command/Files.h"
#include "command/Progress.h"
#include "report/Page.h"

namespace Sim {

// `device` and, in the same order, `configs` are what the files named by `line` hold. Whatever is wrong with them is in
// the output.
RunResult run(const CommandLine& line, const FileText& device, const std::vector<FileText>& configs, const Looks& looks,
              Progress& progress);
// The same of texts, and nothing is shown of how far it is.
RunResult run(const CommandLine& line, const std::string& deviceText, const std::vector<std::string>& configTexts,
              bool colour);

}  // namespace Sim
