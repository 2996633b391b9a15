#include "command/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <string_view>

namespace Sim {
namespace {

// Empty when it is not set.
std::string_view environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

bool isDumb() { return environment("TERM") == "dumb"; }

// 0 when it is not known.
size_t widthOf(int terminal) {
  const std::string_view columns = environment("COLUMNS");
  size_t width = 0;
  const auto [end, error] = std::from_chars(columns.data(), columns.data() + columns.size(), width);
  if (error == std::errc() && end == columns.data() + columns.size() && width != 0) return width;
  winsize size{};
  return ::ioctl(terminal, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

}  // namespace

Looks looksOfOutput() {
  if (isatty(STDOUT_FILENO) == 0) return {};
  return {.colour = !isDumb() && environment("NO_COLOR").empty(), .width = widthOf(STDOUT_FILENO)};
}

bool canOverwriteErrors() { return isatty(STDERR_FILENO) != 0 && !isDumb(); }

}  // namespace Sim
