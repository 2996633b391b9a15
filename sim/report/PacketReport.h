// What becomes of single packets, as configured and as programmed.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "read/Configuration.h"
#include "read/Diagnostics.h"
#include "registers/RegisterWords.h"
#include "report/Page.h"
#include "simulate/Outcome.h"
#include "verdict/Comparison.h"
#include "verdict/Probe.h"

namespace Sim {

struct PacketAnswer {
  Probe probe;
  Decision configured;
  FilterDecision programmed;
  const FilterDump* filter;                       // The one of the interface and direction.
  bool isBlocked = false;                         // The interface: it passes no traffic.
  const AclConfiguration* foreign = nullptr;      // An ACL there, if no ACL there can be decided.
  std::vector<const IntfOutcome*> inactive = {};  // The ACLs there that are not in force.

  // What the device does with it.
  bool passes() const { return !isBlocked && programmed.permits; }
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

}  // namespace Sim
