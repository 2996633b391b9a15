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
};

// What `kestrix-sim packet` tells, and what the configurations have made of the device.
std::string htmlPackets(const PacketPage& page);

// The same of `kestrix-sim packet --capture`, and which ACEs the packets hit.
struct CapturePage {
  const CaptureReport& report;
  const ReportInput& input;
  const DocumentNames& names;
};
std::string htmlCapture(const CapturePage& page);

}  // namespace Sim
