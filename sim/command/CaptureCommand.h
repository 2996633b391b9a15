// `kestrix-sim packet --capture`: what becomes of the packets of a capture.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "capture/CaptureFile.h"
#include "command/ExitStatus.h"
#include "command/Files.h"
#include "command/Progress.h"
#include "report/Page.h"

namespace Sim {

struct CommandLine;

// Opens the capture of this name.
using CaptureOpener = std::function<OpenedCapture(const std::string& name)>;

// Applies the configurations, and decides the packets of the capture that `line.packet` names by what that made of the
// device. The capture is opened last of all, and read to its end, or until it is stopped or broken.
RunResult runCapture(const CommandLine& line, const FileText& device, const std::vector<FileText>& configs,
                     const CaptureOpener& open, const Looks& looks, Progress& progress);

}  // namespace Sim
