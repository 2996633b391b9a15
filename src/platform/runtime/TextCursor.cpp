#include "platform/runtime/TextCursor.h"

#include <fmt/format.h>

#include "platform/runtime/Errors.h"

namespace Platform {
namespace {

constexpr size_t kLongestQuote = 80;

// What follows, on or after the position that is wrong.
std::string found(std::string_view rest) { return rest.empty() ? "the end" : quoted(rest); }

}  // namespace

std::string quoted(std::string_view text) {
  return fmt::format("{:?}{}", text.substr(0, kLongestQuote), text.size() > kLongestQuote ? "..." : "");
}

bool TextCursor::skip(std::string_view literal) {
  if (!rest_.starts_with(literal)) return false;
  rest_.remove_prefix(literal.size());
  return true;
}

void TextCursor::require(std::string_view literal) {
  if (skip(literal)) return;
  throw RangeError(
      fmt::format("expected {} at position {}, not {}", quoted(literal), text_.size() - rest_.size(), found(rest_)));
}

void TextCursor::requireEnd() const {
  if (rest_.empty()) return;
  throw RangeError(fmt::format("expected the end at position {}, not {}", text_.size() - rest_.size(), quoted(rest_)));
}

std::string_view TextCursor::takeUntil(std::string_view delimiters) {
  const std::string_view taken = rest_.substr(0, rest_.find_first_of(delimiters));
  rest_.remove_prefix(taken.size());
  return taken;
}

}  // namespace Platform
