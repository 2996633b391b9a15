// What is told of a run, as a page for a browser: for a change review, a ticket, a colleague.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "html/FilterSections.h"
#include "html/Markup.h"
#include "html/Parts.h"
#include "read/Diagnostics.h"
#include "report/Report.h"

namespace Sim {

// The documents, as named on the command line.
struct DocumentNames {
  std::string device;
  std::vector<std::string> configs;
};

// "acls.json on device.json".
std::string titleOf(const DocumentNames& names);

// What `kestrix-sim apply` tells.
std::string htmlReport(const ReportInput& input, const DocumentNames& names);

// Of documents that nothing could be made of.
std::string htmlDiagnostics(const Diagnostics& diagnostics, const DocumentNames& names);

// What the configurations have made of the device: each step, the last one in full.
void putSteps(Markup& html, const ReportInput& input, const std::optional<Hits>& hits);

}  // namespace Sim
