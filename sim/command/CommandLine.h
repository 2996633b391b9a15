// The command line of kestrix-sim.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Sim {

struct CommandLine {
  std::string deviceFile = {};
  std::vector<std::string> configFiles = {};  // One desired state after the other.
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
};

// None when the run ends here, as after --help; `exitStatus` is then set.
std::optional<CommandLine> parseCommandLine(int argc, const char* const* argv, int& exitStatus);

}  // namespace Sim
