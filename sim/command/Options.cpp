#include "command/Options.h"

#include <cstdint>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "command/CommandLine.h"
#include "command/Files.h"
#include "verdict/Readings.h"

namespace Sim {

void addDocuments(CLI::App& command, CommandLine& line, const char* what) {
  command.add_option("device", line.deviceFile, "The device: its rule slots and interfaces (JSON)")
      ->required()
      ->type_name("DEVICE.json");
  command
      .add_option("config", line.configFiles,
                  std::string("The ACL configuration (RFC 8519 in JSON), or one after the other") + what)
      ->required()
      ->type_name("CONFIG.json");
}

void addAssume(CLI::App& command, CommandLine& line) {
  command
      .add_option_function<std::vector<std::string>>(
          "--assume",
          [&line](const std::vector<std::string>& all) {
            for (const std::string& each : all) line.readings.assume(each);
            line.assumptions = all;
          },
          "Take a reading of what the hardware leaves open another way, as in vlan=opaque; repeatable")
      ->allow_extra_args(false)
      ->check([](const std::string& text) { return Readings().assume(text); })
      ->type_name("NAME=VALUE");
}

void addFailWrite(CLI::App& command, CommandLine& line) {
  command
      .add_option_function<std::vector<uint64_t>>(
          "--fail-write", [&line](const std::vector<uint64_t>& all) { line.failWrites = {all.begin(), all.end()}; },
          "Let the K-th register write fail, counted from 1 with those at start-up; repeatable")
      ->allow_extra_args(false)
      ->check(CLI::Range(uint64_t{1}, uint64_t{1'000'000'000}))
      ->type_name("K");
}

void addOutputFile(CLI::App& command, const char* option, std::string& file, const char* what) {
  command.add_option(option, file, what)
      ->check([](const std::string& name) { return name.empty() || name == kStandardInput ? "name a file" : ""; })
      ->type_name("FILE");
}

void addHtml(CLI::App& command, CommandLine& line) {
  addOutputFile(command, "--html", line.htmlFile, "Write a page for a browser, all in one file");
}

}  // namespace Sim
