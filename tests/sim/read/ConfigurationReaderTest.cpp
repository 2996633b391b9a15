#include "read/ConfigurationReader.h"

#include <gmock/gmock.h>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "support/Docs.h"

namespace Sim {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kDevice[] = R"({"inRules": 4, "outRules": 4, "interfaces": [
    {"name": "port-1", "core": 1, "portGroup": 1}, {"name": "port-2", "core": 1, "portGroup": 2}]})";

// The findings about a document, as "code path".
std::vector<std::string> findings(const std::string& text, Configuration* read = nullptr,
                                  const std::string& deviceText = kDevice) {
  Diagnostics deviceDiagnostics;
  const Device device = readDevice("device.json", deviceText, deviceDiagnostics);
  EXPECT_FALSE(deviceDiagnostics.hasErrors());
  Diagnostics diagnostics;
  Configuration configuration = readConfiguration("acls.json", text, device, diagnostics);
  if (read != nullptr) *read = std::move(configuration);
  std::vector<std::string> all;
  for (const Diagnostic& each : diagnostics.all()) {
    all.push_back(each.code + " " + each.path);
    EXPECT_FALSE(each.message.empty() || each.remedy.empty()) << each.code;
  }
  return all;
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
  if (std::holds_alternative<FragmentRule>(ace.rule)) return "fragment rule";
  if (const auto* mac = std::get_if<MacRule>(&ace.rule)) return mac->config.filter.toText();
  const auto& rule = std::get<IpRule>(ace.rule);
  auto ports = [](const Ports& each) { return fmt::format("{}:{}-{}", each.port, each.low, each.high); };
  return fmt::format("{} {} {} {} {} {}", rule.config.filter.proto, rule.config.filter.srcIp, ports(rule.source),
                     rule.config.filter.dstIp, ports(rule.destination), rule.ipLength);
}

std::vector<std::pair<std::string, std::string>> rowsBelow(const std::string& heading) {
  return Kestrix::Test::rowsBelow(KESTRIX_ROOT "docs/configuration.md", heading);
}

// What becomes of an ACE: the rule as it reaches the helper, or the findings, from their place in the ACE on.
std::string outcome(const std::string& document) {
  Configuration read;
  std::vector<std::string> found = findings(document, &read);
  for (std::string& each : found) {
    for (const std::string& place : {kAce + "/matches", kAce}) {
      if (const auto at = each.find(place); at != each.npos) each.erase(at, place.size());
    }
    if (each.ends_with(' ')) each.pop_back();
  }
  return found.empty() ? ruleWords(read.acls.at(0).aces.at(0)) : fmt::format("{}", fmt::join(found, "`, `"));
}

TEST(ConfigurationReader, ReadsOrRefusesWhatTheDocumentationSays) {
  for (const char* heading : {"IPv4 matches", "Refused IPv4 matches"}) {
    for (const auto& [matches, words] : rowsBelow(heading)) EXPECT_EQ(outcome(aceDocument(matches)), words) << matches;
  }
  for (const auto& [eth, words] : rowsBelow("Ethernet matches")) {
    EXPECT_EQ(outcome(aceDocument("{\"eth\": {" + eth + "}}", R"({"forwarding": "drop"})", "eth")), words) << eth;
  }
  for (const auto& [actions, words] : rowsBelow("Actions")) {
    EXPECT_EQ(outcome(aceDocument("{}", actions)), words) << actions;
  }
}

