#include "ConfigurationReader.h"

#include <gmock/gmock.h>

#include <fmt/format.h>

namespace Sim {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
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
  const auto& rule = std::get<IpRule>(ace.rule);
  auto ports = [](const Ports& each) { return fmt::format("{}:{}-{}", each.port, each.low, each.high); };
  return fmt::format("{} {} {} {} {} {}", rule.config.filter.proto, rule.config.filter.srcIp, ports(rule.source),
                     rule.config.filter.dstIp, ports(rule.destination), rule.ipLength);
}

TEST(ConfigurationReader, MatchesBecomeTheHelpersArguments) {
  const std::string any = "0.0.0.0/0.0.0.0";
  auto destinationPort = [&](const std::string& proto, const std::string& ports) {
    return proto + " " + any + " 0:0-0 " + any + " " + ports + " 0";
  };
  auto tcp = [](const std::string& port) { return R"({"tcp": {"destination-port": {)" + port + "}}}"; };
  const struct {
    std::string matches;
    std::string rule;
  } rows[] = {
      {"{}", destinationPort("0", "0:0-0")},
      {R"({"ipv4": {}})", destinationPort("0", "0:0-0")},
      {R"({"tcp": {}})", destinationPort("6", "0:0-0")},
      {R"({"udp": {}, "ipv4": {"protocol": 17}})", destinationPort("17", "0:0-0")},
      {R"({"icmp": {}})", destinationPort("1", "0:0-0")},
      {R"({"ipv4": {"protocol": 255}})", destinationPort("255", "0:0-0")},
      {R"({"ipv4": {"source-ipv4-network": "10.1.2.3/8", "destination-ipv4-network": "0.0.0.0/0", "length": 40}})",
       "0 10.1.2.3/255.0.0.0 0:0-0 0.0.0.0/0.0.0.0 0:0-0 40"},
      {R"({"ipv4": {"source-ipv4-network": "192.0.2.1/32"}, "udp": {"source-port": {"port": 53}}})",
       "17 192.0.2.1/255.255.255.255 53:53-53 0.0.0.0/0.0.0.0 0:0-0 0"},
      {tcp(R"("operator": "eq", "port": 65535)"), destinationPort("6", "65535:65535-65535")},
      {tcp(R"("lower-port": 80, "upper-port": 80)"), destinationPort("6", "80:80-80")},
      {tcp(R"("lower-port": 80, "upper-port": 81)"), destinationPort("6", "0:80-81")},
      {tcp(R"("lower-port": 0, "upper-port": 65535)"), destinationPort("6", "0:0-0")},
      {tcp(R"("operator": "gte", "port": 0)"), destinationPort("6", "0:0-0")},
      {tcp(R"("operator": "gte", "port": 65535)"), destinationPort("6", "65535:65535-65535")},
      {tcp(R"("operator": "lte", "port": 1023)"), destinationPort("6", "0:0-1023")},
      {tcp(R"("operator": "neq", "port": 0)"), destinationPort("6", "0:1-65535")},
      {tcp(R"("operator": "neq", "port": 1)"), destinationPort("6", "0:2-65535")},
      {tcp(R"("operator": "neq", "port": 65534)"), destinationPort("6", "0:0-65533")},
      {tcp(R"("operator": "neq", "port": 65535)"), destinationPort("6", "0:0-65534")},
      {R"({"ipv4": {"flags": "more"}})", "fragment rule"},
      {R"({"ipv4": {"offset": 20, "source-ipv4-network": "192.0.2.0/24"}})", "fragment rule"},
  };
  for (const auto& [matches, rule] : rows) {
    SCOPED_TRACE(matches);
    Configuration read;
    ASSERT_THAT(findings(aceDocument(matches), &read), IsEmpty());
    EXPECT_EQ(ruleWords(read.acls.at(0).aces.at(0)), rule);
  }
}

