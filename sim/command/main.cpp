#include <exception>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "command/CaptureCommand.h"
#include "command/CommandLine.h"
#include "command/Files.h"
#include "command/Init.h"
#include "command/Interruption.h"
#include "command/PacketCommand.h"
#include "command/Run.h"
#include "command/Terminal.h"
#include "command/VerifyCommand.h"
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

  const bool hasExpectations = line->packet && !line->packet->expectFile.empty();
  const Sim::FileText expectations = hasExpectations ? Sim::readFile(line->packet->expectFile) : Sim::FileText();
  const Sim::FileText dump = line->verify ? Sim::readFile(line->verify->dumpFile) : Sim::FileText();

  // Traces go there as they come, and show how far it is.
  const bool showsProgress = Sim::canOverwriteErrors() && line->trace < 0;
  Sim::Progress progress(showsProgress ? Sim::Progress::Write(Sim::tell) : Sim::Progress::Write());
  if (line->packet && !line->packet->captureFile.empty()) {
    std::optional<Sim::Interruption> interruption;
    const auto open = [&](const std::string& name) { return Sim::openCapture(name, interruption.emplace().file()); };
    return Sim::runCapture(*line, device, configs, open, Sim::looksOfOutput(), progress);
  }
  if (line->packet) return Sim::runPacket(*line, device, configs, expectations, Sim::looksOfOutput(), progress);
  if (line->verify) return Sim::runVerify(*line, device, configs, dump, Sim::looksOfOutput(), progress);
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
