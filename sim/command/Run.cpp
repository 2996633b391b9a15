#include "command/Run.h"

#include <utility>

#include "command/Documents.h"
#include "command/ExitStatus.h"
#include "command/Session.h"
#include "html/ReportPage.h"
#include "registers/RegisterDump.h"
#include "report/Report.h"

namespace Sim {
namespace {

RunResult resultOf(const CommandLine& line, const Session& session, const Device& device, Diagnostics& diagnostics,
                   const Looks& looks) {
  warnOfUnreachedWrites(line.failWrites, session.writes(), diagnostics);
  const ReportInput input = session.report(diagnostics);
  const int exitStatus = diagnostics.hasErrors() ? kBadInput : isAllApplied(input) ? kAllApplied : kNotAllApplied;
  RunResult result{exitStatus,
                   line.json ? jsonReport(input)
                             : textReport(input, {.registers = line.registers, .notes = line.notes, .looks = looks})};
  if (!line.dumpFile.empty() && exitStatus != kBadInput)
    result.files.push_back({line.dumpFile, dumpText(device, session.registers())});
  if (!line.htmlFile.empty()) result.files.push_back({line.htmlFile, htmlReport(input, documentNames(line))});
  return result;
}

}  // namespace

RunResult run(const CommandLine& line, const FileText& device, const std::vector<FileText>& configs, const Looks& looks,
              Progress& progress) {
  Diagnostics diagnostics;
  const auto documents = readDocuments(line, device, configs, diagnostics, progress);
  if (!documents) return badInput(line, diagnostics, looks);
  auto session = startSession(line, documents->device, Depth::meaning, progress, diagnostics);
  if (!session) return badInput(line, diagnostics, looks);
  for (const Step& step : stepsOf(line, documents->configurations)) {
    if (!session->take(step, diagnostics)) return badInput(line, diagnostics, looks);
  }
  progress.begin("writing the report");
  return resultOf(line, *session, documents->device, diagnostics, looks);
}

RunResult run(const CommandLine& line, const std::string& deviceText, const std::vector<std::string>& configTexts,
              bool colour) {
  std::vector<FileText> configs;
  configs.reserve(configTexts.size());
  for (const std::string& text : configTexts) configs.push_back({text});
  Progress none;
  return run(line, {deviceText}, configs, {.colour = colour}, none);
}

}  // namespace Sim
