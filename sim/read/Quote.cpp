#include "read/Quote.h"

#include <algorithm>

#include <fmt/format.h>

namespace Sim {
namespace {

constexpr size_t kMostQuoted = 64;

bool startsCharacter(char octet) { return (octet & 0xC0) != 0x80; }

}  // namespace

size_t characters(std::string_view text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), startsCharacter));
}

std::string cut(std::string_view text, size_t most) {
  size_t seen = 0;
  const auto end = std::find_if(text.begin(), text.end(), [&](char c) { return startsCharacter(c) && ++seen > most; });
  return std::string(text.begin(), end) + (end == text.end() ? "" : "...");
}

std::string inQuotes(std::string_view text) {
  const size_t length = characters(text);
  return length > kMostQuoted ? fmt::format("\"{}\" ({} characters)", cut(text, kMostQuoted), length)
                              : fmt::format("\"{}\"", text);
}

}  // namespace Sim
