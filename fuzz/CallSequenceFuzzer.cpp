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
    calls.push_back({.operation = uint8_t(data[k] % kOperationCount),
                     .acl = uint8_t(operands % kAcls),
                     .intf = uint8_t(operands / kAcls % kIntfs),
                     .argument = uint8_t(operands / (kAcls * kIntfs)),
                     .busFails = data[k] / kOperationCount % 8 == 7,
                     .isOrderly = data[k] / kOperationCount % 2 == 0});
  }
  const Slots slots = size > 0 && data[0] % 8 >= 6 ? Slots{24, 23} : Slots{};
  const std::string faults = faultsOf(calls, {.isHostile = size > 0 && data[0] % 2 != 0, .slots = slots});
  if (faults.empty()) return 0;
  fmt::print(stderr, "{}\n", faults);
  std::abort();
}
