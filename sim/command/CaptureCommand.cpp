#include "command/CaptureCommand.h"

#include <cstdint>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "capture/FrameReader.h"
#include "command/CommandLine.h"
#include "command/Documents.h"
#include "command/Session.h"
#include "html/PacketPage.h"
#include "report/CaptureReport.h"
#include "report/PacketPlace.h"
#include "verdict/PacketText.h"
#include "verdict/Probe.h"
#include "verdict/TrafficCounter.h"

namespace Sim {
namespace {

Diagnostic diagnosticOf(const std::string& file, std::string code, std::string message, std::string remedy) {
  Diagnostic diagnostic;
  diagnostic.code = std::move(code);
  diagnostic.file = file;
  diagnostic.message = std::move(message);
  diagnostic.remedy = std::move(remedy);
  return diagnostic;
}

Diagnostic diagnosticOf(const std::string& file, const CaptureFault& fault) {
  switch (fault.kind) {
    case CaptureFault::Kind::linkType:
      return diagnosticOf(
          file, "unknown-link-type",
          fmt::format("its link type is {}: frames of it have no Ethernet header", fault.text),
          fmt::format("Capture at an Ethernet interface, not at all of them at once. What can be read is "
                      "of a link type of these: {}.",
                      linkTypeNames()));
    case CaptureFault::Kind::noCapture:
      return diagnosticOf(file, "no-capture", "it is no capture: " + fault.text,
                          "Name a file in pcap or pcapng format.");
    case CaptureFault::Kind::unreadable:
    case CaptureFault::Kind::stopped:
      break;
  }
  return diagnosticOf(file, "unreadable-file", "it cannot be read: " + fault.text,
                      "Correct the name, or what keeps it from being read.");
}

Diagnostic brokenRecord(const std::string& file, const FrameSource& source, uint64_t packets) {
  return diagnosticOf(file, "broken-record",
                      fmt::format("what is at byte {}, behind packet {}, cannot be read: {}", source.position(),
                                  packets, source.fault()),
                      "Capture or copy it again. What is before was counted.");
}

Diagnostic withoutPackets(const std::string& file) {
  Diagnostic warning = diagnosticOf(file, "no-packets", "it has no packets", "Capture where there is traffic.");
  warning.severity = Severity::warning;
  return warning;
}

void show(const FrameSource& source, uint64_t packets, const std::string& file, Progress& progress) {
  if (const auto size = source.size())
    progress.at(source.position(), *size);
  else
    progress.begin(fmt::format("deciding packets of {}: {}", file, packets));
}

// Until there is no next one.
FrameSource::Next countFrames(FrameSource& source, const std::string& file, TrafficCounter& counter,
                              Progress& progress) {
  constexpr uint64_t kBetweenLooks = 4096;  // Looking at the clock takes longer than a packet.
  progress.begin(fmt::format("deciding packets of {}, bytes", file));
  CapturedFrame frame;
  for (;;) {
    if (counter.packets() % kBetweenLooks == 0) show(source, counter.packets(), file, progress);
    const FrameSource::Next next = source.next(frame);
    if (next != FrameSource::Next::frame) return next;
    counter.add(readFrame(frame, source.linkType()));
  }
}

// Whether it was interrupted. What else keeps it from being read to the end is a diagnostic.
bool countCapture(const std::string& file, const CaptureOpener& open, TrafficCounter& counter, Diagnostics& diagnostics,
                  Progress& progress) {
  progress.begin("waiting for " + file);
  const auto [source, fault] = open(file);
  if (source == nullptr && fault.kind == CaptureFault::Kind::stopped) return true;
  if (source == nullptr) {
    diagnostics.add(diagnosticOf(file, fault));
    return false;
  }
  const FrameSource::Next last = countFrames(*source, file, counter, progress);
  if (last == FrameSource::Next::broken) diagnostics.add(brokenRecord(file, *source, counter.packets()));
  if (last == FrameSource::Next::end && counter.packets() == 0) diagnostics.add(withoutPackets(file));
  return last == FrameSource::Next::stopped;
}

Checkpoint checkpointOf(const PacketPlace& place) {
  return {*place.filter, place.acls, place.isBlocked, place.foreign != nullptr};
}

}  // namespace

RunResult runCapture(const CommandLine& line, const FileText& device, const std::vector<FileText>& configs,
                     const CaptureOpener& open, const Looks& looks, Progress& progress) {
  Diagnostics diagnostics;
  const auto documents = readDocuments(line, device, configs, diagnostics, progress);
  const Device unknown;
  const auto probe = readProbe({line.packet->interface, line.packet->direction, kPacketExample},
                               documents ? documents->device : unknown, "command line", "", diagnostics);
  if (diagnostics.hasErrors()) return badInput(line, diagnostics, looks);
  auto session = startSession(line, documents->device, depthOf(line), progress, diagnostics);
  if (!session) return badInput(line, diagnostics, looks);
  for (const Step& step : stepsOf(line, documents->configurations)) session->take(step, diagnostics);
  warnOfUnreachedWrites(line.failWrites, session->writes(), diagnostics);

  const auto placeAfter = [&](size_t step) {
    return placeOf(probe->intf, probe->direction, session->steps().at(step),
                   documents->configurations.at(step).desired);
  };
  const size_t steps = session->steps().size();
  const PacketPlace place = placeAfter(steps - 1);
  const auto placeBefore = steps > 1 ? std::optional(placeAfter(steps - 2)) : std::nullopt;
  const auto before = placeBefore ? std::optional(checkpointOf(*placeBefore)) : std::nullopt;
  TrafficCounter counter(checkpointOf(place), before ? &*before : nullptr, line.readings);
  const std::string& file = line.packet->captureFile;
  const bool isInterrupted = countCapture(file, open, counter, diagnostics, progress);
  if (diagnostics.hasErrors() && counter.packets() == 0) return badInput(line, diagnostics, looks);
  const Traffic traffic = counter.traffic();
  const PacketPlace* const earlier = placeBefore ? &*placeBefore : nullptr;
  const StepReport& last = session->steps().back();
  const CaptureReport report{file, place, earlier, last, line.readings, traffic, diagnostics, isInterrupted};
  const int exitStatus = diagnostics.hasErrors() ? kBadInput : report.isGood() ? kAllApplied : kNotAllApplied;
  RunResult result{exitStatus, line.json ? jsonReport(report) : textReport(report, looks)};
  if (!line.htmlFile.empty()) {
    const ReportInput input = session->report(diagnostics);
    result.files.push_back({line.htmlFile, htmlCapture({report, input, documentNames(line)})});
  }
  return result;
}

}  // namespace Sim
