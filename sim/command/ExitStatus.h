// How a run ends.
#pragma once

#include <string>

namespace Sim {

inline constexpr int kAllApplied = 0;
inline constexpr int kNotAllApplied = 1;  // Something was refused, or failed on the device.
inline constexpr int kBadInput = 2;       // Or bad usage, or a file of init was there already.
inline constexpr int kReportLost = 3;     // The report, the help, or the files of init could not be written.

struct RunResult {
  int exitStatus = kAllApplied;
  std::string output = {};     // For standard output: all that is about the documents.
  std::string complaint = {};  // For standard error: bad usage, what init could not do.
};

}  // namespace Sim
