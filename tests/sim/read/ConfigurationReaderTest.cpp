#include "read/ConfigurationReader.h"

#include <gmock/gmock.h>

#include <set>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "command/ExitStatus.h"
#include "command/Run.h"
#include "sim/Documents.h"
#include "support/Docs.h"

namespace Sim {
namespace {

using testing::ElementsAre;

constexpr char kDevice[] = R"({"inRules": 4, "outRules": 4, "interfaces": [
    {"name": "port-1", "core": 1, "portGroup": 1}, {"name": "port-2", "core": 1, "portGroup": 2}]})";

std::vector<Diagnostic> diagnosticsOf(const std::string& text, Configuration* read = nullptr,
                                      const std::string& deviceText = kDevice) {
  Diagnostics deviceDiagnostics;
  const Device device = readDevice("device.json", deviceText, deviceDiagnostics);
  EXPECT_FALSE(deviceDiagnostics.hasErrors());
  Diagnostics diagnostics;
  Configuration configuration = readConfiguration("acls.json", text, device, diagnostics);
  if (read != nullptr) *read = std::move(configuration);
  return diagnostics.all();
}

// A document of one IPv4 ACL with one ACE.
std::string aceDocument(const std::string& matches, const std::string& actions = R"({"forwarding": "accept"})",
                        const std::string& type = "ipv4") {
  return fmt::format(R"({{"ietf-access-control-list:acls": {{"acl": [{{"name": "A", "type": "{}-acl-type",
      "aces": {{"ace": [{{"name": "a", "matches": {}, "actions": {}}}]}}}}]}}}})",
                     type, matches, actions);
}
const std::string kAce = "/ietf-access-control-list:acls/acl/0/aces/ace/0";

// As the rule reaches the helper: protocol, source, destination, ports as port:low-high, IP length.
std::string ruleWords(const Ace& ace) {
  if (const auto* fragments = std::get_if<FragmentRule>(&ace.rule)) {
    const auto& [action, filter] = fragments->config;
    return fmt::format("fragment rule: {} {} {} {}", action, filter.proto, filter.srcIp, filter.dstIp);
  }
  if (const auto* mac = std::get_if<MacRule>(&ace.rule)) return mac->config.filter.toText();
  const auto& rule = std::get<IpRule>(ace.rule);
  auto ports = [](const Ports& each) { return fmt::format("{}:{}-{}", each.port, each.low, each.high); };
  return fmt::format("{} {} {} {} {} {}", rule.config.filter.proto, rule.config.filter.srcIp, ports(rule.source),
                     rule.config.filter.dstIp, ports(rule.destination), rule.ipLength);
}

std::vector<std::pair<std::string, std::string>> rowsBelow(const std::string& heading) {
  return Kestrix::Test::rowsBelow(KESTRIX_ROOT "docs/configuration.md", heading);
}

// What becomes of an ACE: the rule as it reaches the helper, and the findings, from their place in the ACE on.
std::string outcome(const std::string& document) {
  Configuration read;
  std::vector<std::string> found;
  for (const Diagnostic& each : diagnosticsOf(document, &read)) {
    std::string place = each.path;
    for (const std::string& start : {kAce + "/matches", kAce}) {
      if (place.starts_with(start)) place.erase(0, start.size());
    }
    found.push_back(each.code + (place.empty() ? "" : " ") + place);
  }
  if (!read.acls.at(0).aces.empty()) found.insert(found.begin(), ruleWords(read.acls[0].aces[0]));
  return fmt::format("{}", fmt::join(found, "`, `"));
}

TEST(ConfigurationReader, ReadsWhatTheDocumentationSays) {
  for (const auto& [matches, words] : rowsBelow("IPv4 matches")) EXPECT_EQ(outcome(aceDocument(matches)), words);
  for (const auto& [eth, words] : rowsBelow("Ethernet matches")) {
    EXPECT_EQ(outcome(aceDocument("{\"eth\": {" + eth + "}}", R"({"forwarding": "drop"})", "eth")), words) << eth;
  }
  for (const auto& [actions, words] : rowsBelow("Actions")) {
    EXPECT_EQ(outcome(aceDocument("{}", actions)), words) << actions;
  }
}

using Json = nlohmann::ordered_json;

