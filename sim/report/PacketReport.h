// What becomes of single packets, as configured and as programmed.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "read/Diagnostics.h"
#include "report/PacketPlace.h"
#include "report/Page.h"
#include "verdict/Comparison.h"
#include "verdict/Probe.h"

namespace Sim {

struct PacketAnswer {
  Probe probe;
  PacketPlace place;
  Decision configured;  // As long as the place has no foreign ACL.
  FilterDecision programmed;

  // What the device does with it.
  bool passes() const { return !place.isBlocked && programmed.permits; }
  // Whether it is to pass by the configuration; none where that is not known.
  std::optional<bool> shouldPass() const;
  bool isAsConfigured() const { return shouldPass() == passes(); }
  // Whether the device does what the probe wants.
  bool isAsWanted() const { return probe.shouldPass.value_or(passes()) == passes(); }
};

// Refers to what it is of.
struct PacketReport {
  const std::vector<PacketAnswer>& answers;
  const Diagnostics& diagnostics;
  std::string expectations = {};  // The file that says what is wanted; empty for a single packet.

  // Whether the device does as is wanted or, for a single packet, as is configured.
  bool isGood() const;
};

std::string textReport(const PacketReport& report, const Looks& looks);
std::string jsonReport(const PacketReport& report);
// Of one packet of it.
Json answerJson(const PacketAnswer& answer);

}  // namespace Sim
