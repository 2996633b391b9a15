// Text from outside (names, values, file names) as it may be put on a terminal or into a line of a report.
//
//   Shown("door\n\033[31m").text()  -> door\n\x1b[31m, on one line and without colour
#pragma once

#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Sim {

// A text of one line in which nothing is left that a terminal acts on, or that could pass for another line: control
// characters, line and paragraph separators, controls of the writing direction and bytes that are not UTF-8 are
// escaped, as \n, \r, \t, \x1b (a byte) or \u202e. A backslash that could be taken for the start of an escape is
// doubled, so that different texts look different.
class Shown {
 public:
  // On purpose not explicit: what takes a Shown takes every text, and none that was not escaped.
  template <std::convertible_to<std::string_view> Text>
  Shown(const Text& text) : text_(escaped(text)) {}
  Shown() = default;

  const std::string& text() const { return text_; }
  // How many columns of a terminal it takes.
  size_t columns() const;
  // Adds blanks until it takes that many.
  Shown filledTo(size_t columns) &&;

 private:
  static std::string escaped(std::string_view text);

  std::string text_;
};

// The lines that the text of a Shown breaks into. They end between words: the first takes `width` columns, and does not
// break within `lead` columns, the others take `room` columns. A word that is longer than a line stays whole.
std::vector<std::string_view> brokenAt(std::string_view shown, size_t width, size_t lead, size_t room);

}  // namespace Sim
