// Feeds arbitrary bytes to a reader of kestrix-sim, of configurations, devices or dumps, and what it accepts to the
// library. Of all of them, whatever they say, it requires what holds for all.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "command/Run.h"

namespace {

const std::string kNothing = R"({"ietf-access-control-list:acls": {}})";

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "it does not hold that %s\n", what);
  std::abort();
}

bool isControl(char c) { return (c >= 0 && c < ' ' && c != '\n') || c == '\x7f'; }

[[maybe_unused]] void check(const std::string& device, const std::string& configuration) {
  Sim::CommandLine line{.deviceFile = "d", .configFiles = {"c", "c"}, .registers = true};
  const auto run = [&] { return Sim::run(line, device, {configuration, configuration}, /*colour=*/false); };
  const Sim::RunResult text = run();
  require(std::ranges::none_of(text.output, isControl), "no document steers a terminal");
  line.json = true, line.dumpFile = "f";
  const Sim::RunResult result = run();
  const auto report = nlohmann::json::parse(result.output);
  require(result.exitStatus == text.exitStatus, "a run ends in the same way whatever its report");
  require((report["result"] == "applied") == (result.exitStatus == Sim::kAllApplied), "the report says how it ended");
  if (result.exitStatus == Sim::kBadInput) return require(!report["diagnostics"].empty(), "what is wrong is said");
  const auto& again = report["steps"][1];
  const auto isRetry = [](const auto& change) { return change["kind"] == "retried"; };
  require(again["writes"] == 0 && std::ranges::all_of(again["changes"], isRetry), "the same again changes nothing");
  line.verify = Sim::VerifyOptions{.dumpFile = "f"};
  Sim::Progress none;
  const auto found =
      Sim::runVerify(line, {device}, {{configuration}, {configuration}}, {result.files[0].text}, {}, none);
  require(found.exitStatus == Sim::kEqual, "a device is as its dump says");
}

[[maybe_unused]] void checkDump(const std::string& device, const std::string& dump) {
  const Sim::CommandLine line{.deviceFile = "d",
                              .configFiles = {"c"},
                              .json = true,
                              .verify = Sim::VerifyOptions{.dumpFile = "f", .repair = true}};
  Sim::Progress none;
  const Sim::RunResult result = Sim::runVerify(line, {device}, {{kNothing}}, {dump}, {}, none);
  const auto report = nlohmann::json::parse(result.output);
  require(report.contains("repair") == (result.exitStatus != Sim::kBadInput), "what can be read can be mended");
  require(report["result"] == "differs" || result.exitStatus != Sim::kDiffers, "the report says how it ended");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
#if defined(KESTRIX_FUZZED_Device)
  check(text, kNothing);
#elif defined(KESTRIX_FUZZED_Dump)
  checkDump(R"({"inRules": 0, "outRules": 1, "interfaces": [{"name": "port-1", "core": 1, "portGroup": 1}]})", text);
#else
  check(R"({"inRules": 2, "outRules": 3, "interfaces": [
      {"name": "port-1", "core": 1, "portGroup": 1}, {"name": "port-2", "core": 2, "portGroup": 1}]})",
        text);
#endif
  return 0;
}
