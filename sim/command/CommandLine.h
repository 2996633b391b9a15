// The command line of kestrix-sim.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "command/ExitStatus.h"
#include "command/PacketCommand.h"
#include "command/VerifyCommand.h"
#include "verdict/Readings.h"

namespace Sim {

struct CommandLine {
  std::optional<std::string> initFolder = {};  // Of init; all of the rest is of apply.
  std::string deviceFile = {};                 // "-" is standard input, here and in configFiles; once at most.
  std::vector<std::string> configFiles = {};   // One desired state after the other.
  struct Setting {
    size_t position;   // The number of configurations before it.
    std::string text;  // PATH=VALUE
  };
  std::vector<Setting> settings = {};  // In their order.
  bool registers = false;
  bool json = false;
  bool model = false;
  int trace = -1;                      // The highest level printed; none by default.
  std::set<uint64_t> failWrites = {};  // By number, from 1.
  std::optional<bool> dropDelay = {};  // Overrides the device's.
  Readings readings = {};
  std::vector<std::string> assumptions = {};  // Those of the readings that were asked for, NAME=ALTERNATIVE.
  bool notes = false;
  std::optional<PacketOptions> packet = {};  // Of `kestrix-sim packet`.
  std::string dumpFile = {};                 // To be written, unless empty.
  std::string htmlFile = {};                 // The same.
  std::optional<VerifyOptions> verify = {};  // Of `kestrix-sim verify`.
};

// None when the run ends here, as after --help; `end` then says how.
std::optional<CommandLine> parseCommandLine(int argc, const char* const* argv, RunResult& end);

}  // namespace Sim
