#include "platform/runtime/Text.h"

#include <charconv>
#include <ostream>

#include <fmt/format.h>

namespace Platform {

std::ostream& writeText(std::ostream& out, std::string_view text) { return out << text; }

namespace Detail {

std::optional<uint64_t> wholeNumber(std::string_view text, uint64_t most) {
  uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size() || number > most) return {};
  return number;
}

void raiseNoNumber(std::string_view text, uint64_t most) {
  throw RangeError(fmt::format("{} is not a number from 0 to {}", quoted(text), most));
}

void raiseNoneOf(std::string_view text, std::span<const std::string_view> names) {
  throw RangeError(fmt::format("{} is none of {}", quoted(text), fmt::join(names, ", ")));
}

void raiseNoBoolean(std::string_view text) {
  throw RangeError(fmt::format("{} is neither true nor false", quoted(text)));
}

}  // namespace Detail
}  // namespace Platform
