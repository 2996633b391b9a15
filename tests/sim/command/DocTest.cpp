#include <array>
#include <regex>
#include <sstream>

#include <gtest/gtest.h>

#include "command/Run.h"
#include "support/Docs.h"

namespace Sim {
namespace {

using Kestrix::Test::linesOf, Kestrix::Test::textOfFile;

// What a command of a document prints, line by line, and its exit status last.
std::vector<std::string> linesOfCommand(std::string command) {
  std::erase(command, '\'');
  std::istringstream in(command);
  std::vector<std::string> words{std::istream_iterator<std::string>(in), {}};
  std::vector<const char*> arguments;
  for (const std::string& word : words) arguments.push_back(word.c_str());
  RunResult end;
  const CommandLine line = parseCommandLine(int(arguments.size()), arguments.data(), end).value();
  const auto text = [](const std::string& file) { return FileText{textOfFile(KESTRIX_ROOT + file)}; };
  std::vector<FileText> configs;
  for (const std::string& file : line.configFiles) configs.push_back(text(file));
  Progress none;
  const RunResult result = line.verify
                               ? runVerify(line, text(line.deviceFile), configs, text(line.verify->dumpFile), {}, none)
                               : run(line, text(line.deviceFile), configs, {}, none);
  std::istringstream output(result.output);
  std::vector<std::string> lines;
  for (std::string each; std::getline(output, each);) lines.push_back(each);
  lines.push_back(std::to_string(result.exitStatus));
  return lines;
}

TEST(Doc, CommandsPrintWhatIsShown) {
  // The numbers of references depend on what else ran.
  const auto normal = [](const std::string& line) { return std::regex_replace(line, std::regex("#[0-9]+"), "#"); };
  for (const char* document : {"README.md", "docs/simulator.md", "docs/model.md", "docs/registers.md"}) {
    std::vector<std::string> printed{""}, shown = linesOf(std::string(KESTRIX_ROOT) + document, "console");
    shown.push_back("$");  // All is shown then, up to a last "...".
    size_t position = 0, commands = 0;
    bool mayJump = false;
    for (const std::string& line : shown) {
      SCOPED_TRACE(line);
      if (line.starts_with("$")) {
        EXPECT_TRUE(mayJump || position + 1 >= printed.size()) << printed[position];
        mayJump = false;
      }
      if (line == "...") {
        mayJump = true;
      } else if (line == "$ echo $?") {
        position = printed.size() - 1;
      } else if (line.starts_with("$ kestrix-sim ")) {
        printed = linesOfCommand(line.substr(2)), position = 0, ++commands;
      } else if (line != "$") {
        while (mayJump && position < printed.size() && normal(printed[position]) != normal(line)) ++position;
        ASSERT_LT(position, printed.size());
        ASSERT_EQ(normal(printed[position++]), normal(line));
        mayJump = false;
      }
    }
    EXPECT_GT(commands, 0u);
  }
}

}  // namespace
}  // namespace Sim
