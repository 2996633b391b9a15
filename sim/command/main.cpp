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
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "command/CommandLine.h"
#include "command/ExitStatus.h"
#include "command/Run.h"

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
    std::vector<std::string> configTexts;
    for (const std::string& file : line->configFiles) {
      if (auto text = readFile(file)) configTexts.push_back(std::move(*text));
    }
    if (!deviceText || configTexts.size() != line->configFiles.size()) return Sim::kBadInput;

    const char* const noColour = std::getenv("NO_COLOR");
    const bool colour = isatty(STDOUT_FILENO) != 0 && (noColour == nullptr || *noColour == '\0');
    // Traces go there as they come, and show how far it is.
    const bool showsProgress = isatty(STDERR_FILENO) != 0 && line->trace < 0;
    Sim::Progress progress(showsProgress ? Sim::Progress::Write([](std::string_view text) {
      fmt::print(stderr, "{}", text);
      std::fflush(stderr);
    })
                                         : Sim::Progress::Write());
    const Sim::RunResult result = Sim::run(*line, *deviceText, configTexts, {.colour = colour}, progress);
    progress.clear();
    fmt::print("{}", result.output);
    return result.exitStatus;
  } catch (const std::exception& error) {
    fmt::print(stderr, "kestrix-sim: {}\n", error.what());
    return Sim::kBadInput;
  }
}
