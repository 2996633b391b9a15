// What does not get slower as interfaces and ACLs grow in number: time for one interface, or one ACL.
#include <benchmark/benchmark.h>

#include "bench/Device.h"

namespace Kestrix::Bench {
namespace {

void perItem(benchmark::State& state, size_t items) {
  state.counters["each"] = benchmark::Counter(
      static_cast<double>(items), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// An ACL on all interfaces is given anew.
void pass(benchmark::State& state) {
  const auto count = static_cast<size_t>(state.range(0));
  Device device(count);
  const auto web = device.acl("web");
  for (const IntfId intf : device.intfs) device.attach(web, intf);
  for (auto _ : state) device.configure(web, 4);
  perItem(state, count);
}
BENCHMARK(pass)->Arg(1)->Arg(16)->Arg(256)->Arg(4096);

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
  const auto count = static_cast<size_t>(state.range(0));
  Device device(count);
  bool on = false;
  for (auto _ : state) device.config->aclDropDelayIs(on = !on);
  perItem(state, count);
}
BENCHMARK(dropDelay)->Arg(1)->Arg(16)->Arg(256)->Arg(4096);

}  // namespace
}  // namespace Kestrix::Bench