// Everything that is wrong is found in one go, each at its place.
TEST(ConfigurationReader, ListsAllErrorsOfADocument) {
  const std::string acls = "/ietf-access-control-list:acls";
  const std::string points = acls + "/attachment-points/interface";
  EXPECT_THAT(
      findings(R"({"ietf-interfaces:interfaces": {"interface": [{"name": "port-9"}]},
      "ietf-access-control-list:acls": {
        "acl": [{"name": "A", "type": "ipv4-acl-type", "aces": {"ace": [{"name": "a", "actions": {"forwarding": "drop"}},
                                                                     {"name": "a", "name": "a"}]}},
                {"name": "A", "type": "ipv4-acl-type"},
                {"name": "B", "type": "ietf-access-control-list:ipv4-acl-type"},
                {"name": "untyped~/"}],
        "attachment-points": {"interface": [
          {"interface-id": "port-1", "ingress": {"acl-sets": {"acl-set": [{"name": "A"}, {"name": "B"}]}}},
          {"interface-id": "port-1"},
          {"interface-id": "port-9", "egress": {"acl-sets": {"acl-set": [{"name": "C"}], "x/y": 1}}}]}},
      "more": 1})"),
      ElementsAre("duplicate-key " + acls + "/acl/0/aces/ace/1/name", "unknown-member /more",
                  "unknown-interface /ietf-interfaces:interfaces/interface/0",
                  "duplicate-name " + acls + "/acl/0/aces/ace/1/name", "missing-member " + acls + "/acl/0/aces/ace/1",
                  "duplicate-name " + acls + "/acl/1/name", "missing-member " + acls + "/acl/3",
                  "same-type " + points + "/0/ingress/acl-sets/acl-set/1",
                  "duplicate-name " + points + "/1/interface-id", "unknown-interface " + points + "/2/interface-id",
                  "unknown-member " + points + "/2/egress/acl-sets/x~1y",
                  "unknown-acl " + points + "/2/egress/acl-sets/acl-set/0"));
}

TEST(ConfigurationReader, NamesThePlaceOfBrokenJson) {
  Diagnostics diagnostics;
  readConfiguration("acls.json", "{\"a\": 1,\n  \"b\": }", Device(), diagnostics);
  ASSERT_EQ(diagnostics.all().size(), 1u);
  EXPECT_EQ(diagnostics.all()[0].code, "broken-json");
  EXPECT_THAT(diagnostics.all()[0].message, testing::StartsWith("line 2, column 8: "));
  for (const char* text : {"", "[", "{\"a\": 1e999}", "\"\xff\"", "{\"a\": 1} 2"}) {
    EXPECT_THAT(findings(text), ElementsAre("broken-json ")) << text;
  }
  EXPECT_THAT(findings("[]"), ElementsAre("wrong-type "));
}

// Two interfaces on one filter would overwrite each other's ACL.
TEST(ConfigurationReader, RefusesDifferentAclsOnASharedFilter) {
  const std::string device = R"({"inRules": 4, "outRules": 4, "interfaces": [
    {"name": "port-1", "core": 1, "portGroup": 1}, {"name": "port-2", "core": 1, "portGroup": 1}]})";
  for (const auto& [direction, acl, isRefused] :
       {std::tuple("ingress", "B", true), {"ingress", "A", false}, {"egress", "A", true}}) {
    const std::string document = fmt::format(R"({{"ietf-access-control-list:acls": {{
        "acl": [{{"name": "A", "type": "ipv4-acl-type"}}, {{"name": "B", "type": "ipv4-acl-type"}}],
        "attachment-points": {{"interface": [
          {{"interface-id": "port-1", "ingress": {{"acl-sets": {{"acl-set": [{{"name": "A"}}]}}}}}},
          {{"interface-id": "port-2", "{}": {{"acl-sets": {{"acl-set": [{{"name": "{}"}}]}}}}}}]}}}}}})",
                                             direction, acl);
    EXPECT_EQ(findings(document, nullptr, device).size(), isRefused ? 1u : 0u) << direction << acl;
  }
}

TEST(DeviceReader, ListsAllErrors) {
  Diagnostics diagnostics;
  readDevice("device.json", R"({"inRules": 256, "aclDropDelay": 1, "slots": 3, "interfaces": [
      {"name": "port-1", "core": 0, "portGroup": 1}, {"name": "", "core": 1, "portGroup": 65536}, {"core": 1},
      {"name": "p", "core": 1, "portGroup": 1}, {"name": "p", "core": 1, "portGroup": 2},
      {"name": "q", "core": 1, "portGroup": 1}]})",
             diagnostics);
  std::vector<std::string> all;
  for (const Diagnostic& each : diagnostics.all()) all.push_back(each.code + " " + each.path);
  EXPECT_THAT(
      all, ElementsAre("unknown-member /slots", "out-of-range /inRules", "missing-member ", "wrong-type /aclDropDelay",
                       "out-of-range /interfaces/0/core", "out-of-range /interfaces/1/portGroup",
                       "missing-member /interfaces/2", "missing-member /interfaces/2",
                       "duplicate-name /interfaces/4/name", "shared-filter /interfaces/5"));
}

}  // namespace
}  // namespace Sim
