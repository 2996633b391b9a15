#include "command/Documents.h"

#include <fmt/format.h>

#include "read/ConfigurationReader.h"
#include "report/Report.h"

namespace Sim {

const std::string* textOf(const std::string& name, const FileText& file, Diagnostics& diagnostics) {
  if (file.fault.empty()) return &file.text;
  Diagnostic fault;
  fault.code = "unreadable-file";
  fault.file = name;
  fault.message = "it cannot be read: " + file.fault;
  fault.remedy = "Correct the name, or what keeps it from being read.";
  diagnostics.add(fault);
  return nullptr;
}

std::optional<Documents> readDocuments(const CommandLine& line, const FileText& device,
                                       const std::vector<FileText>& configs, Diagnostics& diagnostics,
                                       Progress& progress) {
  Documents documents;
  progress.begin("reading " + line.deviceFile);
  const std::string* const deviceText = textOf(line.deviceFile, device, diagnostics);
  if (deviceText != nullptr) documents.device = readDevice(line.deviceFile, *deviceText, diagnostics);
  const bool isDeviceBroken = diagnostics.hasErrors();
  documents.configurations.reserve(configs.size());
  for (size_t i = 0; i < configs.size(); ++i) {
    const std::string& file = line.configFiles.at(i);
    progress.begin("reading " + file);
    Diagnostics found;
    ReadConfiguration& configuration = documents.configurations.emplace_back();
    if (const std::string* const text = textOf(file, configs[i], found))
      configuration.desired = readConfiguration(file, *text, documents.device, found);
    configuration.hasErrors = found.hasErrors();
    for (const Diagnostic& each : found.all()) {
      // Which interfaces there are may be what is missing of a broken device.
      if (documents.device.namesKnown || each.code != "unknown-interface") diagnostics.add(each);
    }
  }
  if (isDeviceBroken) return {};
  if (line.dropDelay) documents.device.aclDropDelay = *line.dropDelay;
  return documents;
}

void warnOfUnreachedWrites(const std::set<uint64_t>& failWrites, uint64_t writes, Diagnostics& diagnostics) {
  for (auto each = failWrites.upper_bound(writes); each != failWrites.end(); ++each) {
    Diagnostic warning;
    warning.severity = Severity::warning;
    warning.code = "unreached-write";
    warning.file = "--fail-write";
    warning.message = fmt::format("there is no write {}: the run makes {}", *each, writes);
    warning.remedy = "Name one of those, counted from 1, to see it fail.";
    diagnostics.add(warning);
  }
}

DocumentNames documentNames(const CommandLine& line) {
  DocumentNames names{line.deviceFile, line.configFiles};
  if (line.verify) names.subject = line.verify->dumpFile;
  if (!line.packet) return names;
  const PacketOptions& asked = *line.packet;
  const std::string& packets = asked.captureFile.empty() ? asked.packet : asked.captureFile;
  names.subject = !asked.expectFile.empty() ? asked.expectFile
                                            : fmt::format("{}, {} {}", packets, asked.interface, asked.direction);
  return names;
}

RunResult badInput(const CommandLine& line, const Diagnostics& diagnostics, const Looks& looks) {
  RunResult result{kBadInput, line.json ? jsonDiagnostics(diagnostics) : textDiagnostics(diagnostics, looks)};
  if (line.htmlFile.empty()) return result;
  const char* const summary = line.packet   ? "No packet was tried."
                              : line.verify ? "Nothing was compared."
                                            : "Nothing was applied.";
  result.files.push_back({line.htmlFile, htmlDiagnostics(diagnostics, documentNames(line), summary)});
  return result;
}

Diagnostic refusalOf(const std::string& deviceFile, const Platform::RangeError& error) {
  Diagnostic refusal;
  refusal.code = "device-refused";
  refusal.file = deviceFile;
  refusal.message = error.what();
  refusal.remedy = "Describe a device that the hardware can be.";
  return refusal;
}

}  // namespace Sim
