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
  std::string whole;
  std::vector<Style> styles;  // Of each byte.
  for (const auto& [text, style] : spans) {
    whole += text.text();
    styles.resize(whole.size(), style);
  }
  bool isFirst = true;
  for (const std::string_view line : brokenAt(whole, width_, indent)) {
    text_.append(isFirst ? 0 : indent, ' ');
    isFirst = false;
    auto style = styles.begin() + (line.data() - whole.data());
    for (size_t at = 0; at < line.size();) {
      const auto end = std::find_if(style, style + static_cast<std::ptrdiff_t>(line.size() - at),
                                    [&](Style each) { return each != *style; });
      const auto length = static_cast<size_t>(end - style);
      text_ += paint_.in(*style, line.substr(at, length));
      at += length;
      style = end;
    }
    text_ += '\n';
  }
}

}  // namespace Sim
