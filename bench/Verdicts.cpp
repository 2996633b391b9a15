// What it costs kestrix-sim to compare what filters do with what is configured, on 4,096 interfaces with 1,000 ACLs of
// 24 rules: as a ratio to a run without, in CPU time, beside the limits.
#include <sys/resource.h>

#include <algorithm>
#include <ctime>
#include <random>
#include <string>

#include <fmt/format.h>

#include "command/Judge.h"
#include "command/Run.h"
#include "read/ConfigurationReader.h"
#include "simulate/Framework.h"
#include "simulate/SimFpga.h"

namespace {

using namespace Sim;

constexpr unsigned kIntfs = 4096, kAcls = 1000, kRules = 24;

std::string deviceText() {
  std::string text;
  for (unsigned i = 0; i < kIntfs; ++i) {
    text += fmt::format(R"({}{{"name": "p{}", "core": {}, "portGroup": {}}})", i == 0 ? "" : ",", i, i / 64 + 1,
                        i % 64 + 1);
  }
  return R"({"inRules": 24, "outRules": 24, "interfaces": [)" + text + "]}";
}

// Rules for hosts and networks of their own, half of them with a port.
std::string configurationText() {
  std::mt19937 random(1);
  const auto below = [&](unsigned limit) { return random() % limit; };
  std::string acls, points;
  for (unsigned a = 0; a < kAcls; ++a) {
    std::string aces;
    for (unsigned r = 0; r < kRules; ++r) {
      const bool isHost = below(2) == 0;
      const std::string tcp =
          below(2) == 0
              ? ""
              : fmt::format(R"(, "tcp": {{"source-port": {{"operator": "eq", "port": {}}}}})", below(60000) + 1);
      aces += fmt::format(R"({}{{"name": "r{}", "matches": {{"ipv4": {{"source-ipv4-network": "10.{}.{}.{}/{}"}}{}}},
          "actions": {{"forwarding": "{}"}}}})",
                          r == 0 ? "" : ",", r, below(256), below(256), isHost ? below(256) : 0, isHost ? 32 : 24, tcp,
                          below(2) == 0 ? "accept" : "drop");
    }
    acls += fmt::format(R"({}{{"name": "a{}", "type": "ipv4-acl-type", "aces": {{"ace": [{}]}}}})", a == 0 ? "" : ",",
                        a, aces);
  }
  for (unsigned i = 0; i < kIntfs; ++i) {
    points +=
        fmt::format(R"({}{{"interface-id": "p{}", "ingress": {{"acl-sets": {{"acl-set": [{{"name": "a{}"}}]}}}}}})",
                    i == 0 ? "" : ",", i, i % kAcls);
  }
  return fmt::format(
      R"({{"ietf-access-control-list:acls": {{"acl": [{}], "attachment-points": {{"interface": [{}]}}}}}})", acls,
      points);
}

// In seconds of CPU time.
double costOf(const auto& work) {
  const std::clock_t before = std::clock();
  work();
  return static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
}

bool isKept = true;
void print(const char* what, double figure, double limit, const char* unit) {
  isKept = isKept && figure <= limit;
  fmt::print("{:<80} {:>7.2f}{}  at most {}{}\n", what, figure, unit, limit, figure <= limit ? "" : "  NOT KEPT");
}

}  // namespace

int main() {
  const std::string device = deviceText(), configuration = configurationText();
  double all = 0, comparing = 0, slowest = 0;
  all = costOf([&] { run({.deviceFile = "d", .configFiles = {"c"}}, device, {configuration}, /*colour=*/false); });
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);

  Diagnostics diagnostics;
  const Device read = readDevice("d", device, diagnostics);
  const Configuration desired = readConfiguration("c", configuration, read, diagnostics);
  const auto fpga = Platform::make<SimFpga>();
  Framework framework(read, fpga, [](size_t, size_t) {});
  StepReport step{"c", {}, framework.apply(desired), {fpga->reader(), read}, {}};
  comparing = costOf([&] { Judge({}).judge({step, desired}, nullptr); });
  for (unsigned i = 0; i < 100; ++i) {
    const AclConfiguration* const acl = &desired.acls.at(i);
    const FilterDump& filter = step.filters.of(read.interfaces[i].id, Acl::AclDirection::in);
    slowest = std::max(slowest, costOf([&] { Comparer({}).compare(filter, Acls(&acl, 1)); }));
  }
  print("kestrix-sim apply / the same without the comparison", all / (all - comparing), 3, "");
  print("one filter by all readings, the slowest of 100", slowest * 1000, 100, " ms");
  print("memory of kestrix-sim apply", static_cast<double>(usage.ru_maxrss) / 1024, 300, " MB");
  return isKept ? 0 : 1;
}
