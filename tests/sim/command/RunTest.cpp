#include "command/Run.h"

#include <gmock/gmock.h>

#include <chrono>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "command/ExitStatus.h"
#include "sim/Documents.h"
#include "sim/Examples.h"

namespace Sim {
namespace {

using nlohmann::json;
using testing::HasSubstr;

json jsonOf(const RunResult& result) { return json::parse(result.output); }

const json kFits = ace("fits", R"("ipv4": {"destination-ipv4-network": "192.0.2.0/24"})", "drop"),
           kRange = ace("range", R"("tcp": {"source-port": {"lower-port": 1, "upper-port": 2}})", "drop"),
           kBad = ace("bad", R"("ipv4": {"ttl": 1})", "drop");

// A on port-1, with these ACEs, B on `intf`, C nowhere.
std::string threeAcls(const std::vector<json>& aces, const std::string& intf) {
  return document({acl("A", "ipv4", aces), acl("B", "ipv4", {kFits}), acl("C", "eth", {})},
                  {{"port-1", "ingress", {"A"}}, {intf, "egress", {"B"}}});
}

// The steps, ACLs and ACEs of a report by their states, slots and codes.
std::vector<std::string> statesOf(const json& report) {
  std::vector<std::string> states;
  const auto add = [&](const json& each, std::initializer_list<const char*> members) {
    std::string& state = states.emplace_back();
    for (const char* member : members) {
      if (!each.contains(member)) continue;
      if (!state.empty()) state += ' ';
      state += each[member].dump();
    }
    std::erase(state, '"');
  };
  for (const json& step : report["steps"]) {
    add(step, {"config", "applied", "writes"});
    for (const json& intf : step["interfaces"]) add(intf, {"interface", "acl", "state", "aclCreateError", "slotsUsed"});
    for (const json& acl : step["acls"]) {
      add(acl, {"name", "direction", "state", "code", "aclCreateError", "hasErrors"});
      for (const json& ace : acl["aces"])
        add(ace,
            {"name", "state", "slot", "code", "aclCreateError", "ports", "freeSlots", "fields", "settledBy", "path"});
    }
  }
  return states;
}

TEST(Run, OneBadDocumentHidesNothing) {
  const std::string good = threeAcls({kFits, kRange}, "port-2"), bad = threeAcls({kFits, kRange, kBad}, "eth0");
  const std::string device = example("edge-switch.json");
  const json alone = jsonOf(run({.configFiles = {"c1"}, .json = true}, device, {good}, false));
  const RunResult result = run({.configFiles = {"c1", "c2", "c3"},
                                .settings = {{2, "outShadowFilter.shadowFilter[port-1].multicast=1"}},
                                .json = true},
                               device, {good, bad, good}, false);
  const json report = jsonOf(result);
  EXPECT_EQ(result.exitStatus, kBadInput);
  EXPECT_EQ(report["result"], "bad-input");
  EXPECT_EQ(report["diagnostics"].size(), 2u);
  EXPECT_EQ(report["filters"], alone["filters"]);
  EXPECT_EQ(report["writes"], alone["writes"]);
  EXPECT_EQ(report["steps"][0]["acls"][0]["aces"][1]["next"][0]["code"], "side-conflict");
  const std::string range =
      "range refused port-range 13 2 23 [{name:source-port,value:1-2}] {ace:fits,field:{name:destination-ipv4-network,"
      "value:192.0.2.0/24},side:destination} /ietf-access-control-list:acls/acl/0/aces/ace/1";
  EXPECT_THAT(
      statesOf(report),
      testing::ElementsAre("c1 true 100", "port-1 A refused 13 0", "port-2 B active 1",
                           "A ingress refused port-range 13", "fits not-applied", range, "B egress applied",
                           "fits programmed 0", "C not-attached not-attached 0", "c2 false 0", "port-1 A refused 13 0",
                           "?1 B active 1", "?2 C active 0", "A ingress refused port-range 13 true", "fits not-applied",
                           range, "bad in-error", "B egress applied false", "fits programmed 0", "C applied false",
                           " false 0", "c3 false 0", "port-1 A refused 13 0", "port-2 B active 1",
                           "A ingress refused port-range 13 false", "fits not-applied", range, "B egress applied false",
                           "fits programmed 0", "C not-attached not-attached 0 false"));
  const std::string text = run({.configFiles = {"c2", "c3"}}, device, {bad, good}, false).output;
  for (const char* piece : {"Nothing of c2 was applied: it has errors.\n", "would be active",
                            "eth-acl-type): would, if it", "fits, but the ACL would not be applied",
                            "  bad    in error", "Nothing of c3 was applied: a document before it has errors.\n"}) {
    EXPECT_THAT(text, HasSubstr(piece));
  }
}

// The lines of progress when the clock advances by `step` whenever it is read.
std::vector<std::string> progressOf(std::chrono::milliseconds step) {
  std::vector<std::string> lines;
  auto now = Progress::Time();
  {
    Progress progress([&](std::string_view line) { lines.emplace_back(line); }, [&] { return now += step; });
    const std::string config = example("access-edge.json");
    run({.deviceFile = "d", .configFiles = {"v1", "v2"}}, {example("edge-switch.json")}, {{config}, {config}}, {},
        progress);
  }
  return lines;
}

TEST(Run, ProgressIsShownOnceItTakesLongAndTakenAwayInTheEnd) {
  EXPECT_THAT(progressOf(std::chrono::milliseconds(1)), testing::IsEmpty());
  const auto lines = progressOf(std::chrono::milliseconds(200));
  ASSERT_GT(lines.size(), 3u);
  EXPECT_THAT(lines, testing::Contains(HasSubstr("\r\033[Kapplying v2: 1 of ")));
  EXPECT_THAT(lines, testing::Not(testing::Contains(HasSubstr("reading"))));
  EXPECT_EQ(lines.back(), "\r\033[K");
  EXPECT_LT(progressOf(std::chrono::milliseconds(60)).size(), lines.size());
}

}  // namespace
}  // namespace Sim
