// A text for a person, made line by line. What is put into a line is escaped: only a line of this ends a line.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "report/Colour.h"
#include "text/Shown.h"

namespace Sim {

// A part of a line, and what it says.
struct Span {
  Shown text;
  Style style = Style::plain;
};

using Spans = std::vector<Span>;

// What the reader's terminal makes of a text.
struct Looks {
  bool colour = false;
  size_t width = 0;  // In columns. 0: lines are not broken.
};

class Page {
 public:
  explicit Page(const Looks& looks) : paint_(looks.colour), width_(looks.width) {}

  // A line of that; an empty one by default. Where it is too long for the terminal, it goes on in the next one behind
  // `indent` columns, or fewer where that leaves too little room, and does not break within them.
  void line(const Spans& spans = {}, size_t indent = kIndent);
  const std::string& text() const { return text_; }

 private:
  static constexpr size_t kIndent = 4;

  void breakLine(const Spans& spans, size_t indent);

  Paint paint_;
  size_t width_;
  std::string text_;
};

}  // namespace Sim
