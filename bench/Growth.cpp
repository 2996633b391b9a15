// What does not get slower as interfaces and ACLs grow in number: time for one interface, or one ACL.
#include <memory>

#include <benchmark/benchmark.h>

#include "bench/Device.h"

namespace Kestrix::Bench {
namespace {

void perItem(benchmark::State& state, size_t items) {
  state.counters["each"] = benchmark::Counter(
      static_cast<double>(items), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// So many interfaces, on so many devices that are worked on in turn. Two arrangements with as many interfaces in all
// touch as much memory, and so wait as long for it; what differs between them is what a pass costs for being longer.
struct Fleet {
  explicit Fleet(const benchmark::State& state) : intfs(static_cast<size_t>(state.range(0))) {
    const auto count = static_cast<size_t>(state.range(1));
    for (size_t k = 0; k < count; ++k) devices.push_back(std::make_unique<Device>(intfs, k * intfs));
  }
  size_t intfs;
  std::vector<std::unique_ptr<Device>> devices;
};
void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgNames({"intfs", "devices"});
  for (const auto& [intfs, devices] : {std::pair(1, 1), {16, 1}, {256, 1}, {4096, 1}, {16, 16}, {16, 256}}) {
    benchmark->Args({intfs, devices});
  }
}

// An ACL on all interfaces is given anew.
void pass(benchmark::State& state) {
  const Fleet fleet(state);
  const auto web = fleet.devices[0]->acl("web");
  for (const auto& device : fleet.devices) {
    for (const IntfId intf : device->intfs) device->attach(web, intf);
  }
  for (auto _ : state) {
    for (const auto& device : fleet.devices) device->configure(web, 4);
  }
  perItem(state, fleet.intfs * fleet.devices.size());
}
BENCHMARK(pass)->Apply(sizes);

// The last interface is taken off an ACL that all have, and put on again.
void attachOneMore(benchmark::State& state) {
  const auto count = static_cast<size_t>(state.range(0));
  Device device(count);
  const auto web = device.acl("web");
  for (const IntfId intf : device.intfs) device.attach(web, intf);
  device.configure(web, 4);
  for (auto _ : state) {
    device.helper->removeIntfFromAcl({.intf = device.intfs.back()}, web, false);
    device.attach(web, device.intfs.back());
  }
  perItem(state, 1);
}
BENCHMARK(attachOneMore)->Arg(1)->Arg(16)->Arg(256)->Arg(4096);

// One of many ACLs, each on an interface of its own, is given anew.
void oneAclAmong(benchmark::State& state) {
  const auto count = static_cast<size_t>(state.range(0));
  Device device(count);
  std::vector<Ptr<AclData>> acls;
  for (size_t k = 0; k < count; ++k) {
    acls.push_back(device.acl(fmt::format("acl-{}", k)));
    device.attach(acls.back(), device.intfs[k]);
    device.configure(acls.back(), 4);
  }
  for (auto _ : state) device.configure(acls[count / 2], 4);
  perItem(state, 1);
}
BENCHMARK(oneAclAmong)->Arg(1)->Arg(64)->Arg(4096);

void dropDelay(benchmark::State& state) {
  const Fleet fleet(state);
  bool on = false;
  for (auto _ : state) {
    on = !on;
    for (const auto& device : fleet.devices) device->config->aclDropDelayIs(on);
  }
  perItem(state, fleet.intfs * fleet.devices.size());
}
BENCHMARK(dropDelay)->Apply(sizes);

}  // namespace
}  // namespace Kestrix::Bench
