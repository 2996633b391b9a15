// Options that more than one subcommand has, and says in the same way.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace Sim {

struct CommandLine;

// `what` says what comes behind the configurations; empty where nothing does.
void addDocuments(CLI::App& command, CommandLine& line, const char* what = "");
void addAssume(CLI::App& command, CommandLine& line);
void addFailWrite(CLI::App& command, CommandLine& line);
// A file to be written, which is `file` then; not standard output.
void addOutputFile(CLI::App& command, const char* option, std::string& file, const char* what);
void addHtml(CLI::App& command, CommandLine& line);

}  // namespace Sim
