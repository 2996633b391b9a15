// One full filter: by the library, by calls with paths prepared beforehand, and by formatting each path.
#include <array>
#include <cstdio>

#include <benchmark/benchmark.h>

#include "bench/Agent.h"
#include "bench/Allocations.h"
#include "hw/FilterRegisters.h"

namespace Kestrix::Bench {
namespace {

using Paths = std::vector<std::pair<std::string, uint32_t>>;

// The writes of a full filter, in their order.
struct Recorder final : Platform::TransportMethod {
  uint32_t regRead(std::string_view) noexcept override { return 0; }
  void regWrite(std::string_view path, uint32_t value) noexcept override { paths.emplace_back(path, value); }
  Paths paths;
};

struct FullFilter : Agent {
  FullFilter() : Agent(1) {
    const auto web = acl("web");
    attach(web, intfs[0]);
    configure(web);
    image = helper->outShadowFilter()->shadowFilter(intfs[0])->genRegisters();
    const auto recorder = make<Recorder>();
    IntfIdToPortGroupId intfMap = helper->intfMap();
    aclHelperFactory(recorder, intfMap, 0, kSlots, vcsd)->regWriteHelper(image, intfs[0], kOut, false);
    paths = recorder->paths;
  }
  FilterRegisters image;
  Paths paths;
};

void preparedPaths(benchmark::State& state) {
  FullFilter agent;
  Platform::TransportMethod* transport = agent.transport.get();
  benchmark::DoNotOptimize(transport);  // The compiler must not know its class.
  for (auto _ : state) {
    for (const auto& [path, value] : agent.paths) transport->regWrite(path, value);
  }
}
BENCHMARK(preparedPaths);

void regWriteHelper(benchmark::State& state) {
  FullFilter agent;
  const size_t before = allocations().count;
  for (auto _ : state) agent.helper->regWriteHelper(agent.image, agent.intfs[0], kOut, false);
  state.counters["allocations"] =
      benchmark::Counter(static_cast<double>(allocations().count - before), benchmark::Counter::kAvgIterations);
}
BENCHMARK(regWriteHelper);

void formattedPaths(benchmark::State& state) {
  FullFilter agent;
  Platform::TransportMethod* transport = agent.transport.get();
  benchmark::DoNotOptimize(transport);
  std::array<char, 64> path{};
  const auto write = [&](int size, uint32_t value) {
    transport->regWrite({path.data(), static_cast<size_t>(size)}, value);
  };
  constexpr std::array kNames{"enable", "action", "tcp", "udp"};
  constexpr std::array kSlotNames{"mask_high", "mask_low", "addr_high", "addr_low"};
  for (auto _ : state) {
    for (const char* name : kNames) {
      write(std::snprintf(path.data(), path.size(), "msp_return[%d]/filter[%d]/%s", 0, 0, name), 1);
    }
    for (int slot = 0; slot < kSlots; ++slot) {
      for (const char* name : kSlotNames) {
        write(std::snprintf(path.data(), path.size(), "msp_return[%d]/filter[%d]/rule[%d]/%s", 0, 0, slot, name), 1);
      }
    }
  }
}
BENCHMARK(formattedPaths);

}  // namespace
}  // namespace Kestrix::Bench
