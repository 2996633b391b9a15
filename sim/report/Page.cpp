#include "report/Page.h"

#include <algorithm>
#include <string_view>

namespace Sim {

void Page::line(const Spans& spans, size_t indent) {
  size_t columns = 0;
  for (const Span& span : spans) columns += width_ == 0 ? 0 : span.text.columns();
  if (columns > width_) return breakLine(spans, indent);
  for (const auto& [text, style] : spans) text_ += paint_.in(style, text.text());
  text_ += '\n';
}

void Page::breakLine(const Spans& spans, size_t indent) {
  constexpr size_t kLeastRoom = 20;  // Of narrower lines nobody reads many.
  std::string whole;
  std::vector<Style> styles;  // Of each byte.
  for (const auto& [text, style] : spans) {
    whole += text.text();
    styles.resize(whole.size(), style);
  }
  const size_t left = std::min(indent, width_ - std::min(width_, kLeastRoom));
  for (const std::string_view line : brokenAt(whole, width_, indent, width_ - left)) {
    const auto begin = static_cast<size_t>(line.data() - whole.data());
    text_.append(begin == 0 ? 0 : left, ' ');
    for (size_t at = 0; at < line.size();) {
      const size_t from = at;
      const Style style = styles[begin + from];
      while (at < line.size() && styles[begin + at] == style) ++at;
      text_ += paint_.in(style, line.substr(from, at - from));
    }
    text_ += '\n';
  }
}

}  // namespace Sim
