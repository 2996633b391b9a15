// What a long run is doing, for whoever waits at a terminal.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace Sim {

// One line that is written over again. A run of less than a second shows none.
class Progress {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Write = std::function<void(std::string_view)>;

  // Shows nothing.
  Progress() = default;
  // `write` puts text on the terminal, `now` tells the time. The second begins here.
  explicit Progress(Write write, std::function<Time()> now = std::chrono::steady_clock::now);
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // What is being done from now on, as in "reading acls.json".
  void begin(std::string what);
  // How far it is.
  void at(size_t done, size_t total);
  // The same, for a callee that counts and knows no terminal; to be used while this lives.
  std::function<void(size_t done, size_t total)> counter() {
    return [this](size_t done, size_t total) { at(done, total); };
  }
  // Takes the line away, so that other output may follow.
  void clear();

 private:
  void show(const std::string& line);

  Write write_;
  std::function<Time()> now_;
  Time next_;  // When a line may be shown.
  std::string what_;
  bool isShown_ = false;
};

}  // namespace Sim
