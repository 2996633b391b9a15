// The files and standard streams of a run. What goes wrong with them is a value; nothing here throws for it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "command/ExitStatus.h"

namespace Sim {

// What a file holds, or why it cannot be read.
struct FileText {
  std::string text = {};
  std::string fault = {};  // Empty when it could be read.
};

// The name that stands for standard input.
inline constexpr std::string_view kStandardInput = "-";

// Takes the places of the standard streams that the program was started without, so that no file opened later becomes
// one of them. Using such a stream goes on to fail.
void holdStandardStreams();

FileText readFile(const std::string& name);

// A file to be made.
struct NewFile {
  std::string name;
  std::string_view text;
};

// Why files could not be made.
struct WriteFault {
  std::string file;    // That it was about; or the folder.
  std::string reason;  // As the system says it.
  bool exists;         // The file was there before.
};

// Makes the files, all of them or none, and, where there is none, their folder. None is made, nor any changed, where
// one of them is there already.
std::optional<WriteFault> createFiles(const std::string& folder, const std::vector<NewFile>& files);

// Writes `text` to standard error. What cannot be written there is lost.
void tell(std::string_view text);

// Writes the files of the run and what it has to say, ends standard output, and gives the exit status: kReportLost,
// with the reason on standard error, where not all of either could be written. A reader that has gone is no news for
// it: without a word, by SIGPIPE or, where that is ignored, with kReportLost.
int finish(const RunResult& result);

}  // namespace Sim
