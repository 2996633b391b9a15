#include "command/VerifyCommand.h"

#include <optional>
#include <string>
#include <utility>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "command/CommandLine.h"
#include "command/Documents.h"
#include "command/Options.h"
#include "command/Session.h"
#include "html/VerifyPage.h"
#include "registers/RegisterDump.h"
#include "report/Report.h"
#include "report/VerifyReport.h"
#include "verdict/Verification.h"

namespace Sim {
namespace {

constexpr char kVerifyExamples[] = R"(Examples:
  kestrix-sim verify device.json acls.json --dump found.txt   what differs on the device, and for which packets
  kestrix-sim verify device.json v1.json v2.json --dump found.txt
                                                              the same where it has had two desired states in a row
  kestrix-sim verify device.json acls.json --dump found.txt --repair
                                                              and the writes that mend it
  kestrix-sim verify device.json acls.json --dump found.txt --repair --html page.html
                                                              and a page for a browser
  kestrix-sim verify device.json acls.json --dump found.txt --assume fragments=match
                                                              where slots with a port match later fragments

found.txt: a line for each register, as apply --dump writes it: msp_send[0]/i_filter[0]/enable 0x00000103

A file named - is standard input.

Exit status: 0 the device is as expected, 1 it differs, 2 bad input or usage, 3 the report or the page could not be
written.)";

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

// What blocks must be known: a link monitor is mended by changing some of its bits.
void requireLinkMonitors(const CommandLine& line, const Device& device, const RegisterAt& expected,
                         const RegisterDump& dump, Diagnostics& diagnostics) {
  for (const auto& [path, intfs] : linkMonitors(device)) {
    if (expected(path) == 0 || dump.value(path)) continue;
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
  addDocuments(*verify, line);
  verify
      ->add_option_function<std::string>(
          "--dump", [&line](const std::string& name) { line.verify->dumpFile = name; },
          "The registers of the device: path and value, a line for each")
      ->required()
      ->type_name("FILE");
  verify->add_flag_callback(
      "--repair", [&line] { line.verify->repair = true; }, "Show the writes, in order, that mend the device");
  addAssume(*verify, line);
  addHtml(*verify, line);
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
  auto fresh = startSession(line, documents->device, depthOf(line), progress, diagnostics);
  if (!fresh) return badInput(line, diagnostics, looks);
  for (const Step& step : stepsOf(line, documents->configurations)) fresh->take(step, diagnostics);
  warnOfUnapplied(line.configFiles.back(), fresh->steps().back().outcome, diagnostics);
  const RegisterAt expected = fresh->registers();
  requireLinkMonitors(line, documents->device, expected, found, diagnostics);
  if (diagnostics.hasErrors()) return badInput(line, diagnostics, looks);
  progress.begin("comparing");
  const Verification verification = verify(documents->device, expected, found, line.readings);
  const VerifyInput input{verification, diagnostics, line.verify->repair};
  RunResult result{verification.isEqual() ? kEqual : kDiffers,
                   line.json ? jsonVerification(input) : textVerification(input, looks)};
  if (!line.htmlFile.empty()) {
    const ReportInput made = fresh->report(diagnostics);
    result.files.push_back({line.htmlFile, htmlVerification({input, made, documentNames(line)})});
  }
  return result;
}

}  // namespace Sim
