// How a run ends.
#pragma once

#include <string>
#include <vector>

namespace Sim {

inline constexpr int kAllApplied = 0;
inline constexpr int kNotAllApplied = 1;         // Something was refused, or failed on the device.
inline constexpr int kEqual = kAllApplied;       // Of verify: the device is as expected,
inline constexpr int kDiffers = kNotAllApplied;  // or it is not.
inline constexpr int kBadInput = 2;              // Or bad usage, or a file of init was there already.
inline constexpr int kReportLost = 3;  // A report, a page, help, a dump or files of init could not be written.

struct OutputFile {
  std::string name;
  std::string text;
};

struct RunResult {
  int exitStatus = kAllApplied;
  std::string output = {};     // For standard output: all that is about the documents.
  std::string complaint = {};  // For standard error: bad usage, what init could not do.
  std::vector<OutputFile> files = {};
};

}  // namespace Sim