constexpr char kSound[] = R"({
  "device": {"inRules": 4, "outRules": 4, "interfaces": [
    {"name": "port-1", "core": 1, "portGroup": 1}, {"name": "port-2", "core": 1, "portGroup": 2}]},
  "configuration": {"ietf-access-control-list:acls": {
    "acl": [{"name": "A", "type": "ipv4-acl-type", "aces": {"ace": [{"name": "a", "actions": {"forwarding": "accept"}}]}},
            {"name": "M", "type": "eth-acl-type", "aces": {"ace": [{"name": "m", "actions": {"forwarding": "accept"}}]}}],
    "attachment-points": {"interface": [
      {"interface-id": "port-1", "ingress": {"acl-sets": {"acl-set": [{"name": "A"}]}}},
      {"interface-id": "port-2", "ingress": {"acl-sets": {"acl-set": [{"name": "M"}]}}}]}}}})";

// The run of the sound documents, with `text` at `place`.
RunResult runOfMistake(const Json::json_pointer& place, const std::string& text) {
  Json documents = Json::parse(kSound);
  if (text != "nothing") {
    documents[place] = Json::parse(text);
  } else if (documents.contains(place)) {
    documents[place.parent_pointer()].erase(place.back());
  }
  return run({.deviceFile = "d", .configFiles = {"c"}, .json = true}, documents["device"].dump(),
             {documents["configuration"].dump()}, /*colour=*/false);
}

// Whoever does what a finding says meets no other error, nor a refusal of the helper.
TEST(ConfigurationReader, WhatItSaysOfAMistakeMendsIt) {
  const std::string acls = "/configuration/ietf-access-control-list:acls";
  const std::map<std::string, std::string> places{{"device", "/device"},
                                                  {"acls", acls},
                                                  {"acl", acls + "/acl/0"},
                                                  {"ace", acls + "/acl/0/aces/ace/0"},
                                                  {"mac-ace", acls + "/acl/1/aces/ace/0"},
                                                  {"point", acls + "/attachment-points/interface/0"}};
  std::set<std::string> remedies;
  for (const auto& [name, cells] : rowsBelow("Mistakes")) {
    const size_t first = cells.find("` | `"), last = cells.rfind("` | `"),
                 slash = std::min(name.find('/'), name.size());
    const std::string place = places.at(name.substr(0, slash)) + name.substr(slash);
    const std::string path = place.substr(place.find('/', 1));
    const RunResult mistaken = runOfMistake(Json::json_pointer(place), cells.substr(0, first));
    EXPECT_EQ(mistaken.exitStatus, kBadInput) << cells;
    std::vector<std::string> said;
    const Json report = Json::parse(mistaken.output);
    for (const Json& each : report["diagnostics"]) {
      std::string at = each["path"];
      if (at.starts_with(path)) at.erase(0, path.size());
      const std::string remedy = each["remedy"];
      said.push_back(fmt::format("{}{}{}: {} {}", std::string(each["code"]), at.empty() ? "" : " ", at,
                                 std::string(each["message"]),
                                 remedies.insert(remedy).second ? "-> " + remedy : "..."));
    }
    EXPECT_EQ(fmt::format("{}", fmt::join(said, "`, `")), cells.substr(first + 5, last - first - 5)) << cells;
    const RunResult mended = runOfMistake(Json::json_pointer(place), cells.substr(last + 5));
    EXPECT_TRUE(mended.exitStatus == kAllApplied || mended.output.find("\"differs\"") != std::string::npos) << cells;
  }
}

// Everything that is wrong is found in one go, each at its place.
TEST(ConfigurationReader, ListsAllErrorsOfADocument) {
  const std::string acls = "/ietf-access-control-list:acls";
  const std::string points = acls + "/attachment-points/interface";
  std::vector<std::string> found;
  for (const Diagnostic& each : diagnosticsOf(R"({"ietf-interfaces:interfaces": {"interface": [{"name": "port-9"}]},
      "ietf-access-control-list:acls": {
        "acl": [{"name": "A", "type": "ipv4-acl-type", "aces": {"ace": [{"name": "a", "actions": {"forwarding": "drop"}},
                                                                     {"name": "a", "name": "a"}, {"name": "c"}]}},
                {"name": "A", "type": "ipv4-acl-type"},
                {"name": "B", "type": "ietf-access-control-list:ipv4-acl-type"},
                {"name": "untyped~/"}],
        "attachment-points": {"interface": [
          {"interface-id": "port-1", "ingress": {"acl-sets": {"acl-set": [{"name": "A"}, {"name": "B"}]}}},
          {"interface-id": "port-1"},
          {"interface-id": "port-9", "egress": {"acl-sets": {"acl-set": [{"name": "C"}], "x/~y": 1}}}]}},
      "more": 1})"))
    found.push_back(each.code + " " + each.path + (each.acl.empty() ? "" : " " + each.acl + "/" + each.ace));
  EXPECT_THAT(
      found,
      ElementsAre("duplicate-key " + acls + "/acl/0/aces/ace/1/name", "unknown-member /more",
                  "unknown-interface /ietf-interfaces:interfaces/interface/0",
                  "duplicate-name " + acls + "/acl/0/aces/ace/1/name A/",
                  "missing-member " + acls + "/acl/0/aces/ace/1 A/", "missing-member " + acls + "/acl/0/aces/ace/2 A/c",
                  "duplicate-name " + acls + "/acl/1/name", "missing-member " + acls + "/acl/3 untyped~//",
                  "same-type " + points + "/0/ingress/acl-sets/acl-set/1",
                  "duplicate-name " + points + "/1/interface-id", "unknown-interface " + points + "/2/interface-id",
                  "unknown-member " + points + "/2/egress/acl-sets/x~1~0y",
                  "unknown-acl " + points + "/2/egress/acl-sets/acl-set/0"));
}

