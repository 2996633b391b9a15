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
  std::string subject = {};  // What is asked of them: a packet, expectations, a dump; empty where nothing is.
};

// "acls.json on device.json", "policy.txt: acls.json on device.json".
std::string titleOf(const DocumentNames& names);

// What `kestrix-sim apply` tells.
std::string htmlReport(const ReportInput& input, const DocumentNames& names);

// Of documents that nothing could be made of, as `summary` says.
std::string htmlDiagnostics(const Diagnostics& diagnostics, const DocumentNames& names, const std::string& summary);

// What is wrong with the documents, and what is assumed.
void putPreface(Markup& html, const ReportInput& input);
// What the configurations have made of the device: each step, the last one in full; what depends on readings, and the
// writes.
void putSteps(Markup& html, const ReportInput& input, const std::optional<Hits>& hits);

}  // namespace Sim
