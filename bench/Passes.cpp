// One of the library's passes, for counting its instructions: tools/instructions. Usage:
// kestrix_passes acl|pass|delay [INTERFACES] [points]. With `points` it prints how many trace points the pass meets.
#include <cstdlib>
#include <cstring>

#include "bench/Agent.h"
#include "model/AclTrace.h"

namespace Kestrix::Bench {
namespace {

bool countsPoints = false;

// Only what runs within is counted.
template <class Pass>
[[gnu::noinline]] void counted(Pass&& pass) {
  size_t points = 0;
  if (countsPoints) {
    aclTraceHandle().levelIs(Platform::kTraceDetail);
    aclTraceHandle().sinkIs([&](const Platform::TraceRecord&) { ++points; });
  }
  pass();
  if (countsPoints) {
    aclTraceHandle().sinkIs({});
    fmt::print("{}\n", points);
  }
  asm volatile("" ::: "memory");  // Not a jump: the pass ends in here.
}

int runPass(const char* name, size_t intfs) {
  if (std::strcmp(name, "acl") == 0) {  // 24 rules, from the pre-creation to the written filter of one interface.
    Agent agent(1);
    const auto web = agent.acl("web");
    agent.attach(web, agent.intfs[0]);
    agent.configure(web);
    counted([&] { agent.configure(web); });
  } else if (std::strcmp(name, "pass") == 0) {  // An ACL of 4 rules, configured again on all interfaces.
    Agent agent(intfs);
    const auto web = agent.acl("web");
    for (const IntfId intf : agent.intfs) agent.attach(web, intf);
    agent.configure(web, 4);
    counted([&] { agent.configure(web, 4); });
  } else if (std::strcmp(name, "delay") == 0) {  // The drop delay of all interfaces.
    Agent agent(intfs);
    counted([&] { agent.config->aclDropDelayIs(true); });
  } else {
    return 2;
  }
  return 0;
}

}  // namespace
}  // namespace Kestrix::Bench

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  Kestrix::Bench::countsPoints = argc > 3;
  return Kestrix::Bench::runPass(argv[1], argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 256);
}
