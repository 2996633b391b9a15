#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>

#include <fmt/format.h>

#include "CommandLine.h"
#include "ExitStatus.h"
#include "Run.h"

namespace {

std::optional<std::string> readFile(const std::string& name) {
  errno = 0;
  std::ifstream file(name, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  if (file && text) return text.str();
  fmt::print(stderr, "kestrix-sim: cannot read {}: {}\n", name,
             errno != 0 ? std::generic_category().message(errno) : "it is empty or not a file");
  return {};
}

}  // namespace

int main(int argc, char** argv) {
  try {
    int exitStatus = 0;
    const auto line = Sim::parseCommandLine(argc, argv, exitStatus);
    if (!line) return exitStatus;
    const auto deviceText = readFile(line->deviceFile);
    const auto configText = readFile(line->configFile);
    if (!deviceText || !configText) return Sim::kBadInput;

    const bool colour = isatty(STDOUT_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr;
    const Sim::RunResult result = Sim::run(*line, *deviceText, *configText, colour);
    fmt::print("{}", result.output);
    return result.exitStatus;
  } catch (const std::exception& error) {
    fmt::print(stderr, "kestrix-sim: {}\n", error.what());
    return Sim::kBadInput;
  }
}
