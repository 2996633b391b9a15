#include "command/PacketCommand.h"

#include <optional>
#include <span>
#include <utility>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "command/CommandLine.h"
#include "command/Documents.h"
#include "command/Options.h"
#include "command/Session.h"
#include "html/PacketPage.h"
#include "report/PacketReport.h"
#include "report/Report.h"
#include "verdict/PacketText.h"
#include "verdict/Probe.h"

namespace Sim {
namespace {

constexpr char kPacketExamples[] = R"(Examples:
  kestrix-sim packet device.json acls.json --interface port-1 --direction ingress \
      'tcp 192.0.2.7:1234 > 198.51.100.9:443'                 which ACE decides it, and which slot
  kestrix-sim packet device.json acls.json --expect policy.txt
                                                              the tests of a policy, for a CI
  kestrix-sim packet device.json acls.json --interface port-1 --direction ingress --capture found.pcap
                                                              what becomes of traffic, and how much hits each ACE
  kestrix-sim packet device.json acls.json --expect policy.txt --html page.html
                                                              and a page for a browser
  kestrix-sim packet device.json acls.json --expect policy.txt --assume fragments=match
                                                              on a device that is taken to be another one

A packet:
  [vlan] tcp|udp [ADDRESS[:PORT] > ADDRESS[:PORT]] [later-fragment] [more-fragments] [length N] [mac MAC > MAC]
  [vlan] icmp|ip PROTOCOL [ADDRESS > ADDRESS] and the same
  [vlan] arp|lldp|ipv6|ethertype TYPE [MAC > MAC]

policy.txt:
  # Guests reach the web server, and no mail server.
  permit port-1 ingress tcp 192.0.2.7 > 203.0.113.10:443
  deny port-1 ingress tcp 192.0.2.7 > 203.0.113.10:25

Exit status: 0 the device does as configured or, with --expect, all that is wanted, 1 it does not, 2 bad input or usage,
3 the report or the page could not be written.)";

// What the command line says, once it is complete.
void requireComplete(CommandLine& line) {
  PacketOptions& options = *line.packet;
  if (!options.expectFile.empty()) return;
  if (options.interface.empty() || options.direction.empty())
    throw CLI::ValidationError("A packet needs --interface and --direction; many packets need --expect");
  if (!options.captureFile.empty()) return;
  if (line.configFiles.size() < 2)
    throw CLI::ValidationError(fmt::format("The packet is missing, such as '{}'", kPacketExample));
  options.packet = std::move(line.configFiles.back());
  line.configFiles.pop_back();
}

std::vector<Probe> readProbes(const PacketOptions& options, const FileText& expectations, const Device& device,
                              Diagnostics& diagnostics) {
  if (options.expectFile.empty()) {
    const auto probe =
        readProbe({options.interface, options.direction, options.packet}, device, "command line", "", diagnostics);
    return probe ? std::vector{*probe} : std::vector<Probe>();
  }
  const std::string* const text = textOf(options.expectFile, expectations, diagnostics);
  if (text == nullptr) return {};
  const size_t errors = diagnostics.errors();
  std::vector<Probe> probes = readExpectations(options.expectFile, *text, device, diagnostics);
  if (probes.empty() && diagnostics.errors() == errors && device.namesKnown) {
    Diagnostic nothing;
    nothing.severity = Severity::warning;
    nothing.code = "no-expectations";
    nothing.file = options.expectFile;
    nothing.message = "it expects nothing";
    nothing.remedy = fmt::format("Write a line such as permit port-1 ingress {}.", kPacketExample);
    diagnostics.add(nothing);
  }
  return probes;
}

// What becomes of it after a step, and what the configuration of that step wants.
PacketAnswer answerTo(const Probe& probe, const StepReport& step, const Configuration& desired,
                      const Readings& readings) {
  PacketAnswer answer{probe, placeOf(probe.intf, probe.direction, step, desired), {}, {}};
  answer.programmed = decide(*answer.place.filter, probe.packet, readings);
  if (answer.place.foreign == nullptr) answer.configured = decide(answer.place.acls, probe.packet, readings);
  return answer;
}

}  // namespace

void addPacketCommand(CLI::App& app, CommandLine& line) {
  CLI::App* packet = app.add_subcommand(
      "packet", "Apply ACL configurations to a device, and say what becomes of a packet, or of many, and why");
  packet->footer(kPacketExamples);
  packet->preparse_callback([&line](size_t) { line.packet.emplace(); });
  // Its options exist once the subcommand is met, and are given there.
  const auto text = [&line](std::string PacketOptions::* member) {
    return [&line, member](const std::string& value) { (*line.packet).*member = value; };
  };
  addDocuments(*packet, line, "; behind them the packet, unless --expect or --capture names a file");
  CLI::Option* interface =
      packet->add_option_function<std::string>("--interface", text(&PacketOptions::interface), "Where the packet is")
          ->type_name("NAME");
  CLI::Option* direction = packet
                               ->add_option_function<std::string>("--direction", text(&PacketOptions::direction),
                                                                  "Whether it comes in there or goes out")
                               ->type_name("ingress|egress");
  CLI::Option* capture =
      packet
          ->add_option_function<std::string>("--capture", text(&PacketOptions::captureFile),
                                             "Decide the packets of this capture (pcap, pcapng), and count them")
          ->type_name("FILE");
  packet
      ->add_option_function<std::string>("--expect", text(&PacketOptions::expectFile),
                                         "Try the packets of this file, a line each, and name those that the device "
                                         "does not treat as the line says")
      ->excludes(interface)
      ->excludes(direction)
      ->excludes(capture)
      ->type_name("FILE");
  addAssume(*packet, line);
  addFailWrite(*packet, line);
  addHtml(*packet, line);
  packet->add_flag("--json", line.json, "Report as JSON");
  packet->callback([&line] { requireComplete(line); });
}

RunResult runPacket(const CommandLine& line, const FileText& device, const std::vector<FileText>& configs,
                    const FileText& expectations, const Looks& looks, Progress& progress) {
  Diagnostics diagnostics;
  const auto documents = readDocuments(line, device, configs, diagnostics, progress);
  const Device unknown;
  const auto probes = readProbes(*line.packet, expectations, documents ? documents->device : unknown, diagnostics);
  if (diagnostics.hasErrors()) return badInput(line, diagnostics, looks);
  auto session = startSession(line, documents->device, depthOf(line), progress, diagnostics);
  if (!session) return badInput(line, diagnostics, looks);
  for (const Step& step : stepsOf(line, documents->configurations)) session->take(step, diagnostics);
  warnOfUnreachedWrites(line.failWrites, session->writes(), diagnostics);
  progress.begin("trying packets");
  std::vector<PacketAnswer> answers;
  answers.reserve(probes.size());
  for (const Probe& probe : probes) {
    answers.push_back(
        answerTo(probe, session->steps().back(), documents->configurations.back().desired, line.readings));
  }
  const PacketReport report{answers, diagnostics, line.packet->expectFile};
  RunResult result{report.isGood() ? kAllApplied : kNotAllApplied,
                   line.json ? jsonReport(report) : textReport(report, looks)};
  if (!line.htmlFile.empty()) {
    const ReportInput input = session->report(diagnostics);
    result.files.push_back({line.htmlFile, htmlPackets({report, input, documentNames(line)})});
  }
  return result;
}

}  // namespace Sim
