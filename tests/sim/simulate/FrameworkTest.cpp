#include "simulate/Framework.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "command/ExitStatus.h"
#include "command/Run.h"

namespace Sim {
namespace {

using nlohmann::json;

constexpr char kLittleDevice[] = R"({"inRules": 2, "outRules": 1, "interfaces": [
  {"name": "p1", "core": 1, "portGroup": 1}, {"name": "p2", "core": 1, "portGroup": 2},
  {"name": "p3", "core": 1, "portGroup": 3}]})";

std::string ipAcl(const std::string& name, const std::string& network, const std::string& rest) {
  return fmt::format(R"({{"name": "{}", "type": "ipv4-acl-type", "aces": {{"ace": [
      {{"name": "net", "matches": {{"ipv4": {{"destination-ipv4-network": "{}"}}}}, "actions": {{"forwarding": "drop"}}}},
      {{"name": "rest", "actions": {{"forwarding": "{}"}}}}]}}}})",
                     name, network, rest);
}

std::string macAcl(const std::string& name, const std::string& arp) {
  return fmt::format(R"({{"name": "{}", "type": "eth-acl-type", "aces": {{"ace": [
      {{"name": "arp", "matches": {{"eth": {{"ethertype": "arp"}}}}, "actions": {{"forwarding": "{}"}}}},
      {{"name": "rest", "actions": {{"forwarding": "accept"}}}}]}}}})",
                     name, arp);
}

std::string aclSet(const std::string& direction, const std::string& acls) {
  return fmt::format(R"("{}": {{"acl-sets": {{"acl-set": [{}]}}}})", direction, acls);
}

std::string point(const std::string& intf, const std::string& sets) {
  return fmt::format(R"({{"interface-id": "{}", {}}})", intf, sets);
}

std::string document(const std::string& acls, const std::string& points, const std::string& disabled) {
  return fmt::format(R"({{"ietf-access-control-list:acls": {{"acl": [{}], "attachment-points": {{"interface": [{}]}}}},
      "ietf-interfaces:interfaces": {{"interface": [
      {{"name": "{}", "type": "iana-if-type:ethernetCsmacd", "enabled": false}}]}}}})",
                     acls, points, disabled);
}

// A is changed and leaves p1 to B; C and the MAC ACL of p2 go; another interface is disabled.
const std::string kBefore =
    document(ipAcl("A", "192.0.2.0/24", "accept") + "," + ipAcl("B", "198.51.100.0/24", "drop") + "," +
                 ipAcl("C", "203.0.113.0/24", "accept") + "," + macAcl("M", "drop"),
             point("p1", aclSet("ingress", R"({"name": "A"})")) + "," +
                 point("p2", aclSet("ingress", R"({"name": "A"}, {"name": "M"})")) + "," +
                 point("p3", aclSet("ingress", R"({"name": "B"})") + "," + aclSet("egress", R"({"name": "C"})")),
             "p2");
const std::string kAfter = document(
    ipAcl("A", "192.0.2.0/25", "drop") + "," + ipAcl("B", "198.51.100.0/24", "drop") + "," + macAcl("M", "accept"),
    point("p1", aclSet("ingress", R"({"name": "B"}, {"name": "M"})")) + "," +
        point("p2", aclSet("ingress", R"({"name": "A"})")) + "," + point("p3", aclSet("ingress", R"({"name": "B"})")),
    "p3");

// The report of the two configurations, of which the second one is given twice.
json reportOf(std::set<uint64_t> failWrites) {
  return json::parse(run({.configFiles = {"1", "2", "3"}, .json = true, .failWrites = std::move(failWrites)},
                         kLittleDevice, {kBefore, kAfter, kAfter}, /*colour=*/false)
                         .output);
}

bool isAllWell(const json& step) {
  return step["deviations"].empty() && step["differences"].empty() &&
         std::ranges::all_of(step["acls"], [](const json& acl) { return acl["state"] == "applied"; });
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
      const json &step = report["steps"][failing], &next = report["steps"][failing + 1];
      const bool isOfLinkMonitor = report["failedWrites"][0]["path"].get<std::string>().ends_with("linkmon_ctl");
      // What the second step fails to clear can be cleared once more in it.
      if (failing == 0 || isOfLinkMonitor) {
        EXPECT_EQ(isAllWell(step), isOfLinkMonitor);
      }
      EXPECT_EQ(step["blocked"] == good["steps"][failing]["blocked"], !isOfLinkMonitor);
      EXPECT_TRUE(isAllWell(next)) << next["acls"] << next["deviations"];
      EXPECT_EQ(next["blocked"], good["steps"][failing + 1]["blocked"]);
      EXPECT_EQ(report["filters"], good["filters"]);
    }
  }
}

}  // namespace
}  // namespace Sim
