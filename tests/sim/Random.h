// Random choices that are the same in every run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <random>

namespace Sim {

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  // From 0 on, `limit` excluded.
  uint64_t below(uint64_t limit) { return engine_() % limit; }
  bool isTrue() { return below(2) != 0; }
  auto oneOf(const auto& values) { return values[static_cast<size_t>(below(std::size(values)))]; }

 private:
  std::mt19937 engine_;
};

}  // namespace Sim
