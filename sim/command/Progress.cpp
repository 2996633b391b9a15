#include "command/Progress.h"

#include <utility>

#include <fmt/format.h>

#include "text/Shown.h"

namespace Sim {
namespace {

constexpr std::chrono::milliseconds kSilence{1000};
constexpr std::chrono::milliseconds kBetweenLines{100};
constexpr std::string_view kClearLine = "\r\033[K";

}  // namespace

Progress::Progress(Write write, std::function<Time()> now)
    : write_(std::move(write)), now_(std::move(now)), next_(now_() + kSilence) {}

void Progress::begin(std::string what) {
  what_ = std::move(what);
  show(fmt::format("{} ...", what_));
}

void Progress::at(size_t done, size_t total) { show(fmt::format("{}: {} of {}", what_, done, total)); }

void Progress::clear() {
  if (std::exchange(isShown_, false)) write_(kClearLine);
}

void Progress::show(const std::string& line) {
  if (!write_ || now_() < next_) return;
  next_ = now_() + kBetweenLines;
  isShown_ = true;
  write_(fmt::format("{}{}", kClearLine, Shown(line).text()));
}

}  // namespace Sim
