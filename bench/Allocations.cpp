#include "bench/Allocations.h"

#include <cstdlib>
#include <new>

namespace {

Kestrix::Bench::Allocations all;

// In front of each block: its size. As long as what the strictest type needs.
constexpr size_t kHeader = alignof(std::max_align_t);

void* allocate(size_t size) {
  auto* const block = static_cast<char*>(std::malloc(size + kHeader));
  if (block == nullptr) throw std::bad_alloc();
  *reinterpret_cast<size_t*>(block) = size;
  ++all.count, all.bytes += size;
  return block + kHeader;
}
void release(void* memory) {
  if (memory == nullptr) return;
  char* const block = static_cast<char*>(memory) - kHeader;
  all.bytes -= *reinterpret_cast<size_t*>(block);
  std::free(block);
}

}  // namespace

void* operator new(size_t size) { return allocate(size); }
void operator delete(void* memory) noexcept { release(memory); }
void operator delete(void* memory, size_t) noexcept { release(memory); }

namespace Kestrix::Bench {

Allocations allocations() { return all; }

}  // namespace Kestrix::Bench
