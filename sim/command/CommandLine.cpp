#include "command/CommandLine.h"

#include <algorithm>
#include <sstream>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "command/Files.h"
#include "command/Options.h"
#include "text/Shown.h"

namespace Sim {
namespace {

constexpr char kDescription[] =
    "A simulated device for the Kestrix ACL plug-in: shows which FPGA registers an ACL configuration becomes, or why "
    "it is refused.";

constexpr char kExamples[] = R"(Examples:
  kestrix-sim init                                            a device and ACLs to start from, in this folder
  kestrix-sim apply device.json acls.json                     the table of interfaces, and every rule
  kestrix-sim apply device.json v1.json v2.json               two desired states in a row, and what the change took
  kestrix-sim apply device.json acls.json --registers         and every filter's registers in words
  kestrix-sim apply device.json acls.json --json              all of it, for a program
  kestrix-sim apply device.json acls.json --trace 5           and what the library decided, on standard error
  kestrix-sim apply device.json acls.json --fail-write 20 --fail-write 21
                                                              and the 20th and 21st register write fail
  kestrix-sim apply device.json acls.json --drop-delay on     and the ACL drop delay is on, whatever the device says
  kestrix-sim apply device.json acls.json --dump found.txt    and every register into a file
  kestrix-sim apply device.json acls.json --html page.html    and a page for a browser
  kestrix-sim apply device.json acls.json --model             and all that the library keeps, as a tree
  kestrix-sim apply device.json v1.json --set destroying=true v2.json
                                                              and the library is told of the teardown between the two
  kestrix-sim apply device.json acls.json --set 'outShadowFilter.shadowFilter[port-1].multicast=1'
                                                              and the filter has a verdict for multicast
  kestrix-sim apply device.json acls.json --assume vlan=opaque --notes
                                                              and filters do not look behind VLAN tags, and a packet
                                                              for each other reading that makes a difference

device.json: {"inRules": 24, "outRules": 24, "aclDropDelay": false,
              "interfaces": [{"name": "port-1", "core": 1, "portGroup": 1}]}
acls.json:   ACLs in the IETF's model, RFC 8519, as JSON

A file named - is standard input.

Exit status: 0 all applied, and packets are decided as configured, 1 something refused, failed or decided otherwise on the
device, 2 bad input or usage, 3 the report, the page, the dump or the files of init could not be written.)";

// The files that are read.
std::vector<std::string> inputsOf(const CommandLine& line) {
  std::vector<std::string> files = line.configFiles;
  files.push_back(line.deviceFile);
  if (line.packet) files.push_back(line.packet->expectFile);
  if (line.packet) files.push_back(line.packet->captureFile);
  if (line.verify) files.push_back(line.verify->dumpFile);
  return files;
}

// Standard input is read once, and no file is written over that is read, or written, too.
void requireFilesApart(const CommandLine& line) {
  std::vector<std::string> files = inputsOf(line);
  if (std::ranges::count(files, kStandardInput) > 1)
    throw CLI::ValidationError("Standard input, -, can be read only once");
  for (const auto& [option, file] : {std::pair("--dump", line.dumpFile), std::pair("--html", line.htmlFile)}) {
    if (!file.empty() && std::ranges::find(files, file) != files.end())
      throw CLI::ValidationError(option, file + " is a file that the run reads or writes, too: name another one");
    files.push_back(file);
  }
}

// What --help, --version or bad usage come to.
RunResult endOf(CLI::App& app, const CLI::ParseError& error) {
  // The message repeats arguments as they are.
  app.failure_message([](const CLI::App*, const CLI::Error& fault) {
    return Shown(fault.what()).text() + "\nRun with --help for more information.\n";
  });
  std::ostringstream output;
  std::ostringstream complaint;
  const bool isFine = app.exit(error, output, complaint) == 0;
  return {isFine ? kAllApplied : kBadInput, output.str(), complaint.str()};
}

}  // namespace

std::optional<CommandLine> parseCommandLine(int argc, const char* const* argv, RunResult& end) {
  CommandLine line;
  CLI::App app(kDescription, "kestrix-sim");
  app.footer(kExamples);
  app.require_subcommand(1);
  app.set_version_flag("--version", KESTRIX_VERSION, "Print the version and exit");

  CLI::App* apply = app.add_subcommand(
      "apply", "Apply ACL configurations to a device, one after the other, and report what became of them");
  apply->footer(kExamples);
  addDocuments(*apply, line);
  apply->add_flag("--registers", line.registers, "Show every filter's registers, each set bit and slot in words");
  apply->add_flag("--json", line.json, "Report as JSON, registers included");
  apply->add_option("--trace", line.trace, "Print the library's trace lines up to this level to standard error")
      ->check(CLI::Range(0, 9))
      ->type_name("LEVEL");
  apply->add_flag("--model", line.model, "Show all that the library keeps in the end; what --set can set has a =");
  std::vector<std::string> settings;
  const CLI::Option* set =
      apply
          ->add_option(
              "--set", settings,
              "Set an attribute of the library's model, after the configurations before it on the command line; "
              "repeatable")
          ->allow_extra_args(false)
          ->type_name("PATH=VALUE");
  addFailWrite(*apply, line);
  addOutputFile(*apply, "--dump", line.dumpFile, "Write the registers that the device ends with to a file, for verify");
  std::string dropDelay;
  apply->add_option("--drop-delay", dropDelay, "Set the ACL drop delay, whatever the device says")
      ->check(CLI::IsMember({"on", "off"}))
      ->type_name("on|off");
  addHtml(*apply, line);
  addAssume(*apply, line);
  apply->add_flag("--notes", line.notes, "Show a packet for each reading that makes a difference");

  CLI::App* init = app.add_subcommand("init", "Write device.json and acls.json to start from");
  init->footer(
      "A file that is there already is never touched.\n\nExit status: 0 both were written, 2 one of them was there "
      "already, 3 they could not be\nwritten.");
  std::string folder = ".";
  init->add_option("folder", folder, "Where to; made if it is not there (by default this folder)")->type_name("FOLDER");
  addPacketCommand(app, line);
  addVerifyCommand(app, line);

  try {
    app.parse(argc, argv);
    requireFilesApart(line);
  } catch (const CLI::ParseError& error) {
    end = endOf(app, error);
    return {};
  }
  if (init->parsed()) {
    line.initFolder = folder;
    return line;
  }
  size_t configs = 0;
  for (const CLI::Option* parsed : apply->parse_order()) {
    if (parsed == apply->get_option("config")) ++configs;
    if (parsed == set) line.settings.push_back({configs, settings[line.settings.size()]});
  }
  if (!dropDelay.empty()) line.dropDelay = dropDelay == "on";
  return line;
}

}  // namespace Sim
