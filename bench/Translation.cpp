// A whole ACL of 24 rules, from its pre-creation to the written filter, and what the shadow of it holds.
#include <benchmark/benchmark.h>

#include "bench/Agent.h"
#include "bench/Allocations.h"

namespace Kestrix::Bench {
namespace {

void wholeAcl(benchmark::State& state) {
  Agent agent(1);
  const auto web = agent.acl("web");
  agent.attach(web, agent.intfs[0]);
  agent.configure(web);
  const size_t before = allocations().count;
  for (auto _ : state) agent.configure(web);
  state.counters["allocations"] =
      benchmark::Counter(static_cast<double>(allocations().count - before), benchmark::Counter::kAvgIterations);
}
BENCHMARK(wholeAcl);

// The 24 rules of it alone, not written.
void translation(benchmark::State& state) {
  Agent agent(1);
  const auto web = agent.acl("web");
  agent.attach(web, agent.intfs[0]);
  size_t count = 0;
  for (auto _ : state) {
    state.PauseTiming();
    agent.helper->precreateAcl(web, nullptr);
    const size_t before = allocations().count;
    state.ResumeTiming();
    for (uint16_t k = 0; k < kSlots; ++k) agent.rule(web, k);
    count += allocations().count - before;
  }
  state.counters["allocations"] = benchmark::Counter(static_cast<double>(count), benchmark::Counter::kAvgIterations);
}
BENCHMARK(translation);

}  // namespace
}  // namespace Kestrix::Bench
