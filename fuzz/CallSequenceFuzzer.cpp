// Makes the calls that arbitrary bytes encode, and compares the library with the reference machine.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "support/CallSequence.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace Kestrix::Test;
  std::vector<Call> calls;
  for (size_t k = 1; k + 1 < size && calls.size() < 100; k += 2) {  // Two bytes a call.
    const uint8_t operands = data[k + 1];
    calls.push_back({uint8_t(data[k] % kOperationCount), uint8_t(operands % kAcls), uint8_t(operands / kAcls % kIntfs),
                     uint8_t(operands / (kAcls * kIntfs) % 6), data[k] >= 250, operands >= kAcls * kIntfs * 6});
  }
  const std::string faults = faultsOf(calls, /*hostile=*/size > 0 && data[0] % 2 != 0);
  if (faults.empty()) return 0;
  fmt::print(stderr, "{}\n", faults);
  std::abort();
}
