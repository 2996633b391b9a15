#include "Run.h"

#include "ConfigurationReader.h"
#include "Device.h"
#include "ExitStatus.h"
#include "Framework.h"
#include "Report.h"
#include "SimFpga.h"
#include "TraceCapture.h"

namespace Sim {
namespace {

RunResult badInput(const CommandLine& line, const Diagnostics& diagnostics, bool colour) {
  return {kBadInput, line.json ? jsonDiagnostics(diagnostics) : textDiagnostics(diagnostics, colour)};
}

}  // namespace

RunResult run(const CommandLine& line, const std::string& deviceText, const std::string& configText, bool colour) {
  Diagnostics diagnostics;
  Device device = readDevice(line.deviceFile, deviceText, diagnostics);
  // What is missing from a broken device would be missed in the configuration, too.
  if (diagnostics.hasErrors()) return badInput(line, diagnostics, colour);
  const Configuration configuration = readConfiguration(line.configFile, configText, device, diagnostics);
  if (diagnostics.hasErrors()) return badInput(line, diagnostics, colour);
  if (line.dropDelay) device.aclDropDelay = *line.dropDelay;

  const auto fpga = Platform::make<SimFpga>(line.failWrites);
  TraceCapture traces(line.trace);
  try {
    Framework framework(device, fpga, traces);
    const Outcome outcome = framework.apply(configuration);
    const ReportInput input{device, *fpga, outcome, diagnostics};
    return {outcome.isAllApplied() ? kAllApplied : kNotAllApplied,
            line.json ? jsonReport(input) : textReport(input, {.registers = line.registers, .colour = colour})};
  } catch (const Platform::RangeError& error) {
    diagnostics.add({.code = "device-refused",
                     .file = line.deviceFile,
                     .path = {},
                     .acl = {},
                     .ace = {},
                     .message = error.what(),
                     .remedy = "Describe a device that the hardware can be."});
    return badInput(line, diagnostics, colour);
  }
}

}  // namespace Sim
