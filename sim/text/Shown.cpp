#include "text/Shown.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>

#include <fmt/format.h>

namespace Sim {
namespace {

struct Character {
  uint32_t code;  // The byte itself where it is not UTF-8.
  size_t bytes;
  bool isUtf8 = true;
};

// How a character of several bytes starts, and which codes it may stand for: others have a shorter form, or none.
struct Utf8Form {
  uint8_t mask, lead;
  size_t bytes;
  uint32_t least, most;
};
constexpr Utf8Form kUtf8Forms[] = {{0x80, 0x00, 1, 0, 0x7f},
                                   {0xe0, 0xc0, 2, 0x80, 0x7ff},
                                   {0xf0, 0xe0, 3, 0x800, 0xffff},
                                   {0xf8, 0xf0, 4, 0x10000, 0x10ffff}};

constexpr bool isWithin(uint32_t code, uint32_t first, uint32_t last) { return code >= first && code <= last; }

// The first character of a text that is not empty.
Character firstOf(std::string_view text) {
  const auto byte = [&](size_t at) { return static_cast<uint8_t>(text[at]); };
  const Character broken{byte(0), 1, false};
  const auto form = std::ranges::find_if(kUtf8Forms, [&](const auto& f) { return (byte(0) & f.mask) == f.lead; });
  if (form == std::end(kUtf8Forms) || form->bytes > text.size()) return broken;
  uint32_t code = byte(0) & static_cast<uint8_t>(~form->mask);
  for (size_t at = 1; at < form->bytes; ++at) {
    if ((byte(at) & 0xc0) != 0x80) return broken;
    code = code << 6 | (byte(at) & 0x3fU);
  }
  const bool isSurrogate = isWithin(code, 0xd800, 0xdfff);
  return isWithin(code, form->least, form->most) && !isSurrogate ? Character{code, form->bytes} : broken;
}

struct Range {
  uint32_t first, last;
};

bool isIn(const auto& ranges, uint32_t code) {
  return std::ranges::any_of(ranges, [code](const Range& range) { return isWithin(code, range.first, range.last); });
}

// Control characters, line and paragraph separators, and what controls the writing direction.
constexpr Range kEscaped[] = {{0x0, 0x1f},      {0x7f, 0x9f},     {0x61c, 0x61c},
                              {0x200e, 0x200f}, {0x2028, 0x202e}, {0x2066, 0x2069}};
// Combining characters and others without a width of their own.
constexpr Range kNarrow[] = {{0x300, 0x36f},   {0x483, 0x489},   {0x591, 0x5bd},   {0x610, 0x61a},
                             {0x64b, 0x65f},   {0x1ab0, 0x1aff}, {0x1dc0, 0x1dff}, {0x200b, 0x200d},
                             {0x20d0, 0x20ff}, {0xfe00, 0xfe0f}, {0xfe20, 0xfe2f}, {0xe0100, 0xe01ef}};
// East Asian ones, and pictures: two columns.
constexpr Range kWide[] = {{0x1100, 0x115f},  {0x2e80, 0x303e},   {0x3041, 0xa4cf},   {0xa960, 0xa97f},
                           {0xac00, 0xd7a3},  {0xf900, 0xfaff},   {0xfe30, 0xfe6f},   {0xff00, 0xff60},
                           {0xffe0, 0xffe6},  {0x1f300, 0x1f64f}, {0x1f680, 0x1f6ff}, {0x1f900, 0x1f9ff},
                           {0x20000, 0x3fffd}};

bool isEscaped(const Character& c) { return !c.isUtf8 || isIn(kEscaped, c.code); }

std::string escapeOf(const Character& c) {
  if (c.code == '\n') return "\\n";
  if (c.code == '\r') return "\\r";
  if (c.code == '\t') return "\\t";
  return !c.isUtf8 || c.code < 0x80 ? fmt::format("\\x{:02x}", c.code) : fmt::format("\\u{:04x}", c.code);
}

// Whether a backslash before `rest` would look like the start of an escape.
bool looksEscaped(std::string_view rest) {
  constexpr std::string_view kAfterBackslash = "\\nrtxu";
  return !rest.empty() && (kAfterBackslash.find(rest[0]) != rest.npos || isEscaped(firstOf(rest)));
}

size_t widthOf(const Character& c) { return isIn(kNarrow, c.code) ? 0 : isIn(kWide, c.code) ? 2 : 1; }

// How many columns of a terminal an escaped text takes.
size_t columnsOf(std::string_view shown) {
  size_t columns = 0;
  while (!shown.empty()) {
    const Character c = firstOf(shown);
    columns += widthOf(c);
    shown.remove_prefix(c.bytes);
  }
  return columns;
}

// How many bytes of `shown` take `columns` columns.
size_t bytesOf(std::string_view shown, size_t columns) {
  size_t bytes = 0;
  for (size_t taken = 0; bytes < shown.size() && taken < columns;) {
    const Character c = firstOf(shown.substr(bytes));
    bytes += c.bytes;
    taken += widthOf(c);
  }
  return bytes;
}

// Where the first line of `shown` ends: with the last word that leaves it within `room` columns, or else with the first
// one behind the first `fixed` bytes. None where it need not break, or cannot.
size_t lineEnd(std::string_view shown, size_t fixed, size_t room) {
  size_t end = shown.npos;
  size_t taken = columnsOf(shown.substr(0, fixed));
  for (size_t at = fixed;;) {
    const size_t word = std::min(shown.find_first_not_of(' ', at), shown.size());
    const size_t next = std::min(shown.find(' ', word), shown.size());
    taken += columnsOf(shown.substr(at, next - at));
    if (taken > room && end != shown.npos) return end;
    if (next == shown.size()) return shown.npos;
    if (taken > room) return next;
    end = at = next;
  }
}

}  // namespace

std::string Shown::escaped(std::string_view text) {
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const Character c = firstOf(text);
    const std::string_view rest = text.substr(c.bytes);
    if (isEscaped(c)) {
      shown += escapeOf(c);
    } else if (c.code == '\\' && looksEscaped(rest)) {
      shown += "\\\\";
    } else {
      shown += text.substr(0, c.bytes);
    }
    text = rest;
  }
  return shown;
}

size_t Shown::columns() const { return columnsOf(text_); }

Shown Shown::filledTo(size_t columns) && {
  const size_t taken = this->columns();
  if (taken < columns) text_.append(columns - taken, ' ');
  return std::move(*this);
}

std::vector<std::string_view> brokenAt(std::string_view shown, size_t width, size_t lead, size_t room) {
  std::vector<std::string_view> lines;
  const size_t fixed = bytesOf(shown, lead);
  for (size_t end = lineEnd(shown, fixed, width); end != shown.npos; end = lineEnd(shown, 0, room)) {
    lines.push_back(shown.substr(0, end));
    shown.remove_prefix(std::min(shown.find_first_not_of(' ', end), shown.size()));
  }
  lines.push_back(shown);
  return lines;
}

}  // namespace Sim
