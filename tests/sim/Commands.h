// Command lines, run without a process.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "command/CaptureCommand.h"
#include "command/Init.h"
#include "command/Run.h"

namespace Sim {

// What the words, the first of which is the program, come to where files hold what `textOf` says. No file is written
// but by init.
inline RunResult resultOf(const std::vector<std::string>& words,
                          const std::function<std::string(const std::string&)>& textOf) {
  std::vector<const char*> arguments;
  for (const std::string& word : words) arguments.push_back(word.c_str());
  RunResult end;
  const auto line = parseCommandLine(int(arguments.size()), arguments.data(), end);
  if (!line) return end;
  if (line->initFolder) return init(*line->initFolder);
  const auto text = [&](const std::string& file) { return FileText{file.empty() ? file : textOf(file)}; };
  const FileText device = text(line->deviceFile);
  std::vector<FileText> configs;
  for (const std::string& file : line->configFiles) configs.push_back(text(file));
  Progress none;
  if (line->verify) return runVerify(*line, device, configs, text(line->verify->dumpFile), {}, none);
  if (line->packet && !line->packet->captureFile.empty()) {
    const auto open = [](const std::string& name) { return openCapture(name, -1); };
    return runCapture(*line, device, configs, open, {}, none);
  }
  if (line->packet) return runPacket(*line, device, configs, text(line->packet->expectFile), {}, none);
  return run(*line, device, configs, {}, none);
}

}  // namespace Sim
