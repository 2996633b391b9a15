// Runs the benchmarks and prints what they amount to, as ratios to a baseline of the same run, beside the limits.
#include <map>

#include <benchmark/benchmark.h>

#include "bench/Agent.h"
#include "bench/Allocations.h"

namespace Kestrix::Bench {
namespace {

// The times and counters of the benchmarks, by name.
class Collector final : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration && run.repetitions > 1) continue;
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
      const std::string name = run.run_name.str();
      figures_[name] = run.GetAdjustedCPUTime();
      for (const auto& [counter, value] : run.counters) figures_[name + "." + counter] = value;
    }
  }
  // 0 when it did not run.
  double operator[](const std::string& name) const {
    const auto found = figures_.find(name);
    return found == figures_.end() ? 0 : found->second;
  }

 private:
  std::map<std::string, double> figures_;
};

bool isKept = true;
void print(const std::string& what, double figure, const std::string& limit, bool keeps) {
  if (!keeps) isKept = false;
  fmt::print("{:<80} {:>6.2f}  {:<12} {}\n", what, figure, limit, keeps ? "" : "NOT KEPT");
}

void printRatios(const Collector& figures) {
  if (const double prepared = figures["preparedPaths"]; prepared > 0) {
    const double writing = figures["regWriteHelper"], formatting = figures["formattedPaths"];
    print("a full filter / the same calls with prepared paths", writing / prepared, "at most 5",
          writing <= 5 * prepared);
    print("a full filter by snprintf / a full filter", formatting / writing, "at least 20", formatting >= 20 * writing);
    print("allocations for a full filter", figures["regWriteHelper.allocations"], "0",
          figures["regWriteHelper.allocations"] == 0);
  }
  // What a longer pass costs per interface or ACL, in proportion to a shorter one.
  const auto printGrowth = [&](const char* what, const std::string& larger, const std::string& smaller, double limit) {
    const double many = figures[larger + ".each"], few = figures[smaller + ".each"];
    if (many == 0 || few == 0) return;
    print(fmt::format("{} / {}, each{}", larger, smaller, what), many / few,
          limit == 0 ? "" : fmt::format("at most {}", limit), limit == 0 || many <= limit * few);
  };
  for (const char* pass : {"pass", "dropDelay"}) {
    for (const int factor : {16, 256}) {
      const auto name = [&](int intfs, int agents) {
        return fmt::format("{}/intfs:{}/agents:{}", pass, intfs, agents);
      };
      // The longest passes go through all their memory several times, the many short ones once: their limit is in
      // instructions, in tools/instructions.
      printGrowth("", name(16 * factor, 1), name(16, factor), factor == 16 ? 1.15 : 0);
      printGrowth(", caches included", name(16 * factor, 1), name(16, 1), 0);
    }
  }
  printGrowth("", "attachOneMore/256", "attachOneMore/16", 1.15);
  printGrowth("", "attachOneMore/4096", "attachOneMore/16", 1.15);
  printGrowth("", "oneAclAmong/4096", "oneAclAmong/64", 1.15);
}

// The bytes held for one of many, in proportion to those of the attributes themselves.
void printMemory() {
  constexpr size_t kMany = 1000;
  Agent agent(kMany);
  std::vector<Ptr<AclData>> acls;
  for (size_t k = 0; k < kMany; ++k) acls.push_back(agent.acl(fmt::format("acl-{}", k)));
  const auto held = [&](const auto& step) {
    const size_t before = allocations().bytes;
    for (size_t k = 0; k < kMany; ++k) step(k);
    return static_cast<double>(allocations().bytes - before) / kMany;
  };
  const double acl = held([&](size_t k) {
    agent.attach(acls[k], agent.intfs[k]);
    agent.helper->precreateAcl(acls[k], nullptr);
  });
  const double rules = held([&](size_t k) {
    for (uint16_t port = 1; port <= kSlots; ++port) agent.rule(acls[k], port);
  });
  const double filter = held([&](size_t k) { agent.helper->createFinalAclRule(Acl::AclType::ipv4, acls[k], 99); });
  const auto printBytes = [](const char* what, double bytes, size_t attributes) {
    print(fmt::format("{}: {:.0f} bytes / {} of the attributes", what, bytes, attributes),
          bytes / static_cast<double>(attributes), "at most 2", bytes <= 2 * static_cast<double>(attributes));
  };
  printBytes("an ACL on one interface", acl, sizeof(ShadowAcl) + sizeof(IpAcl) + sizeof(AclKey) + sizeof(IntfId));
  printBytes("a rule", rules / kSlots, 1 + sizeof(AclRule));
  printBytes("a full filter, beside the empty one", filter, kSlots * (1 + sizeof(AclRule)));
}

}  // namespace
}  // namespace Kestrix::Bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  Kestrix::Bench::Collector figures;
  benchmark::RunSpecifiedBenchmarks(&figures);
  fmt::print("\n");
  Kestrix::Bench::printRatios(figures);
  Kestrix::Bench::printMemory();
  return Kestrix::Bench::isKept ? 0 : 1;
}
