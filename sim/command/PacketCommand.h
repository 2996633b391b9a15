// `kestrix-sim packet`: what becomes of single packets.
#pragma once

#include <string>
#include <vector>

#include "command/ExitStatus.h"
#include "command/Files.h"
#include "command/Progress.h"
#include "report/Page.h"
#include "verdict/Readings.h"

namespace CLI {
class App;
}

namespace Sim {

struct CommandLine;

// What the command line says beside the documents: a file of expectations, or interface and direction, and a file of
// packets or a packet.
struct PacketOptions {
  std::string expectFile = {};
  std::string interface = {};
  std::string direction = {};
  std::string packet = {};
  std::string captureFile = {};
};

// Adds the subcommand. Parsing raises CLI::ParseError where options do not go together, and sets `line.packet`.
void addPacketCommand(CLI::App& app, CommandLine& line);

// Applies the configurations, and tries the packets of `line.packet` on what that made of the device. `expectations` is
// what the file named there holds.
RunResult runPacket(const CommandLine& line, const FileText& device, const std::vector<FileText>& configs,
                    const FileText& expectations, const Looks& looks, Progress& progress);

}  // namespace Sim
