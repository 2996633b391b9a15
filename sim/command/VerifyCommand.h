// `kestrix-sim verify`: a device's registers against those that a fresh one has after the same configurations.
#pragma once

#include <string>
#include <vector>

#include "command/ExitStatus.h"
#include "command/Files.h"
#include "command/Progress.h"
#include "report/Page.h"

namespace CLI {
class App;
}

namespace Sim {

struct CommandLine;

// What the command line says beside the documents.
struct VerifyOptions {
  std::string dumpFile = {};  // The registers of the device; "-" is standard input.
  bool repair = false;
};

// Adds the subcommand. Parsing it sets `line.verify`.
void addVerifyCommand(CLI::App& app, CommandLine& line);

// `device`, `configs` and `dump` are what the files named there hold. Nothing is compared where anything is wrong with
// them, as the output then says.
RunResult runVerify(const CommandLine& line, const FileText& device, const std::vector<FileText>& configs,
                    const FileText& dump, const Looks& looks, Progress& progress);

}  // namespace Sim
