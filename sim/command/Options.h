// Options that more than one subcommand has, and says in the same way.
#pragma once

namespace CLI {
class App;
}

namespace Sim {

struct CommandLine;

// `what` says what comes behind the configurations; empty where nothing does.
void addDocuments(CLI::App& command, CommandLine& line, const char* what = "");
void addAssume(CLI::App& command, CommandLine& line);
void addFailWrite(CLI::App& command, CommandLine& line);
void addHtml(CLI::App& command, CommandLine& line);

}  // namespace Sim
