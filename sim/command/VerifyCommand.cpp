#include "command/VerifyCommand.h"

#include <optional>
#include <string>
#include <utility>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "command/CommandLine.h"
#include "command/Documents.h"
#include "registers/RegisterDump.h"
#include "report/Report.h"
#include "report/VerifyReport.h"
#include "simulate/Framework.h"
#include "simulate/SimFpga.h"
#include "simulate/TracePrinter.h"
#include "verdict/Verification.h"

namespace Sim {
namespace {

constexpr char kVerifyExamples[] = R"(Examples:
  kestrix-sim verify device.json acls.json --dump found.txt   what differs on the device, and for which packets
  kestrix-sim verify device.json v1.json v2.json --dump found.txt
                                                              the same where it has had two desired states in a row
  kestrix-sim verify device.json acls.json --dump found.txt --repair
                                                              and the writes that mend it
  kestrix-sim verify device.json acls.json --dump found.txt --assume fragments=match
                                                              where slots with a port match later fragments

found.txt: a line for each register, as apply --dump writes it: msp_send[0]/i_filter[0]/enable 0x00000103

A file named - is standard input.

Exit status: 0 the device is as expected, 1 it differs, 2 bad input or usage, 3 the report could not be written.)";

// What a fresh device does not take is not compared, either.
void warnOfUnapplied(const std::string& file, const Outcome& outcome, Diagnostics& diagnostics) {
  for (const AclOutcome& acl : outcome.acls) {
    if (acl.state != AclState::refused && acl.state != AclState::failed) continue;
    Diagnostic warning;
    warning.severity = Severity::warning;
    warning.code = "not-applied";
    warning.file = file;
    warning.acl = acl.key.name;
    warning.message = "a fresh device would not take it, either: " + acl.reason.words();
    warning.remedy = "kestrix-sim apply shows what can be done.";
    diagnostics.add(warning);
  }
}

// A device that has had the configurations, one after the other; null for one that the library refuses, as a diagnostic
// then says.
Platform::Ptr<SimFpga> freshDevice(const CommandLine& line, const Documents& documents, Diagnostics& diagnostics,
                                   Progress& progress) {
  const TracePrinter silent(line.trace);
  auto fpga = Platform::make<SimFpga>();
  try {
    Framework framework(documents.device, fpga, progress.counter());
    Outcome outcome;
    for (size_t i = 0; i < documents.configurations.size(); ++i) {
      progress.begin("applying " + line.configFiles.at(i));
      outcome = framework.apply(documents.configurations[i].desired);
    }
    warnOfUnapplied(line.configFiles.back(), outcome, diagnostics);
  } catch (const Platform::RangeError& error) {
    diagnostics.add(refusalOf(line.deviceFile, error));
    return {};
  }
  return fpga;
}

// What blocks must be known: a link monitor is mended by changing some of its bits.
void requireLinkMonitors(const CommandLine& line, const Device& device, const SimFpga& fresh, const RegisterDump& dump,
                         Diagnostics& diagnostics) {
  for (const auto& [path, intfs] : linkMonitors(device)) {
    if (fresh.value(path) == 0 || dump.value(path)) continue;
    Diagnostic missing;
    missing.code = "missing-register";
    missing.file = line.verify->dumpFile;
    missing.message = fmt::format("there is no line of {}, which is to block {}", path, intfs.front());
    missing.remedy = "Dump the link monitors, too.";
    diagnostics.add(missing);
  }
}

}  // namespace

void addVerifyCommand(CLI::App& app, CommandLine& line) {
  CLI::App* verify = app.add_subcommand(
      "verify", "Compare a device's registers with those that a fresh one has after the same configurations");
  verify->footer(kVerifyExamples);
  // Its options exist once the subcommand is met, and are given there.
  verify->preparse_callback([&line](size_t) { line.verify.emplace(); });
  verify->add_option("device", line.deviceFile, "The device: its rule slots and interfaces (JSON)")
      ->required()
      ->type_name("DEVICE.json");
  verify->add_option("config", line.configFiles, "The ACL configuration (RFC 8519 in JSON), or one after the other")
      ->required()
      ->type_name("CONFIG.json");
  verify
      ->add_option_function<std::string>(
          "--dump", [&line](const std::string& name) { line.verify->dumpFile = name; },
          "The registers of the device: path and value, a line for each")
      ->required()
      ->type_name("FILE");
  verify->add_flag_callback(
      "--repair", [&line] { line.verify->repair = true; }, "Show the writes, in order, that mend the device");
  verify
      ->add_option_function<std::vector<std::string>>(
          "--assume", [&line](const std::vector<std::string>& all) { line.verify->assumptions = all; },
          "Take what the registers leave open another way than by default; repeatable")
      ->allow_extra_args(false)
      ->check([](const std::string& each) { return Readings().assume(each); })
      ->type_name("NAME=VALUE");
  verify->add_flag("--json", line.json, "Report as JSON");
}

RunResult runVerify(const CommandLine& line, const FileText& device, const std::vector<FileText>& configs,
                    const FileText& dump, const Looks& looks, Progress& progress) {
  const std::string& dumpFile = line.verify->dumpFile;
  Diagnostics diagnostics;
  const auto documents = readDocuments(line, device, configs, diagnostics, progress);
  progress.begin("reading " + dumpFile);
  const std::string* const text = textOf(dumpFile, dump, diagnostics);
  if (!documents || text == nullptr) return badInput(line, diagnostics, looks);
  const RegisterDump found(dumpFile, *text, documents->device, diagnostics);
  if (diagnostics.hasErrors()) return badInput(line, diagnostics, looks);
  const auto fresh = freshDevice(line, *documents, diagnostics, progress);
  if (fresh != nullptr) requireLinkMonitors(line, documents->device, *fresh, found, diagnostics);
  if (diagnostics.hasErrors()) return badInput(line, diagnostics, looks);
  progress.begin("comparing");
  Readings readings;
  for (const std::string& each : line.verify->assumptions) readings.assume(each);
  const Verification verification = verify(documents->device, fresh->reader(), found, readings);
  const VerifyInput input{verification, diagnostics, line.verify->repair};
  return {verification.isEqual() ? kEqual : kDiffers,
          line.json ? jsonVerification(input) : textVerification(input, looks)};
}

}  // namespace Sim