TEST(ConfigurationReader, NamesThePlaceOfBrokenJson) {
  std::string deep = "\n{\"a\":";
  for (size_t i = 0; i < 64; ++i) deep += "[\"\\\"]\",";
  std::string many = "[{";
  for (size_t i = 0; i <= 1000; ++i) many += fmt::format("\"{}\": [{{}}],", i);
  for (const auto& [text, code, where] :
       {std::tuple<std::string, std::string, std::string>{"{\"a\": 1,\n  \"b\": }", "broken-json",
                                                          "line 2, column 8: syntax error"},
        {"", "broken-json", "line 1, column 1: syntax error"},
        {"\"\xC3\xBC\" 2", "broken-json", "line 1, column 5: syntax error"},
        {"{\"a\": 1e999}", "broken-json", "line 1, column 11: number overflow"},
        {"\"\xff\"", "broken-json", "line 1, column 2: syntax error"},
        {std::string("{}\0 {", 5), "broken-json", "line 1, column 3: a NUL octet"},
        {deep, "too-deep /a/1/1", "line 2, column 447: "},
        {many, "too-many-members /0/1000", "the object"},
        {"[]", "wrong-type", "an object"}}) {
    Diagnostics diagnostics;
    readConfiguration("acls.json", text, Device(), diagnostics);
    ASSERT_EQ(diagnostics.all().size(), 1u) << text;
    const Diagnostic& found = diagnostics.all()[0];
    EXPECT_THAT(found.code + " " + found.path, testing::StartsWith(code)) << text;
    EXPECT_THAT(found.message, testing::StartsWith(where)) << text;
  }
}

// However long names, values and keys are; and no character is cut in two.
TEST(ConfigurationReader, SaysItShortly) {
  std::string text = kSound;
  std::string longer;
  while (longer.size() < 1000) longer += "\u00FC/";
  for (const char* name : {"A", "a", "ipv4-acl-type", "interface-id", "port-2", "forwarding", "accept"}) {
    const std::string quoted = fmt::format("\"{}\"", name);
    text.replace(text.rfind(quoted), quoted.size(), fmt::format("\"{}{}\"", name, longer));
  }
  Diagnostics diagnostics;
  readConfiguration("c", Json::parse(text)["configuration"].dump(), Device(), diagnostics);
  readConfiguration("c", "[\"" + longer + "\n", Device(), diagnostics);
  EXPECT_GT(diagnostics.errors(), 6u);
  for (const Diagnostic& each : diagnostics.all()) {
    EXPECT_LT(Json({each.path, each.acl, each.ace, each.message, each.remedy}).dump().size(), 700u) << each.message;
  }
}

// Two interfaces on one filter would overwrite each other's ACL, and block each other's traffic.
TEST(ConfigurationReader, RefusesDifferentAclsOrStatesOnASharedFilter) {
  const std::string device = R"({"inRules": 4, "outRules": 4, "interfaces": [
    {"name": "port-1", "core": 1, "portGroup": 1}, {"name": "port-2", "core": 1, "portGroup": 1}]})";
  EXPECT_EQ(diagnosticsOf(document({}, {}, "port-1"), nullptr, device).at(0).code, "shared-filter");
  for (const auto& [direction, acl, isRefused] :
       {std::tuple("ingress", "B", true), {"ingress", "A", false}, {"egress", "A", true}}) {
    const std::string text = document({Sim::acl("A", "ipv4", {}), Sim::acl("B", "ipv4", {})},
                                      {{"port-1", "ingress", {"A"}}, {"port-2", direction, {acl}}});
    EXPECT_EQ(diagnosticsOf(text, nullptr, device).size(), isRefused ? 1u : 0u) << direction << acl;
  }
}

}  // namespace
}  // namespace Sim
