// Counts what this program allocates.
#pragma once

#include <cstddef>

namespace Kestrix::Bench {

struct Allocations {
  size_t count = 0;  // Since the start of the program.
  size_t bytes = 0;  // Held now, as asked for.
};
Allocations allocations();

}  // namespace Kestrix::Bench
