// Coloured words, where the output is a terminal.
#pragma once

#include <string>
#include <string_view>

#include <fmt/color.h>

namespace Sim {

class Paint {
 public:
  explicit Paint(bool enabled) : enabled_(enabled) {}

  std::string good(std::string_view text) const { return in(fmt::terminal_color::green, text); }
  std::string bad(std::string_view text) const { return in(fmt::terminal_color::red, text); }
  std::string odd(std::string_view text) const { return in(fmt::terminal_color::yellow, text); }
  std::string head(std::string_view text) const {
    return enabled_ ? fmt::format(fmt::emphasis::bold, "{}", text) : std::string(text);
  }

 private:
  std::string in(fmt::terminal_color colour, std::string_view text) const {
    return enabled_ ? fmt::format(fmt::fg(colour), "{}", text) : std::string(text);
  }

  bool enabled_;
};

}  // namespace Sim
