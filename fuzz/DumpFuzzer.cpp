// Feeds arbitrary bytes to kestrix-sim verify as the dump of a small device.
#include <cstddef>
#include <cstdint>

#include "command/CommandLine.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string dump(reinterpret_cast<const char*>(data), size);
  const std::string device =
      R"({"inRules": 0, "outRules": 1, "interfaces": [{"name": "port-1", "core": 1, "portGroup": 1}]})";
  const std::string configuration = R"({"ietf-access-control-list:acls": {}})";
  const Sim::CommandLine line{.deviceFile = "d",
                              .configFiles = {"c"},
                              .json = size % 2 == 0,
                              .verify = Sim::VerifyOptions{.dumpFile = "f", .repair = true}};
  Sim::Progress none;
  Sim::runVerify(line, {device}, {{configuration}}, {dump}, {}, none);
  return 0;
}
