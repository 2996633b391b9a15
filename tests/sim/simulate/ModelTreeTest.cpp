// The model of the helper on the command line: --model and --set.
#include <regex>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "command/ExitStatus.h"
#include "command/Run.h"
#include "support/Docs.h"

namespace Sim {
namespace {

using nlohmann::json;
using testing::HasSubstr;

using Kestrix::Test::textOfFile;

// On edge-switch.json, with these settings after the first configuration.
RunResult runWith(const std::vector<std::string>& settings, CommandLine line = {},
                  const std::vector<std::string>& configs = {"shared-filter.json"}) {
  line.deviceFile = "edge-switch.json";
  line.configFiles = configs;
  for (const std::string& setting : settings) line.settings.push_back({1, setting});
  std::vector<std::string> texts;
  for (const std::string& config : configs) texts.push_back(textOfFile(KESTRIX_ROOT "examples/" + config));
  return run(line, textOfFile(KESTRIX_ROOT "examples/edge-switch.json"), texts, /*colour=*/false);
}

// The numbers of references depend on what else ran.
std::string withoutNumbers(const std::string& text) { return std::regex_replace(text, std::regex("#[0-9]+"), "#"); }

void collectSettable(const json& node, const std::string& path, std::vector<std::string>& settings) {
  for (const json& member : node.value("members", json::array())) {
    const std::string name = member["name"], value = member["value"];
    const std::string at = path + (path.empty() || name.starts_with("[") ? "" : ".") + name;
    // References differ from run to run.
    if (member["settable"] && value.find('#') == value.npos) settings.push_back(at + "=" + value);
    collectSettable(member, at, settings);
  }
}

TEST(ModelTree, WhatItShowsAsSettableCanBeSetToWhatItShows) {
  const json before = json::parse(runWith({}, {.json = true, .model = true}).output);
  std::vector<std::string> settings;
  collectSettable(before["model"], "", settings);
  EXPECT_THAT(settings, testing::Contains("allShadowAcl[guest-in(ipv4,in)].acl.ip.permitAny=true"));
  const json after = json::parse(runWith(settings, {.json = true, .model = true}).output);
  EXPECT_EQ(withoutNumbers(after["model"].dump()), withoutNumbers(before["model"].dump()));
  EXPECT_EQ(after["steps"][1]["settings"], settings);
  EXPECT_EQ(after["steps"][1]["writes"], 0);
}

TEST(ModelTree, APartOfAMemberIsSetInItsPlace) {
  const std::string port = "allShadowAcl[guest-in(ipv4,in)].acl.ip.rule[0].port=81";
  EXPECT_THAT(runWith({port}, {.model = true}).output, HasSubstr("port=81, tcp="));
}

TEST(Settings, RefusedOnesSayWhereAndWhy) {
  for (const auto& [setting, message] :
       Kestrix::Test::rowsBelow(KESTRIX_ROOT "docs/model.md", "Settings that are refused")) {
    const RunResult result = runWith({setting}, {.json = true});
    EXPECT_EQ(result.exitStatus, kBadInput);
    const json refusal = json::parse(result.output)["diagnostics"][0];
    EXPECT_EQ(refusal["code"], "setting-refused");
    EXPECT_EQ(refusal["message"], message);
  }
  // A setting that breaks the library's invariants is reported as such.
  const RunResult broken = runWith({"allShadowAcl[guest-in(ipv4,in)].applyingIntf[port-99]=true"}, {},
                                   {"shared-filter.json", "shared-filter-2.json"});
  EXPECT_EQ(broken.exitStatus, kBadInput);
  EXPECT_THAT(broken.output, HasSubstr("breaks what the library relies on"));
}

}  // namespace
}  // namespace Sim
