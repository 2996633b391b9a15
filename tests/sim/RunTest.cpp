#include "Run.h"

#include <gmock/gmock.h>

#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "ExitStatus.h"
#include "RegisterWords.h"

namespace Sim {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

std::string example(const std::string& name) {
  std::ostringstream text;
  text << std::ifstream(KESTRIX_EXAMPLES + name).rdbuf();
  return text.str();
}

RunResult runExamples(const std::string& device, const std::vector<std::string>& configs, CommandLine line = {}) {
  line.deviceFile = device;
  line.configFiles = configs;
  std::vector<std::string> texts;
  for (const std::string& config : configs) texts.push_back(example(config));
  return run(line, example(device), texts, /*colour=*/false);
}

json jsonOf(const RunResult& result) { return json::parse(result.output); }

const json& filterOf(const json& report, const std::string& interface, const std::string& direction) {
  for (const json& filter : report["filters"]) {
    if (filter["interface"] == interface && filter["direction"] == direction) return filter;
  }
  throw std::out_of_range("no filter of " + interface);
}

TEST(Run, PolicyThatFitsBecomesRegisters) {
  const RunResult result = runExamples("edge-switch.json", {"access-edge.json"}, {.json = true});
  EXPECT_EQ(result.exitStatus, kAllApplied);
  const json report = jsonOf(result);
  EXPECT_EQ(report["result"], "applied");
  EXPECT_EQ(report["writes"], 316);
  EXPECT_EQ(report["startupWrites"], 16);
  EXPECT_EQ(report["steps"][0]["interfaces"].size(), 3u);

  const json& filter = filterOf(report, "port-2", "ingress");
  EXPECT_EQ(filter["path"], "msp_send[0]/i_filter[1]/");
  EXPECT_EQ(filter["enable"]["value"], 0x7f03);
  EXPECT_EQ(filter["action"]["value"], 0x308);
  EXPECT_EQ(filter["tcp"]["value"], 0x7c);
  EXPECT_EQ(filter["udp"]["value"], 0x3f);
  EXPECT_EQ(filter["rules"][0], json::parse(R"({"slot": 0, "mask_high": 0, "mask_low": 0, "addr_high": 53,
      "addr_low": 3221226037, "words": "permit UDP, destination 192.0.2.53/32, port 53"})"));
  EXPECT_EQ(filter["rules"].size(), 7u);
}

TEST(Run, DropDelayOfTheCommandLineWins) {
  const json report = jsonOf(runExamples("edge-switch.json", {"access-edge.json"}, {.json = true, .dropDelay = true}));
  EXPECT_EQ(filterOf(report, "port-2", "ingress")["enable"]["value"], 0x7f07);
  EXPECT_EQ(filterOf(report, "port-8", "egress")["enable"]["value"], 0x4);
}

TEST(Run, EveryRefusalOfTheLibraryIsExplained) {
  const RunResult result = runExamples("small-switch.json", {"refusals.json"}, {.json = true});
  EXPECT_EQ(result.exitStatus, kNotAllApplied);
  const json report = jsonOf(result);
  std::set<std::string> codes;
  for (const json& acl : report["steps"][0]["acls"]) {
    if (acl.contains("code")) codes.insert(acl["code"]);
  }
  EXPECT_THAT(codes, ElementsAre("acl-type", "both-sides", "ethertype", "ip-length", "ip-protocol", "no-ingress",
                                 "no-slot", "port-range", "side-conflict"));
  // Translating goes on after a refusal, so that all of them are shown.
  const json& range = report["steps"][0]["acls"][1];
  EXPECT_EQ(range["aces"][1]["name"], "not-telnet");
  EXPECT_EQ(range["aces"][1]["reason"], "port ranges unsupported");
  for (const json& interface : report["steps"][0]["interfaces"]) {
    EXPECT_EQ(interface["state"] == "active", interface["acl"] == "not-programmed") << interface;
  }
}

// Nobody may read these as programmed.
TEST(Run, RulesWithoutASlotAreShownAsWhatTheyAre) {
  const std::string text = runExamples("small-switch.json", {"refusals.json"}).output;
  EXPECT_THAT(text, HasSubstr("ACL not-programmed (ipv4-acl-type, egress): applied\n"
                              "  fragments  accepted, not enforced: the hardware does not tell fragments apart\n"
                              "  lab        slot 0: deny any protocol, source 192.0.2.0/24\n"
                              "  all        no slot: permits everything that no slot matches\n"
                              "  too-late   never reached: an earlier rule decides all that it matches\n"));
  EXPECT_THAT(text, HasSubstr("  host-4  fits, but the ACL is not applied\n"
                              "  host-5  refused: no available rule registers\n"));
}

TEST(Run, WhatTheHardwareWouldMisreadIsNotApplied) {
  const RunResult result = runExamples("edge-switch.json", {"misread.json"}, {.json = true});
  EXPECT_EQ(result.exitStatus, kBadInput);
  std::vector<std::string> codes;
  const json report = jsonOf(result);
  for (const json& each : report["diagnostics"]) codes.push_back(each["code"]);
  EXPECT_THAT(codes, ElementsAre("any-network", "port-zero", "protocol-zero", "length-zero", "not-matchable",
                                 "not-matchable", "conflicting-members", "no-reject", "not-logged", "any-address",
                                 "ethertype-zero", "missing-member"));
}

TEST(Run, DeviceThatTheLibraryRefusesIsBadInput) {
  const RunResult result =
      run({.deviceFile = "d.json", .configFiles = {"c.json"}, .json = true},
          R"({"inRules": 25, "outRules": 1, "interfaces": []})", {R"({"ietf-access-control-list:acls": {}})"}, false);
  EXPECT_EQ(result.exitStatus, kBadInput);
  EXPECT_THAT(result.output, HasSubstr("Kestrix::AclHelper.inRules: 25 is above the limit 24"));
}

// The 117th write is the first of the second filter; the 3rd belongs to start-up.
TEST(Run, AFailedWriteFailsItsInterfaceAndALaterStepMendsIt) {
  const RunResult result =
      runExamples("edge-switch.json", {"access-edge.json", "access-edge.json"}, {.json = true, .failWrites = {120}});
  EXPECT_EQ(result.exitStatus, kNotAllApplied);
  const json report = jsonOf(result);
  const json &first = report["steps"][0], &second = report["steps"][1];
  std::multiset<std::string> states;
  for (const json& interface : first["interfaces"]) states.insert(interface["state"]);
  EXPECT_THAT(states, ElementsAre("active", "active", "failed"));
  EXPECT_EQ(first["acls"][0]["state"], "failed");
  EXPECT_EQ(first["acls"][0]["code"], "write-failed");
  EXPECT_EQ(first["acls"][1]["state"], "applied");
  EXPECT_EQ(report["failedWrites"][0]["number"], 120);
  EXPECT_EQ(second["changes"][0]["kind"], "retried");
  EXPECT_EQ(second["writes"], 100);
  EXPECT_EQ(second["acls"][0]["state"], "applied");
  EXPECT_TRUE(second["deviations"].empty());
  const RunResult atStart = runExamples("edge-switch.json", {"access-edge.json"}, {.failWrites = {3}});
  EXPECT_EQ(atStart.exitStatus, kNotAllApplied);
  EXPECT_THAT(atStart.output, HasSubstr("did not reach all filters at start-up"));
}

TEST(Run, MacVerdictsAreShownAsVerdicts) {
  const std::string text = runExamples("edge-switch.json", {"shared-filter.json"}).output;
  EXPECT_THAT(text, HasSubstr("  arp        no slot: permits ARP\n"
                              "  no-lldp    no slot: denies LLDP\n"
                              "  arp-again  never reached: an earlier rule decides all that it matches\n"));
  // The MAC ACL's verdict for the rest loses against that of the IPv4 ACL in the same filter.
  const std::string drop = R"("matches": {}, "actions": {"forwarding": "drop"})";
  const std::string accept = R"("matches": {}, "actions": {"forwarding": "accept"})";
  const std::string document = R"({"ietf-access-control-list:acls": {"acl": [
      {"name": "I", "type": "ipv4-acl-type", "aces": {"ace": [{"name": "all", )" +
                               accept + R"(}]}},
      {"name": "M", "type": "eth-acl-type", "aces": {"ace": [{"name": "all", )" +
                               drop + R"(}]}}],
    "attachment-points": {"interface": [
      {"interface-id": "port-1", "ingress": {"acl-sets": {"acl-set": [{"name": "I"}, {"name": "M"}]}}}]}}})";
  EXPECT_THAT(
      run({.configFiles = {"c"}}, example("edge-switch.json"), {document}, false).output,
      HasSubstr("ACL M (eth-acl-type, ingress): applied\n  all  no slot: denies everything that no slot matches; "
                "not on port-1, where the other ACL of the filter decides it\n"));
}

TEST(Run, TypeConflictLeavesTheFilterToTheFirst) {
  const RunResult result = runExamples("edge-switch.json", {"type-conflict.json"}, {.json = true});
  EXPECT_EQ(result.exitStatus, kNotAllApplied);
  const json report = jsonOf(result);
  const json& interfaces = report["steps"][0]["interfaces"];
  EXPECT_EQ(interfaces[0]["state"], "active");
  EXPECT_EQ(interfaces[1]["code"], "type-conflict");
  EXPECT_EQ(interfaces[2]["state"], "active");
}

TEST(Run, AStepIssuesTheCallsOfTheDifference) {
  const RunResult result = runExamples(
      "edge-switch.json", {"shared-filter.json", "shared-filter-2.json", "shared-filter-2.json"}, {.json = true});
  EXPECT_EQ(result.exitStatus, kAllApplied);
  const json report = jsonOf(result);
  std::vector<std::string> changes;
  for (const json& change : report["steps"][1]["changes"]) {
    changes.push_back(change.value("acl", "") + " " + change.value("interface", "") + " " +
                      std::string(change["kind"]));
  }
  EXPECT_THAT(changes,
              testing::UnorderedElementsAre(" port-3 blocked", "phones-out port-3 detached", "guest-in port-2 moved",
                                            "guest-in  changed", "guest-strict  added", "guest-strict port-2 attached",
                                            "phones-out  removed"));
  EXPECT_EQ(report["steps"][1]["writes"], 301);
  EXPECT_EQ(report["steps"][1]["blocked"], json::array({"port-3"}));
  EXPECT_TRUE(report["steps"][2]["changes"].empty());
  EXPECT_EQ(report["steps"][2]["writes"], 0);
}

// Random desired states for three interfaces, out of ACLs of both types whose rules change from one to the next.
class Sequences {
 public:
  explicit Sequences(unsigned seed) : random_(seed) {}

  // With `sharing`, up to one ACL of each type in a filter, so that types may conflict; else one ACL.
  std::string configuration(bool sharing) {
    std::string acls;
    for (const char* name : {"i1", "i2", "m1", "m2"}) acls += (acls.empty() ? "" : ", ") + acl(name);
    std::string points;
    std::string interfaces;
    for (const char* intf : {"port-1", "port-2", "port-5"}) {
      points += fmt::format(R"({}{{"interface-id": "{}", "ingress": {}, "egress": {}}})", points.empty() ? "" : ", ",
                            intf, aclSets(sharing), aclSets(sharing));
      interfaces +=
          fmt::format(R"({}{{"name": "{}", "enabled": {}}})", interfaces.empty() ? "" : ", ", intf, below(5) != 0);
    }
    return fmt::format(R"({{"ietf-interfaces:interfaces": {{"interface": [{}]}}, "ietf-access-control-list:acls":
        {{"acl": [{}], "attachment-points": {{"interface": [{}]}}}}}})",
                       interfaces, acls, points);
  }
  uint64_t below(uint64_t limit) { return random_() % limit; }

 private:
  std::string acl(const std::string& name) {
    const bool isIp = name[0] == 'i';
    std::string aces;
    for (uint64_t i = below(4); i > 0; --i) {
      const std::string match =
          isIp ? fmt::format(R"("ipv4": {{"source-ipv4-network": "10.{}.0.0/16"}})", below(3))
               : fmt::format(R"("eth": {{"source-mac-address": "00:00:00:00:00:0{}"}})", below(3) + 1);
      aces += ace(match);
    }
    if (!isIp && below(2) == 0) aces += ace(R"("eth": {"ethertype": "arp"})");
    if (below(2) == 0) aces += ace("");
    aces.resize(aces.empty() ? 0 : aces.size() - 2);
    return fmt::format(R"({{"name": "{}", "type": "{}-acl-type", "aces": {{"ace": [{}]}}}})", name,
                       isIp ? "ipv4" : "eth", aces);
  }
  std::string ace(const std::string& match) {
    return fmt::format(R"({{"name": "{}", "matches": {{{}}}, "actions": {{"forwarding": "{}"}}}}, )", ++aces_, match,
                       below(2) == 0 ? "accept" : "drop");
  }
  std::string aclSets(bool sharing) {
    const uint64_t ip = below(3), mac = below(3);  // 0 is none.
    std::string sets = ip == 0 ? "" : fmt::format(R"({{"name": "i{}"}})", ip);
    if (mac != 0 && (sharing || ip == 0)) sets += fmt::format(R"({}{{"name": "m{}"}})", sets.empty() ? "" : ", ", mac);
    return fmt::format(R"({{"acl-sets": {{"acl-set": [{}]}}}})", sets);
  }

  std::mt19937 random_;
  uint64_t aces_ = 0;
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

// However the device came to its last desired state, it holds what a fresh device would, or the report says where not.
TEST(Run, TheWayToAStateLeavesNoTraceThatIsNotReported) {
  const std::string device = example("edge-switch.json");
  size_t reported = 0;
  for (unsigned seed = 0; seed < 120; ++seed) {
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

TEST(RegisterWords, SayWhatEachBitDoes) {
  FilterDump filter{.intf = Platform::IntfId("e1"), .path = {}, .slots = {}};
  filter.enable = 0x80000b0f;
  filter.action = 0x00000909;
  filter.tcp = 0x1;
  EXPECT_EQ(filter.enableWords(),
            "programmed for IPv4; matches layer-4 ports; ACL drop delay; unknown bits 0x8; "
            "slots 0-1, 3 and 23 in use");
  EXPECT_EQ(filter.actionWords(), "rules match the source; permit what no rule matches; permit in slots 0 and 3");
  EXPECT_EQ(filter.slotWords({0, 0, 0x0000ffff, 80, 0x0a01ffff}), "permit TCP, source 10.1.0.0/16, port 80");
  EXPECT_EQ(filter.slotWords({1, 0, 0x00ff00ff, 0, 0x0aff01ff}),
            "deny any protocol, source 10.0.1.0 wildcard 0.255.0.255");
  EXPECT_EQ(filter.slotWords({2, 0, 0, 0, 0}), "not in use");
  filter.enable = 0x100;
  EXPECT_EQ(filter.slotWords({0, 0x0000, 0x000000ff, 0x0011, 0x223344ff}),
            "permit source 00:11:22:33:44:00 wildcard 00:00:00:00:00:ff");
}

TEST(CommandLine, ReadsOptionsAndRefusesTheRest) {
  int exitStatus = -1;
  const char* good[] = {"kestrix-sim", "apply",        "d",  "c", "--fail-write", "2", "--fail-write",
                        "7",           "--drop-delay", "off"};
  const auto line = parseCommandLine(std::size(good), good, exitStatus);
  ASSERT_TRUE(line);
  EXPECT_EQ(line->deviceFile + line->configFiles.at(0), "dc");
  EXPECT_THAT(line->failWrites, ElementsAre(2, 7));
  EXPECT_EQ(line->dropDelay, false);
  for (const std::vector<const char*>& bad :
       std::vector<std::vector<const char*>>{{"kestrix-sim"},
                                             {"kestrix-sim", "apply", "d"},
                                             {"kestrix-sim", "apply", "d", "c", "--fail-write", "0"},
                                             {"kestrix-sim", "apply", "d", "c", "--trace", "x"},
                                             {"kestrix-sim", "apply", "d", "c", "--drop-delay", "1"}}) {
    EXPECT_FALSE(parseCommandLine(static_cast<int>(bad.size()), bad.data(), exitStatus));
    EXPECT_EQ(exitStatus, kBadInput);
  }
}

}  // namespace
}  // namespace Sim
