// A device's registers against those that are expected, as a page for a browser.
#pragma once

#include <string>

#include "html/ReportPage.h"
#include "report/Report.h"
#include "report/VerifyReport.h"

namespace Sim {

// What the page is about. `input` is of the fresh device.
struct VerifyPage {
  const VerifyInput& verify;
  const ReportInput& input;
  const DocumentNames& names;
};

// What `kestrix-sim verify` tells, and what the configurations make of a fresh device.
std::string htmlVerification(const VerifyPage& page);

}  // namespace Sim
