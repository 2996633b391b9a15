#include "simulate/Framework.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "command/Run.h"
#include "sim/Documents.h"

namespace Sim {
namespace {

using nlohmann::json;

constexpr char kLittleDevice[] = R"({"inRules": 2, "outRules": 1, "interfaces": [
  {"name": "p1", "core": 1, "portGroup": 1}, {"name": "p2", "core": 1, "portGroup": 2},
  {"name": "p3", "core": 1, "portGroup": 3}]})";

json ipAcl(const std::string& name, const std::string& network, const std::string& rest) {
  return acl(name, "ipv4",
             {ace("net", fmt::format(R"("ipv4": {{"destination-ipv4-network": "{}"}})", network), "drop"),
              ace("rest", "", rest)});
}
json macAcl(const std::string& arp) {
  return acl("M", "eth", {ace("arp", R"("eth": {"ethertype": "arp"})", arp), ace("rest", "", "accept")});
}

// A is changed and leaves p1 to B; C and the MAC ACL are detached; another interface is disabled.
const std::string kBefore = document(
    {ipAcl("A", "192.0.2.0/24", "accept"), ipAcl("B", "198.51.100.0/24", "drop"),
     ipAcl("C", "203.0.113.0/24", "accept"), macAcl("drop")},
    {{"p1", "ingress", {"A"}}, {"p2", "ingress", {"A", "M"}}, {"p3", "ingress", {"B"}}, {"p3", "egress", {"C"}}}, "p2");
const std::string kAfter =
    document({ipAcl("A", "192.0.2.0/25", "drop"), ipAcl("B", "198.51.100.0/24", "drop"),
              ipAcl("C", "203.0.113.0/24", "accept"), macAcl("accept")},
             {{"p1", "ingress", {"B", "M"}}, {"p2", "ingress", {"A"}}, {"p3", "ingress", {"B"}}}, "p3");

// The report of five steps: before, after, after again, before, before again.
json reportOf(const std::set<uint64_t>& failWrites) {
  const std::vector<std::string> documents{kBefore, kAfter, kAfter, kBefore, kBefore};
  return json::parse(run({.configFiles = {"1", "2", "3", "4", "5"}, .json = true, .failWrites = failWrites},
                         kLittleDevice, documents, /*colour=*/false)
                         .output);
}

bool isAllWell(const json& step) {
  return step["deviations"].empty() && step["differences"].empty() &&
         std::ranges::all_of(
             step["acls"], [](const json& acl) { return acl["state"] == "applied" || acl["state"] == "not-attached"; });
}

// What is said of the last step, and what the device holds then.
std::vector<json> endOf(const json& report) {
  const json& last = report["steps"].back();
  return {last["acls"], last["interfaces"], last["deviations"], last["blocked"], report["filters"]};
}

// Whatever write fails, the next step mends it, and until then it is said.
TEST(Framework, MendsEachFailedWriteInTheNextStep) {
  const json good = reportOf({});
  ASSERT_EQ(good["result"], "applied") << good["diagnostics"];
  uint64_t number = good["startupWrites"];
  for (const size_t failing : {size_t{0}, size_t{1}}) {
    for (const uint64_t last = number + uint64_t(good["steps"][failing]["writes"]); number < last;) {
      const json report = reportOf({++number});
      SCOPED_TRACE(fmt::format("write {}, to {}", number, report["failedWrites"][0]["path"].dump()));
      EXPECT_EQ(report["failedWrites"][0]["number"], number);
      const json &step = report["steps"][failing], &next = report["steps"][failing + 1];
      for (const json& acl : step["acls"]) EXPECT_TRUE(acl["state"] != "failed" || acl["code"] == "write-failed");
      for (const json& change : step["changes"]) EXPECT_NE(change["kind"], "retried") << "in the same step";
      const bool isOfLinkMonitor = report["failedWrites"][0]["path"].get<std::string>().ends_with("linkmon_ctl");
      // What the second step fails to clear can be cleared once more in it.
      if (failing == 0 || isOfLinkMonitor) {
        EXPECT_EQ(isAllWell(step), isOfLinkMonitor);
      }
      EXPECT_EQ(step["blocked"] == good["steps"][failing]["blocked"], !isOfLinkMonitor);
      EXPECT_TRUE(isAllWell(next)) << next["acls"] << next["deviations"];
      EXPECT_EQ(next["blocked"], good["steps"][failing + 1]["blocked"]);
      EXPECT_EQ(endOf(report), endOf(good));
    }
  }
}

TEST(Plan, AnInterfaceIsHandedOverOnceTheOtherAclIsThereAndNoErrorIsLeft) {
  EXPECT_TRUE(hasTakenOver({.isActive = true}, {.isActive = true}));
  EXPECT_FALSE(hasTakenOver({}, {.isActive = true}));
  EXPECT_FALSE(hasTakenOver({.isActive = true}, {.isInError = true}));
}

}  // namespace
}  // namespace Sim
