// What is told of a run: for a person as text, for a program as JSON.
#pragma once

#include <string>

#include "Device.h"
#include "Diagnostics.h"
#include "Framework.h"
#include "SimFpga.h"

namespace Sim {

struct ReportInput {
  const Device& device;
  const SimFpga& fpga;
  const Outcome& outcome;
  const Diagnostics& diagnostics;  // Warnings; a document with errors is not applied.
};

struct TextOptions {
  bool registers = false;  // Every filter's registers, in words.
  bool colour = false;
};

std::string textReport(const ReportInput& input, const TextOptions& options);
std::string jsonReport(const ReportInput& input);

// Of documents that cannot be applied.
std::string textDiagnostics(const Diagnostics& diagnostics, bool colour);
std::string jsonDiagnostics(const Diagnostics& diagnostics);

}  // namespace Sim
