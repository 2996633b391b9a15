// Feeds arbitrary bytes to a reader of kestrix-sim, of configurations or of devices, and what it accepts to the
// library.
#include <cstddef>
#include <cstdint>

#include "command/Run.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
#ifdef KESTRIX_FUZZED_Device
  const std::string device = text, configuration = R"({"ietf-access-control-list:acls": {}})";
#else
  const std::string configuration = text, device = R"({"inRules": 2, "outRules": 3, "interfaces": [
      {"name": "port-1", "core": 1, "portGroup": 1}, {"name": "port-2", "core": 2, "portGroup": 1}]})";
#endif
  const Sim::CommandLine line{.deviceFile = "d", .configFiles = {"c"}, .registers = true, .json = size % 2 == 0};
  Sim::run(line, device, {configuration}, /*colour=*/false);
  return 0;
}
