// Coloured words, where the output is a terminal.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <fmt/color.h>

namespace Sim {

// What a text says, and so how it looks.
enum class Style : uint8_t { plain, head, good, odd, bad };

class Paint {
 public:
  explicit Paint(bool enabled) : enabled_(enabled) {}

  std::string in(Style style, std::string_view text) const {
    if (!enabled_ || style == Style::plain || text.empty()) return std::string(text);
    return fmt::format(looks(style), "{}", text);
  }

 private:
  static fmt::text_style looks(Style style) {
    switch (style) {
      case Style::plain:
        return {};
      case Style::head:
        return fmt::emphasis::bold;
      case Style::good:
        return fmt::fg(fmt::terminal_color::green);
      case Style::odd:
        return fmt::fg(fmt::terminal_color::yellow);
      case Style::bad:
        return fmt::fg(fmt::terminal_color::red);
    }
    return {};
  }

  bool enabled_;
};

}  // namespace Sim
