#include "command/Run.h"

#include <gmock/gmock.h>

#include <chrono>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "command/ExitStatus.h"
#include "support/Docs.h"

namespace Sim {
namespace {

using nlohmann::json;
using testing::HasSubstr;

std::string example(const std::string& name) { return Kestrix::Test::textOfFile(KESTRIX_ROOT "examples/" + name); }

json jsonOf(const RunResult& result) { return json::parse(result.output); }

TEST(Run, DeviceThatTheLibraryRefusesIsBadInput) {
  const RunResult result =
      run({.deviceFile = "d.json", .configFiles = {"c.json"}, .json = true},
          R"({"inRules": 25, "outRules": 1, "interfaces": []})", {R"({"ietf-access-control-list:acls": {}})"}, false);
  EXPECT_EQ(result.exitStatus, kBadInput);
  EXPECT_THAT(result.output, HasSubstr("Kestrix::AclHelper.inRules: 25 is above the limit 24"));
}

TEST(Run, AFailedWriteIsToldUntilALaterStepMendsIt) {
  const std::string config = example("access-edge.json");
  const json report = jsonOf(run({.configFiles = {"v1", "v2"}, .json = true, .failWrites = {120}},
                                 example("edge-switch.json"), {config, config}, /*colour=*/false));
  const json &first = report["steps"][0]["acls"][0], &second = report["steps"][1];
  EXPECT_EQ(first["state"].dump() + first["code"].dump(), R"("failed""write-failed")");
  EXPECT_EQ(report["failedWrites"][0]["number"], 120);
  EXPECT_EQ(second["changes"][0]["kind"], "retried");
  EXPECT_TRUE(second["acls"][0]["state"] == "applied" && second["deviations"].empty());
}

TEST(Run, TheVerdictOfAMacAclLosesAgainstThatOfTheIpv4Acl) {
  const std::string document = R"({"ietf-access-control-list:acls": {"acl": [
      {"name": "I", "type": "ipv4-acl-type", "aces": {"ace": [{"name": "all", "actions": {"forwarding": "accept"}}]}},
      {"name": "M", "type": "eth-acl-type", "aces": {"ace": [{"name": "all", "actions": {"forwarding": "drop"}}]}}],
    "attachment-points": {"interface": [
      {"interface-id": "port-1", "ingress": {"acl-sets": {"acl-set": [{"name": "I"}, {"name": "M"}]}}}]}}})";
  EXPECT_THAT(
      run({.configFiles = {"c"}}, example("edge-switch.json"), {document}, false).output,
      HasSubstr("ACL M (eth-acl-type, ingress): applied\n  all  no slot: denies everything that no slot matches; "
                "not on port-1, where the other ACL of the filter decides it\n"));
}

// Two ACLs of which one refers to what is missing, each with `ace` among its ACEs.
std::string twoAcls(const std::string& ace) {
  const std::string aces = R"({"name": "fits", "matches": {"ipv4": {"destination-ipv4-network": "192.0.2.0/24"}},
      "actions": {"forwarding": "drop"}}, {"name": "range", "matches": {"tcp": {"source-port": {"lower-port": 1,
      "upper-port": 2}}}, "actions": {"forwarding": "drop"}})" +
                           ace;
  return fmt::format(R"({{"ietf-access-control-list:acls": {{"acl": [
      {{"name": "A", "type": "ipv4-acl-type", "aces": {{"ace": [{0}]}}}},
      {{"name": "B", "type": "ipv4-acl-type", "aces": {{"ace": [{1}]}}}},
      {{"name": "C", "type": "eth-acl-type"}}],
    "attachment-points": {{"interface": [
      {{"interface-id": "port-1", "ingress": {{"acl-sets": {{"acl-set": [{{"name": "A"}}]}}}}}},
      {{"interface-id": "{2}", "egress": {{"acl-sets": {{"acl-set": [{{"name": "B"}}]}}}}}}]}}}}}})",
                     aces, aces.substr(0, aces.find(", {")), ace.empty() ? "port-2" : "eth0");
}

// The steps, ACLs and ACEs of a report by their states, slots and codes.
std::vector<std::string> statesOf(const json& report) {
  std::vector<std::string> states;
  const auto add = [&](const json& each, std::initializer_list<const char*> members) {
    std::string& state = states.emplace_back();
    for (const char* member : members) {
      if (each.contains(member)) state += (state.empty() ? "" : " ") + each[member].dump();
    }
    std::erase(state, '"');
  };
  for (const json& step : report["steps"]) {
    add(step, {"config", "applied", "writes"});
    for (const json& intf : step["interfaces"]) add(intf, {"interface", "acl", "state", "slotsUsed"});
    for (const json& acl : step["acls"]) {
      add(acl, {"name", "direction", "state", "code", "hasErrors"});
      for (const json& ace : acl["aces"])
        add(ace, {"name", "state", "slot", "code", "ports", "freeSlots", "fields", "settledBy", "path"});
    }
  }
  return states;
}

