// The documents that a run is about, and what can be wrong with them beside their contents.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "command/CommandLine.h"
#include "command/ExitStatus.h"
#include "command/Files.h"
#include "command/Progress.h"
#include "html/ReportPage.h"
#include "platform/runtime/Errors.h"
#include "read/Configuration.h"
#include "read/Device.h"
#include "read/Diagnostics.h"
#include "report/Page.h"

namespace Sim {

// A configuration as its document says.
struct ReadConfiguration {
  Configuration desired;
  bool hasErrors = false;
};

// As the documents say.
struct Documents {
  Device device;
  std::vector<ReadConfiguration> configurations;
};

// The text of a file; none, and a diagnostic, when it could not be read.
const std::string* textOf(const std::string& name, const FileText& file, Diagnostics& diagnostics);

// None when the device cannot be simulated, as diagnostics then say: all that is wrong with any document.
std::optional<Documents> readDocuments(const CommandLine& line, const FileText& device,
                                       const std::vector<FileText>& configs, Diagnostics& diagnostics,
                                       Progress& progress);

// The run has made `writes` writes, and ends without those of `failWrites` that would have come later.
void warnOfUnreachedWrites(const std::set<uint64_t>& failWrites, uint64_t writes, Diagnostics& diagnostics);

DocumentNames documentNames(const CommandLine& line);

// The report of a run that ends with these errors, and its page where one is asked for.
RunResult badInput(const CommandLine& line, const Diagnostics& diagnostics, const Looks& looks);

// What is wrong with a device that the library refuses.
Diagnostic refusalOf(const std::string& deviceFile, const Platform::RangeError& error);

}  // namespace Sim
