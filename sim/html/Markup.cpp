#include "html/Markup.h"

#include <algorithm>
#include <array>

namespace Sim {
namespace {

std::string escaped(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (const char each : text) {
    switch (each) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += each;
    }
  }
  return out;
}

// Elements behind which the next one begins a line, for whoever reads the source. A cell of a table shows line breaks.
bool endsLine(std::string_view name) {
  constexpr std::array<std::string_view, 11> kBlocks{"head",  "title", "style", "header", "main", "section",
                                                     "table", "thead", "tr",    "ul",     "li"};
  return std::ranges::find(kBlocks, name) != kBlocks.end();
}

}  // namespace

void Markup::put(std::string_view name, const Attributes& attributes, std::string_view text) {
  const auto element = in(name, attributes);
  this->text(text);
}

void Markup::putEmpty(std::string_view name, const Attributes& attributes) {
  open(name, attributes);
  text_ += '\n';
}

void Markup::shown(const Shown& text) { text_ += escaped(text.text()); }

void Markup::open(std::string_view name, const Attributes& attributes) {
  text_ += '<';
  text_ += name;
  for (const auto& [attribute, value] : attributes) {
    text_ += ' ';
    text_ += attribute;
    text_ += "=\"";
    text(value);
    text_ += '"';
  }
  text_ += '>';
}

void Markup::close(std::string_view name) {
  text_ += "</";
  text_ += name;
  text_ += '>';
  if (endsLine(name)) text_ += '\n';
}

}  // namespace Sim