TEST(Run, OneBadDocumentHidesNothing) {
  const std::string good = twoAcls(""), bad = twoAcls(R"(, {"name": "bad", "matches": {"ipv4": {"ttl": 1}},
      "actions": {"forwarding": "drop"}})");
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
      "range refused port-range 2 23 [{name:source-port,value:1-2}] {ace:fits,field:{name:destination-ipv4-network,"
      "value:192.0.2.0/24},side:destination} /ietf-access-control-list:acls/acl/0/aces/ace/1";
  EXPECT_THAT(statesOf(report),
              testing::ElementsAre(
                  "c1 true 100", "port-1 A refused 0", "port-2 B active 1", "A ingress refused port-range",
                  "fits not-applied", range, "B egress applied", "fits programmed 0", "C not-attached not-attached",
                  "c2 false 0", "port-1 A refused 0", "?1 B active 1", "?2 C active 0",
                  "A ingress refused port-range true", "fits not-applied", range, "bad in-error",
                  "B egress applied false", "fits programmed 0", "C applied false", " false 0", "c3 false 0",
                  "port-1 A refused 0", "port-2 B active 1", "A ingress refused port-range false", "fits not-applied",
                  range, "B egress applied false", "fits programmed 0", "C not-attached not-attached false"));
  const std::string text = run({.configFiles = {"c2", "c3"}}, device, {bad, good}, false).output;
  for (const char* piece : {"Nothing of c2 was applied: it has errors.\n", "would be active",
                            "eth-acl-type): would, if it", "fits, but the ACL would not be applied",
                            "  bad    in error", "Nothing of c3 was applied: a document before it has errors.\n"}) {
    EXPECT_THAT(text, HasSubstr(piece));
  }
}

// Random desired states: an example without some of its rules and attachments. With `sharing`, some filters have an ACL
// of each type, which may conflict.
class Sequences {
 public:
  explicit Sequences(unsigned seed) : random_(seed) {}
  uint64_t below(uint64_t limit) { return random_() % limit; }

  std::string configuration(bool sharing) {
    const char* const names[] = {"access-edge.json", "shared-filter.json", "shared-filter-2.json",
                                 "type-conflict.json"};
    json document = json::parse(example(names[sharing ? below(4) : 0]));
    json& acls = document["ietf-access-control-list:acls"];
    for (json& acl : acls["acl"]) thin(acl["aces"]["ace"]);
    for (json& point : acls["attachment-points"]["interface"]) {
      for (const char* direction : {"ingress", "egress"}) {
        if (point.contains(direction)) thin(point[direction]["acl-sets"]["acl-set"]);
      }
    }
    return document.dump();
  }

 private:
  void thin(json& list) {
    for (size_t i = list.size(); i-- > 0;) {
      if (below(3) == 0) list.erase(i);
    }
  }
  std::mt19937 random_;
};

std::set<std::string> whereDifferent(const json& left, const json& right) {
  std::map<std::string, std::vector<json>> filters;
  for (const json* report : {&left, &right}) {
    for (const json& filter : (*report)["filters"]) {
      filters[std::string(filter["interface"]) + " " + std::string(filter["direction"])].push_back(filter);
    }
  }
  std::set<std::string> places;
  for (const auto& [place, held] : filters) {
    if (held.size() != 2 || held[0] != held[1]) places.insert(place);
  }
  return places;
}

// Whatever way led to its last desired state, the device holds what a fresh one would, or the report says where not.
TEST(Run, TheWayToAStateLeavesNoTraceThatIsNotReported) {
  const std::string device = example("edge-switch.json");
  size_t reported = 0;
  for (unsigned seed = 0; seed < 60; ++seed) {
    const bool sharing = seed % 3 == 0, failing = seed % 3 == 1;
    Sequences sequences(seed);
    std::vector<std::string> texts;
    for (uint64_t steps = 2 + sequences.below(4); steps > 0; --steps) texts.push_back(sequences.configuration(sharing));
    CommandLine line{.configFiles = std::vector<std::string>(texts.size(), "c"), .json = true};
    const json fresh = jsonOf(run(line, device, {texts.back()}, false));
    if (failing) line.failWrites = {17 + sequences.below(400)};
    const json report = jsonOf(run(line, device, texts, false));
    SCOPED_TRACE(fmt::format("seed {}: {}", seed, fmt::join(texts, "\n")));
    std::set<std::string> deviations;
    for (const json& each : report["steps"].back()["deviations"]) {
      deviations.insert(std::string(each["interface"]) + " " + std::string(each["direction"]));
    }
    ASSERT_EQ(whereDifferent(report, fresh), deviations);
    if (!sharing && !failing) {
      ASSERT_TRUE(deviations.empty());
      ASSERT_EQ(report["result"], "applied");
    }
    reported += deviations.size();
  }
  EXPECT_GT(reported, 0u);
}

TEST(Run, ColourOnlyWhereAskedFor) {
  const std::string device = example("edge-switch.json");
  const std::string config = example("access-edge.json");
  EXPECT_EQ(run({.configFiles = {"c"}}, device, {config}, false).output.find('\033'), std::string::npos);
  EXPECT_NE(run({.configFiles = {"c"}}, device, {config}, true).output.find("\033[32mactive"), std::string::npos);
}

// The lines of progress when the clock advances by `step` whenever it is read.
std::vector<std::string> progressOf(std::chrono::milliseconds step) {
  std::vector<std::string> lines;
  auto now = Progress::Time();
  {
    Progress progress([&](std::string_view line) { lines.emplace_back(line); }, [&] { return now += step; });
    const std::string config = example("access-edge.json");
    run({.deviceFile = "d", .configFiles = {"v1", "v2"}}, example("edge-switch.json"), {config, config}, false,
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

TEST(CommandLine, RefusesWhatItDoesNotKnow) {
  using Words = std::vector<const char*>;
  for (Words bad :
       {Words{"d"}, {"d", "c", "--fail-write", "0"}, {"d", "c", "--trace", "x"}, {"d", "c", "--drop-delay", "1"}}) {
    int exitStatus = -1;
    bad.insert(bad.begin(), {"kestrix-sim", "apply"});
    EXPECT_FALSE(parseCommandLine(static_cast<int>(bad.size()), bad.data(), exitStatus));
    EXPECT_EQ(exitStatus, kBadInput);
  }
}

}  // namespace
}  // namespace Sim