TEST(ConfigurationReader, RefusesWhatTheRuleWouldNotMean) {
  const struct {
    std::string matches;
    std::vector<std::string> findings;  // Below the ACE's matches.
  } rows[] = {
      {R"({"ipv4": {"source-ipv4-network": "0.0.0.0/8"}})", {"any-network /ipv4/source-ipv4-network"}},
      {R"({"ipv4": {"destination-ipv4-network": "0.0.0.0/32"}})", {"any-network /ipv4/destination-ipv4-network"}},
      {R"({"ipv4": {"source-ipv4-network": "10.0.0.0/33"}})", {"out-of-range /ipv4/source-ipv4-network"}},
      {R"({"ipv4": {"source-ipv4-network": "10.0.0.0"}})", {"out-of-range /ipv4/source-ipv4-network"}},
      {R"({"ipv4": {"source-ipv4-network": "10.0.0.0/ 8"}})", {"out-of-range /ipv4/source-ipv4-network"}},
      {R"({"ipv4": {"source-ipv4-network": 10}})", {"wrong-type /ipv4/source-ipv4-network"}},
      {R"({"ipv4": {"protocol": 0}})", {"protocol-zero /ipv4/protocol"}},
      {R"({"ipv4": {"protocol": 256}})", {"out-of-range /ipv4/protocol"}},
      {R"({"ipv4": {"protocol": 6.5}})", {"out-of-range /ipv4/protocol"}},
      {R"({"ipv4": {"length": 0}})", {"length-zero /ipv4/length"}},
      {R"({"ipv4": {"dscp": 46, "ttl": 1}})", {"not-matchable /ipv4/dscp", "not-matchable /ipv4/ttl"}},
      {R"({"ipv4": {"flags": "fragment"}})", {"not-matchable /ipv4/flags"}},
      {R"({"ipv4": {"flags": "more fragment"}})", {"not-matchable /ipv4/flags"}},
      {R"({"ipv4": {"ttll": 1}})", {"unknown-member /ipv4/ttll"}},
      {R"({"tcp": {"flags": "ack"}})", {"not-matchable /tcp/flags"}},
      {R"({"udp": {"length": 8}})", {"not-matchable /udp/length"}},
      {R"({"icmp": {"type": 8}})", {"not-matchable /icmp/type"}},
      {R"({"egress-interface": "port-1"})", {"not-matchable /egress-interface"}},
      {R"({"udp": {"source-port": {"port": 0}}})", {"port-zero /udp/source-port"}},
      {R"({"udp": {"source-port": {"operator": "lte", "port": 0}}})", {"port-zero /udp/source-port"}},
      {R"({"udp": {"source-port": {"operator": "lt", "port": 9}}})", {"out-of-range /udp/source-port/operator"}},
      {R"({"udp": {"source-port": {"port": 65536}}})", {"out-of-range /udp/source-port/port"}},
      {R"({"udp": {"source-port": {"lower-port": 9}}})", {"missing-member /udp/source-port"}},
      {R"({"udp": {"source-port": {"lower-port": 9, "upper-port": 8}}})", {"out-of-range /udp/source-port"}},
      {R"({"udp": {"source-port": {"lower-port": 9, "port": 8}}})", {"conflicting-members /udp/source-port"}},
      {R"({"ipv4": {"protocol": 17}, "tcp": {}})", {"conflicting-members /ipv4/protocol"}},
      {R"({"udp": {}, "tcp": {}})", {"conflicting-members "}},
      {R"({"ipv6": {}, "eth": {}})", {"wrong-container /ipv6", "wrong-container /eth"}},
      {R"({"tcp": []})", {"wrong-type /tcp"}},
  };
  for (const auto& [matches, expected] : rows) {
    SCOPED_TRACE(matches);
    std::vector<std::string> whole;
    for (const std::string& each : expected) {
      const auto space = each.find(' ');
      whole.push_back(each.substr(0, space + 1) + kAce + "/matches" + each.substr(space + 1));
    }
    EXPECT_THAT(findings(aceDocument(matches)), ElementsAreArray(whole));
  }
}

