#include "Run.h"

#include <gmock/gmock.h>

#include <fstream>
#include <set>
#include <sstream>

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

RunResult runExamples(const std::string& device, const std::string& config, CommandLine line = {}) {
  line.deviceFile = device;
  line.configFiles = {config};
  return run(line, example(device), {example(config)}, /*colour=*/false);
}

json jsonOf(const RunResult& result) { return json::parse(result.output); }

const json& filterOf(const json& report, const std::string& interface, const std::string& direction) {
  for (const json& filter : report["filters"]) {
    if (filter["interface"] == interface && filter["direction"] == direction) return filter;
  }
  throw std::out_of_range("no filter of " + interface);
}

TEST(Run, PolicyThatFitsBecomesRegisters) {
  const RunResult result = runExamples("edge-switch.json", "access-edge.json", {.json = true});
  EXPECT_EQ(result.exitStatus, kAllApplied);
  const json report = jsonOf(result);
  EXPECT_EQ(report["result"], "applied");
  EXPECT_EQ(report["writes"], 316);
  EXPECT_EQ(report["startupWrites"], 16);
  EXPECT_EQ(report["interfaces"].size(), 3u);

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
  const json report = jsonOf(runExamples("edge-switch.json", "access-edge.json", {.json = true, .dropDelay = true}));
  EXPECT_EQ(filterOf(report, "port-2", "ingress")["enable"]["value"], 0x7f07);
  EXPECT_EQ(filterOf(report, "port-8", "egress")["enable"]["value"], 0x4);
}

TEST(Run, EveryRefusalOfTheLibraryIsExplained) {
  const RunResult result = runExamples("small-switch.json", "refusals.json", {.json = true});
  EXPECT_EQ(result.exitStatus, kNotAllApplied);
  const json report = jsonOf(result);
  std::set<std::string> codes;
  for (const json& acl : report["acls"]) {
    if (acl.contains("code")) codes.insert(acl["code"]);
  }
  EXPECT_THAT(codes, ElementsAre("acl-type", "both-sides", "ip-length", "ip-protocol", "no-ingress", "no-slot",
                                 "port-range", "side-conflict"));
  // Translating goes on after a refusal, so that all of them are shown.
  const json& range = report["acls"][1];
  EXPECT_EQ(range["aces"][1]["name"], "not-telnet");
  EXPECT_EQ(range["aces"][1]["reason"], "port ranges unsupported");
  for (const json& interface : report["interfaces"]) {
    EXPECT_EQ(interface["state"] == "active", interface["acl"] == "not-programmed") << interface;
  }
}

// Nobody may read these as programmed.
TEST(Run, RulesWithoutASlotAreShownAsWhatTheyAre) {
  const std::string text = runExamples("small-switch.json", "refusals.json").output;
  EXPECT_THAT(text, HasSubstr("ACL not-programmed (ipv4-acl-type, egress): applied\n"
                              "  fragments  accepted, not enforced: the hardware does not tell fragments apart\n"
                              "  lab        slot 0: deny any protocol, source 192.0.2.0/24\n"
                              "  all        no slot: permits everything that no slot matches\n"
                              "  too-late   never reached: an earlier rule decides everything\n"));
  EXPECT_THAT(text, HasSubstr("  host-4  fits, but the ACL is not applied\n"
                              "  host-5  refused: no available rule registers\n"));
}

TEST(Run, WhatTheHardwareWouldMisreadIsNotApplied) {
  const RunResult result = runExamples("edge-switch.json", "misread.json", {.json = true});
  EXPECT_EQ(result.exitStatus, kBadInput);
  std::vector<std::string> codes;
  const json report = jsonOf(result);
  for (const json& each : report["diagnostics"]) codes.push_back(each["code"]);
  EXPECT_THAT(codes, ElementsAre("any-network", "port-zero", "protocol-zero", "length-zero", "not-matchable",
                                 "not-matchable", "conflicting-members", "no-reject", "not-logged"));
}

TEST(Run, DeviceThatTheLibraryRefusesIsBadInput) {
  const RunResult result =
      run({.deviceFile = "d.json", .configFiles = {"c.json"}, .json = true},
          R"({"inRules": 25, "outRules": 1, "interfaces": []})", R"({"ietf-access-control-list:acls": {}})", false);
  EXPECT_EQ(result.exitStatus, kBadInput);
  EXPECT_THAT(result.output, HasSubstr("Kestrix::AclHelper.inRules: 25 is above the limit 24"));
}

// The 117th write is the first of the second filter; the 3rd belongs to start-up.
TEST(Run, FailedWritesFailTheirInterfaceOnly) {
  const RunResult result = runExamples("edge-switch.json", "access-edge.json", {.json = true, .failWrites = {120}});
  EXPECT_EQ(result.exitStatus, kNotAllApplied);
  const json report = jsonOf(result);
  std::vector<std::string> states;
  for (const json& interface : report["interfaces"]) states.push_back(interface["state"]);
  EXPECT_EQ(std::count(states.begin(), states.end(), "failed"), 1);
  EXPECT_EQ(std::count(states.begin(), states.end(), "active"), 2);
  EXPECT_EQ(report["acls"][0]["code"], "write-failed");
  EXPECT_EQ(report["acls"][1]["state"], "applied");
  EXPECT_EQ(report["failedWrites"][0]["number"], 120);

  const RunResult atStart = runExamples("edge-switch.json", "access-edge.json", {.failWrites = {3}});
  EXPECT_EQ(atStart.exitStatus, kNotAllApplied);
  EXPECT_THAT(atStart.output, HasSubstr("did not reach all filters at start-up"));
}

TEST(Run, ColourOnlyWhereAskedFor) {
  const std::string device = example("edge-switch.json");
  const std::string config = example("access-edge.json");
  EXPECT_EQ(run({}, device, config, false).output.find('\033'), std::string::npos);
  EXPECT_NE(run({}, device, config, true).output.find("\033[32mactive"), std::string::npos);
}

TEST(RegisterWords, SayWhatEachBitDoes) {
  FilterDump filter;
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
  EXPECT_EQ(line->deviceFile + line->configFile, "dc");
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
