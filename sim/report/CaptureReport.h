// What becomes of the packets of a capture, as configured and as programmed.
#pragma once

#include <string>

#include "read/Diagnostics.h"
#include "report/PacketPlace.h"
#include "report/Page.h"
#include "report/Report.h"
#include "verdict/Readings.h"
#include "verdict/Traffic.h"

namespace Sim {

// Refers to what it is of.
struct CaptureReport {
  std::string file;
  const PacketPlace& place;
  const PacketPlace* before;  // The same before the last configuration; null where there is one only.
  const StepReport& step;     // Of the last configuration.
  const Readings& readings;   // None of which is open.
  const Traffic& traffic;     // As far as the capture could be read.
  const Diagnostics& diagnostics;
  bool isInterrupted = false;  // There may be more in the capture.

  // Whether the device does as configured with every packet that could be decided.
  bool isGood() const;
};

std::string textReport(const CaptureReport& report, const Looks& looks);
std::string jsonReport(const CaptureReport& report);

}  // namespace Sim
