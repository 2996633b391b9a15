#include <filesystem>
#include <iomanip>
#include <regex>
#include <sstream>

#include <unistd.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "sim/Commands.h"
#include "support/Docs.h"
#include "verdict/Readings.h"

namespace Sim {
namespace {

namespace fs = std::filesystem;

using Kestrix::Test::linesOf, Kestrix::Test::textOfFile;

// What is the current folder as long as it lives: an empty one, but for the examples.
class EmptyFolder {
 public:
  EmptyFolder() {
    fs::create_directory(path_);
    fs::current_path(path_);
    fs::create_directory_symlink(KESTRIX_ROOT "examples", "examples");
  }
  ~EmptyFolder() {
    fs::current_path(before_);
    fs::remove_all(path_);
  }

 private:
  const fs::path before_ = fs::current_path();
  const fs::path path_ = fs::temp_directory_path() / ("kestrix-doc-test-" + std::to_string(::getpid()));
};

// What a document shows of commands: its blocks "console", or the examples (EX, EE) of a manual page.
std::vector<std::string> shownIn(const std::string& document) {
  if (!document.ends_with(".1")) return linesOf(KESTRIX_ROOT + document, "console");
  std::vector<std::string> shown;
  bool isExample = false;
  for (const std::string& line : linesOf(KESTRIX_ROOT + document)) {
    if (line == ".EX" || line == ".EE")
      isExample = line == ".EX";
    else if (isExample)
      shown.push_back(std::regex_replace(line, std::regex(R"(\\-)"), "-"));
  }
  return shown;
}

// What a command of a document prints, line by line, and its exit status last.
std::vector<std::string> linesOfCommand(const std::string& command) {
  std::istringstream in(command);
  std::vector<std::string> words;
  for (std::string word; in >> std::quoted(word, '\'');) words.push_back(word);
  const RunResult result = resultOf(words, textOfFile);
  std::istringstream output(result.output);
  std::vector<std::string> lines;
  for (std::string each; std::getline(output, each);) lines.push_back(each);
  lines.push_back(std::to_string(result.exitStatus));
  return lines;
}

TEST(Doc, CommandsPrintWhatIsShown) {
  // The numbers of references depend on what else ran.
  const auto normal = [](const std::string& line) { return std::regex_replace(line, std::regex("#[0-9]+"), "#"); };
  for (const char* document : {"README.md", "docs/quick-start.md", "docs/simulator.md", "docs/verdicts.md",
                               "docs/model.md", "docs/registers.md", "sim/kestrix-sim.1"}) {
    const EmptyFolder folder;
    std::vector<std::string> printed{""}, shown = shownIn(document);
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
        printed = linesOfCommand(line.substr(2));
        position = 0;
        ++commands;
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

TEST(Doc, QuickStartShowsItsFiles) {
  std::vector<std::string> files = linesOf(KESTRIX_ROOT "examples/quick-start/device.json");
  for (const std::string& line : linesOf(KESTRIX_ROOT "examples/quick-start/acls.json")) files.push_back(line);
  EXPECT_EQ(linesOf(KESTRIX_ROOT "docs/quick-start.md", "json"), files);
}

TEST(Doc, ReadingsAreAsTheTableSays) {
  std::vector<std::string> shown, rows;
  for (const std::string& line : linesOf(KESTRIX_ROOT "docs/verdicts.md")) {
    if (line.starts_with("| `")) shown.push_back(line);
  }
  for (const auto& [reading, name, taken, other, basis] : kReadings) {
    rows.push_back(fmt::format("| `{}` | `{}`: {} | `{}`: {} | {} |", name, taken.name, taken.meaning, other.name,
                               other.meaning, basis));
  }
  EXPECT_EQ(shown, rows);
}

}  // namespace
}  // namespace Sim