TEST(ConfigurationReader, ReadsOrRefusesMacMatches) {
  const std::string matches = kAce + "/matches";
  const struct {
    std::string eth;
    std::string outcome;  // The filter as it reaches the helper, or the finding.
  } rows[] = {
      {R"("ethertype": "lldp")",
       "ethType 0x88cc src 00:00:00:00:00:00/00:00:00:00:00:00 dst 00:00:00:00:00:00/00:00:00:00:00:00"},
      {R"("ethertype": 2048, "source-mac-address": "00:11:22:33:44:55", "destination-mac-address": "AA:00:00:00:00:00",
           "destination-mac-address-mask": "ff:00:00:00:00:00")",
       "ethType 0x0800 src 00:11:22:33:44:55/ff:ff:ff:ff:ff:ff dst aa:00:00:00:00:00/ff:00:00:00:00:00"},
      {R"("source-mac-address": "00:00:00:00:00:00", "source-mac-address-mask": "00:00:00:00:00:00")",
       "ethType 0x0000 src 00:00:00:00:00:00/00:00:00:00:00:00 dst 00:00:00:00:00:00/00:00:00:00:00:00"},
      {R"("source-mac-address": "00:00:00:00:00:00")", "any-address " + matches + "/eth/source-mac-address"},
      {R"("destination-mac-address": "00:00:00:00:00:00", "destination-mac-address-mask": "00:00:00:00:00:01")",
       "any-address " + matches + "/eth/destination-mac-address"},
      {R"("source-mac-address-mask": "ff:ff:ff:00:00:00")",
       "missing-member " + matches + "/eth/source-mac-address-mask"},
      {R"("source-mac-address": "0:11:22:33:44:55")", "out-of-range " + matches + "/eth/source-mac-address"},
      {R"("ethertype": 0)", "ethertype-zero " + matches + "/eth/ethertype"},
      {R"("ethertype": 65536)", "out-of-range " + matches + "/eth/ethertype"},
      {R"("ethertype": "ARP")", "unknown-value " + matches + "/eth/ethertype"},
      {R"("vlan": 1)", "unknown-member " + matches + "/eth/vlan"},
      {R"(}, "ipv4": {)", "wrong-container " + matches + "/ipv4"},
  };
  for (const auto& [eth, outcome] : rows) {
    SCOPED_TRACE(eth);
    Configuration read;
    const auto found = findings(aceDocument(R"({"eth": {)" + eth + "}}", R"({"forwarding": "drop"})", "eth"), &read);
    if (!outcome.starts_with("ethType")) {
      EXPECT_THAT(found, ElementsAre(outcome));
    } else {
      ASSERT_THAT(found, IsEmpty());
      EXPECT_EQ(std::get<MacRule>(read.acls.at(0).aces.at(0).rule).config.filter.toText(), outcome);
    }
  }
}

TEST(ConfigurationReader, ChecksActions) {
  const struct {
    std::string actions;
    std::string finding;
  } rows[] = {
      {R"({"forwarding": "reject"})", "no-reject " + kAce + "/actions/forwarding"},
      {R"({"forwarding": "pass"})", "unknown-value " + kAce + "/actions/forwarding"},
      {R"({"logging": "log-none"})", "missing-member " + kAce + "/actions"},
      {R"({"forwarding": "drop", "logging": "log-syslog"})", "not-logged " + kAce + "/actions/logging"},
  };
  for (const auto& [actions, finding] : rows) {
    EXPECT_THAT(findings(aceDocument("{}", actions)), ElementsAre(finding)) << actions;
  }
  EXPECT_THAT(findings(aceDocument("{}", R"({"forwarding": "ietf-access-control-list:drop"})")), IsEmpty());
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
  auto document = [](const std::string& second) {
    return R"({"ietf-access-control-list:acls": {
      "acl": [{"name": "A", "type": "ipv4-acl-type"}, {"name": "B", "type": "ipv4-acl-type"}],
      "attachment-points": {"interface": [
        {"interface-id": "port-1", "ingress": {"acl-sets": {"acl-set": [{"name": "A"}]}}},
        {"interface-id": "port-2", )" +
           second + "}]}}}";
  };
  EXPECT_THAT(findings(document(R"("ingress": {"acl-sets": {"acl-set": [{"name": "B"}]}})"), nullptr, device),
              ElementsAre(testing::StartsWith("shared-filter ")));
  EXPECT_THAT(findings(document(R"("ingress": {"acl-sets": {"acl-set": [{"name": "A"}]}})"), nullptr, device),
              IsEmpty());
  EXPECT_THAT(findings(document(R"("egress": {"acl-sets": {"acl-set": [{"name": "A"}]}})"), nullptr, device),
              ElementsAre(testing::StartsWith("shared-filter ")));
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
