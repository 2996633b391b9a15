#include <exception>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "command/CommandLine.h"
#include "command/Files.h"
#include "command/Init.h"
#include "command/Run.h"
#include "command/Terminal.h"
#include "text/Shown.h"

namespace {

Sim::RunResult resultOf(int argc, const char* const* argv) {
  Sim::RunResult end;
  const auto line = Sim::parseCommandLine(argc, argv, end);
  if (!line) return end;
  if (line->initFolder) return Sim::init(*line->initFolder);
  const Sim::FileText device = Sim::readFile(line->deviceFile);
  std::vector<Sim::FileText> configs;
  configs.reserve(line->configFiles.size());
  for (const std::string& file : line->configFiles) configs.push_back(Sim::readFile(file));

  // Traces go there as they come, and show how far it is.
  const bool showsProgress = Sim::canOverwriteErrors() && line->trace < 0;
  Sim::Progress progress(showsProgress ? Sim::Progress::Write(Sim::tell) : Sim::Progress::Write());
  return Sim::run(*line, device, configs, Sim::looksOfOutput(), progress);
}

}  // namespace

int main(int argc, char** argv) {
  Sim::holdStandardStreams();
  try {
    return Sim::finish(resultOf(argc, argv));
  } catch (const std::exception& error) {
    Sim::tell(fmt::format("kestrix-sim: {}\n", Sim::Shown(error.what()).text()));
    return Sim::kBadInput;
  }
}
