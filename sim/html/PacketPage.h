// What becomes of packets, as a page for a browser.
#pragma once

#include <string>

#include "html/ReportPage.h"
#include "report/CaptureReport.h"
#include "report/PacketReport.h"
#include "report/Report.h"

namespace Sim {

// What the page is about. The packets were tried on what the last step of `input` has made of the device.
struct PacketPage {
  const PacketReport& report;
  const ReportInput& input;
  const DocumentNames& names;
};  // What the packets of a capture met.
};

// What `kestrix-sim packet --capture` tells: as above, and what of it the packets hit.
struct CapturePage {
  const CaptureReport& report;
  const ReportInput& input;
  const DocumentNames& names;
};
std::string htmlCapture(const CapturePage& page);

// What `kestrix-sim packet` tells, and what the configurations have made of the device.
std::string htmlPackets(const PacketPage& page);

}  // namespace Sim
