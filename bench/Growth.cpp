// What must not get slower as interfaces and ACLs grow in number: the time for one interface, or one ACL.
#include <memory>

#include <benchmark/benchmark.h>

#include "bench/Agent.h"

namespace Kestrix::Bench {
namespace {

void perItem(benchmark::State& state, size_t items) {
  state.counters["each"] = benchmark::Counter(
      static_cast<double>(items), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// Some agents with some interfaces each, worked on in turn. Two fleets with the same number of interfaces in all touch
// the same amount of memory, and so wait equally long for it: they differ only in what a longer pass costs.
struct Fleet {
  explicit Fleet(const benchmark::State& state) : intfs(static_cast<size_t>(state.range(0))) {
    const auto count = static_cast<size_t>(state.range(1));
    for (size_t k = 0; k < count; ++k) agents.push_back(std::make_unique<Agent>(intfs, k * intfs));
  }
  size_t intfs;
  std::vector<std::unique_ptr<Agent>> agents;
};
void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgNames({"intfs", "agents"});
  for (const auto& [intfs, agents] : {std::pair(1, 1), {16, 1}, {256, 1}, {4096, 1}, {16, 16}, {16, 256}}) {
    benchmark->Args({intfs, agents});
  }
}

// An ACL on all interfaces is configured again.
void pass(benchmark::State& state) {
  const Fleet fleet(state);
  const auto web = fleet.agents[0]->acl("web");
  for (const auto& agent : fleet.agents) {
    for (const IntfId intf : agent->intfs) agent->attach(web, intf);
  }
  for (auto _ : state) {
    for (const auto& agent : fleet.agents) agent->configure(web, 4);
  }
  perItem(state, fleet.intfs * fleet.agents.size());
}
BENCHMARK(pass)->Apply(sizes);

// The last interface is detached from an ACL that all have, and attached again.
void attachOneMore(benchmark::State& state) {
  const auto count = static_cast<size_t>(state.range(0));
  Agent agent(count);
  const auto web = agent.acl("web");
  for (const IntfId intf : agent.intfs) agent.attach(web, intf);
  agent.configure(web, 4);
  for (auto _ : state) {
    agent.helper->removeIntfFromAcl({.intf = agent.intfs.back()}, web, false);
    agent.attach(web, agent.intfs.back());
  }
  perItem(state, 1);
}
BENCHMARK(attachOneMore)->Arg(1)->Arg(16)->Arg(256)->Arg(4096);

// One of many ACLs, each on an interface of its own, is configured again.
void oneAclAmong(benchmark::State& state) {
  const auto count = static_cast<size_t>(state.range(0));
  Agent agent(count);
  std::vector<Ptr<AclData>> acls;
  for (size_t k = 0; k < count; ++k) {
    acls.push_back(agent.acl(fmt::format("acl-{}", k)));
    agent.attach(acls.back(), agent.intfs[k]);
    agent.configure(acls.back(), 4);
  }
  for (auto _ : state) agent.configure(acls[count / 2], 4);
  perItem(state, 1);
}
BENCHMARK(oneAclAmong)->Arg(1)->Arg(64)->Arg(4096);

void dropDelay(benchmark::State& state) {
  const Fleet fleet(state);
  bool on = false;
  for (auto _ : state) {
    on = !on;
    for (const auto& agent : fleet.agents) agent->config->aclDropDelayIs(on);
  }
  perItem(state, fleet.intfs * fleet.agents.size());
}
BENCHMARK(dropDelay)->Apply(sizes);

}  // namespace
}  // namespace Kestrix::Bench
