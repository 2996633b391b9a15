// The documents, for tests that check what they show.
#pragma once

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Kestrix::Test {

inline std::string textOfFile(const std::string& file) {
  std::ifstream in(file);
  if (!in) throw std::out_of_range("no file " + file);
  return {std::istreambuf_iterator<char>(in), {}};
}

// The lines of a file's blocks in `language`; of all of the file when it has none.
inline std::vector<std::string> linesOf(const std::string& file, const std::string& language = "") {
  std::istringstream in(textOfFile(file));
  std::vector<std::string> lines;
  bool isInBlock = language.empty();
  for (std::string line; std::getline(in, line);) {
    if (!language.empty() && line.starts_with("```")) {
      isInBlock = line == "```" + language;
    } else if (isInBlock) {
      lines.push_back(line);
    }
  }
  return lines;
}

// The rows of the table of two columns, both `code`, below a heading of a document.
inline std::vector<std::pair<std::string, std::string>> rowsBelow(const std::string& file, const std::string& heading) {
  std::vector<std::pair<std::string, std::string>> rows;
  bool isBelow = false;
  for (const std::string& line : linesOf(file)) {
    if (line.starts_with("## ")) isBelow = line == "## " + heading;
    if (!isBelow || !line.starts_with("| `")) continue;
    const auto middle = line.find("` | `");
    rows.emplace_back(line.substr(3, middle - 3), line.substr(middle + 5, line.size() - middle - 8));
  }
  if (rows.empty()) throw std::out_of_range("no table below " + heading);
  return rows;
}

}  // namespace Kestrix::Test
