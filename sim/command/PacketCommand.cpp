#include "command/PacketCommand.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "command/CommandLine.h"
#include "command/Documents.h"
#include "report/PacketReport.h"
#include "report/Report.h"
#include "simulate/Framework.h"
#include "simulate/SimFpga.h"
#include "simulate/TracePrinter.h"
#include "verdict/PacketText.h"
#include "verdict/Probe.h"

namespace Sim {
namespace {

constexpr char kPacketExamples[] = R"(Examples:
  kestrix-sim packet device.json acls.json --interface port-1 --direction ingress \
      'tcp 192.0.2.7:1234 > 198.51.100.9:443'                 which ACE decides it, and which slot
  kestrix-sim packet device.json acls.json --expect policy.txt
                                                              the tests of a policy, for a CI
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
3 the report could not be written.)";

// What the command line says, once it is complete.
void requireComplete(CommandLine& line) {
  PacketOptions& options = *line.packet;
  if (!options.expectFile.empty()) return;
  if (options.interface.empty() || options.direction.empty())
    throw CLI::ValidationError("A packet needs --interface and --direction; many packets need --expect");
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

// The device, once all configurations were applied, and what is wanted of it then.
class Trial {
 public:
  // Raises Platform::RangeError for a device that the library refuses.
  Trial(const CommandLine& line, const Documents& documents, Progress& progress)
      : desired_(documents.configurations.back().desired), fpga_(Platform::make<SimFpga>(line.failWrites)) {
    for (const std::string& text : line.packet->assumptions) readings_.assume(text);
    const TracePrinter none(-1);
    Framework framework(documents.device, fpga_, progress.counter());
    for (size_t i = 0; i < documents.configurations.size(); ++i) {
      progress.begin("applying " + line.configFiles[i]);
      outcome_ = framework.apply(documents.configurations[i].desired);
    }
    filters_.emplace(fpga_->reader(), documents.device);
  }

  PacketAnswer answer(const Probe& probe) const {
    const FilterDump& filter = filters_->of(probe.intf, probe.direction);
    PacketAnswer answer{probe, {}, decide(filter, probe.packet, readings_), &filter};
    answer.isBlocked = std::ranges::find(outcome_.blocked, probe.intf) != outcome_.blocked.end();
    const auto attached = aclsOf(probe);
    auto acls = attached;
    std::erase_if(acls, [](const AclConfiguration* acl) { return !canBeDecided(*acl); });
    if (acls.empty() && !attached.empty()) {
      answer.foreign = attached.front();
    } else {
      answer.configured = decide(acls, probe.packet, readings_);
    }
    for (const IntfOutcome& each : outcome_.intfs) {
      const bool isHere = each.intf == probe.intf && each.direction == probe.direction;
      if (isHere && each.state != IntfState::active) answer.inactive.push_back(&each);
    }
    return answer;
  }

  uint64_t writes() const { return fpga_->writes(); }

 private:
  // Those attached where the probe is.
  std::vector<const AclConfiguration*> aclsOf(const Probe& probe) const {
    std::vector<const AclConfiguration*> acls;
    for (const Attachment& each : desired_.attachments) {
      if (each.intf != probe.intf || each.direction != probe.direction) continue;
      acls.push_back(&*std::ranges::find(desired_.acls, each.acl, &AclConfiguration::name));
    }
    return acls;
  }

  const Configuration& desired_;
  Readings readings_;
  Platform::Ptr<SimFpga> fpga_;
  Outcome outcome_;  // Of the last configuration.
  std::optional<FilterDumps> filters_;
};

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
  packet->add_option("device", line.deviceFile, "The device: its rule slots and interfaces (JSON)")
      ->required()
      ->type_name("DEVICE.json");
  packet
      ->add_option("config", line.configFiles,
                   "The ACL configuration (RFC 8519 in JSON), or one after the other; behind them the packet, unless "
                   "--expect names a file")
      ->required()
      ->type_name("CONFIG.json");
  CLI::Option* interface =
      packet->add_option_function<std::string>("--interface", text(&PacketOptions::interface), "Where the packet is")
          ->type_name("NAME");
  CLI::Option* direction = packet
                               ->add_option_function<std::string>("--direction", text(&PacketOptions::direction),
                                                                  "Whether it comes in there or goes out")
                               ->type_name("ingress|egress");
  packet
      ->add_option_function<std::string>("--expect", text(&PacketOptions::expectFile),
                                         "Try the packets of this file, a line each, and name those that the device "
                                         "does not treat as the line says")
      ->excludes(interface)
      ->excludes(direction)
      ->type_name("FILE");
  packet
      ->add_option_function<std::vector<std::string>>(
          "--assume", [&line](const std::vector<std::string>& all) { line.packet->assumptions = all; },
          "Take what the registers leave open another way than by default; repeatable")
      ->allow_extra_args(false)
      ->check([](const std::string& each) { return Readings().assume(each); })
      ->type_name("NAME=VALUE");
  packet
      ->add_option_function<std::vector<uint64_t>>(
          "--fail-write", [&line](const std::vector<uint64_t>& all) { line.failWrites = {all.begin(), all.end()}; },
          "Let the K-th register write fail, counted from 1 with those at start-up; repeatable")
      ->allow_extra_args(false)
      ->check(CLI::Range(uint64_t{1}, uint64_t{1'000'000'000}))
      ->type_name("K");
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
  try {
    const Trial trial(line, *documents, progress);
    warnOfUnreachedWrites(line.failWrites, trial.writes(), diagnostics);
    progress.begin("trying packets");
    std::vector<PacketAnswer> answers;
    answers.reserve(probes.size());
    for (const Probe& probe : probes) answers.push_back(trial.answer(probe));
    const PacketReport report{answers, diagnostics, line.packet->expectFile};
    return {report.isGood() ? kAllApplied : kNotAllApplied, line.json ? jsonReport(report) : textReport(report, looks)};
  } catch (const Platform::RangeError& error) {
    diagnostics.add(refusalOf(line.deviceFile, error));
    return badInput(line, diagnostics, looks);
  }
}

}  // namespace Sim
