// What apply says of packets, in the cases that docs/verdicts.md does not show.
#include <gmock/gmock.h>

#include <optional>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "command/Run.h"
#include "sim/Documents.h"

namespace Sim {
namespace {

using nlohmann::json;

// port-1 and port-2 have filters of their own.
constexpr char kJudgedDevice[] = R"({"inRules": 4, "outRules": 4, "interfaces": [
    {"name": "port-1", "core": 1, "portGroup": 1}, {"name": "port-2", "core": 1, "portGroup": 2}]})";

const json kDenyAll = ace("nothing", "", "drop"), kPermitAll = ace("rest", "", "accept"),
           kArpAce = ace("arp", R"("eth": {"ethertype": "arp"})", "accept"),
           kLab = ace("lab", R"("ipv4": {"source-ipv4-network": "192.0.2.0/24"})", "drop"),
           kStationAce = ace("station", R"("eth": {"source-mac-address": "00:00:5e:00:53:01"})", "drop"),
           kLength = ace("length", R"("ipv4": {"length": 40})", "drop"),
           kForeign = ace("v6", R"("ipv6": {"source-ipv6-network": "2001:db8::/32"})", "drop");

// ACLs of these ACEs, by their type, on port-1 ingress in this order: I is an IPv4 ACL, M a MAC one, F an IPv6 one.
std::string onPort1(const std::vector<std::pair<char, std::vector<json>>>& acls, const std::string& disabled = "") {
  std::vector<json> all;
  Attached port1{"port-1", "ingress", {}};
  for (const auto& [name, aces] : acls) {
    port1.acls.emplace_back(1, name);
    all.push_back(acl(port1.acls.back(), name == 'I' ? "ipv4" : name == 'M' ? "eth" : "ipv6", aces));
  }
  return document(all, {port1}, disabled);
}

std::string judged(const json& judgement) {
  const json &configured = judgement["configured"], &device = judgement["device"];
  return fmt::format("{}/{} {}", configured.value("acl", "-"), configured.value("ace", "-"), device["by"].dump());
}

std::vector<std::string> saidOf(const json& step) {
  std::vector<std::string> said;
  for (const json& each : step["interfaces"]) {
    said.push_back(each["acl"].dump() + each["state"].dump() + (each.value("overruled", false) ? " overruled" : ""));
  }
  for (const json& each : step["differences"]) {
    said.push_back(fmt::format("{} {} {} {} {}", each["interface"].dump(), each.value("type", "none"),
                               each["kind"].dump(), each["packet"].dump(), judged(each)));
  }
  for (const json& each : step["turns"])
    said.push_back(fmt::format("{}: {}, {}", each["packet"].dump(), judged(each["before"]), judged(each["after"])));
  for (const json& each : step["deviations"]) said.push_back(each["why"].dump());
  for (std::string& each : said) std::erase(each, '"');
  return said;
}

struct Case {
  const char* name;
  std::vector<std::string> documents;
  std::optional<std::string> setting;  // After the first one.
  std::vector<std::string> said;       // Of the last step.
};

TEST(Judge, SaysWhatFiltersDoOtherwise) {
  const std::vector<json> lab{kLab, kPermitAll}, arp{kArpAce, kPermitAll}, length{kLength, kPermitAll},
      station{kStationAce, kPermitAll}, nothing{kDenyAll};
  for (const auto& [name, documents, setting, said] : std::vector<Case>{
           {"blocked", {onPort1({{'M', nothing}}, "port-1")}, {}, {"Mactive"}},
           {"foreign", {onPort1({{'F', {kForeign}}})}, {}, {"Frefused"}},
           {"besideForeign",
            {onPort1({{'M', nothing}, {'F', {kForeign}}})},
            {},
            {"Mdiffers", "Frefused",
             "port-1 eth-acl-type more tcp 192.0.2.1:49152 > 198.51.100.1:443 M/nothing no-acl"}},
           {"refused",
            {onPort1({{'I', lab}}), onPort1({{'I', length}})},
            {},
            {"Irefused", "port-1 ipv4-acl-type more tcp 192.0.3.1:49152 > 198.51.100.1:443 length 40 I/length rest",
             "port-1 ipv4-acl-type less tcp 192.0.2.1:49152 > 198.51.100.1:443 I/rest slot",
             "ACL I was refused: the filter keeps what it held"}},
           {"typeConflict",
            {onPort1({{'I', lab}, {'M', station}})},
            {},
            {"Iactive", "Mrefused", "port-1 eth-acl-type more tcp 192.0.3.1:49152 > 198.51.100.1:443 M/station rest"}},
           {"order",
            {onPort1({{'M', arp}}), onPort1({{'I', nothing}, {'M', arp}})},
            {},
            {"Iactive", "Mactive overruled", "tcp 192.0.2.1:49152 > 198.51.100.1:443: M/rest rest, I/nothing rest",
             "its ACLs came in another order than on a fresh device: M, I, there I, M"}},
           {"again",
            {onPort1({{'I', lab}, {'M', arp}}), onPort1({{'I', nothing}, {'M', arp}})},
            {},
            {"Iactive", "Mactive overruled", "tcp 192.0.3.1:49152 > 198.51.100.1:443: M/rest rest, I/nothing rest",
             "ACL I was written again: I, M, I, on a fresh device I, M"}},
           {"unblocked", {onPort1({{'M', arp}}, "port-1"), onPort1({{'M', station}})}, {}, {"Mactive"}},
           {"type",
            {onPort1({{'I', lab}, {'M', arp}}), onPort1({{'M', arp}})},
            {},
            {"Mactive", "tcp 192.0.2.1:49152 > 198.51.100.1:443: I/lab slot, M/rest rest"}},
           {"withoutAcl",
            {onPort1({{'I', lab}})},
            "inShadowFilter.shadowFilter[port-2].multicast=1",
            {"Iactive", "port-2 none less tcp 192.0.2.1:49152 > 198.51.100.1:443 -/- rest",
             "tcp 192.0.2.1:49152 > 198.51.100.1:443: -/- no-acl, -/- rest", "attributes were set with --set"}},
       }) {
    CommandLine line{.configFiles = std::vector<std::string>(documents.size(), "c"), .json = true};
    if (setting) line.settings.push_back({1, *setting});
    const json steps = json::parse(run(line, kJudgedDevice, documents, /*colour=*/false).output)["steps"];
    EXPECT_EQ(saidOf(steps.back()), said) << name;
  }
}

// In the text report, for whoever asks why.
TEST(Judge, NamesWhoDecides) {
  const json host1 = ace("host1", R"("eth": {"source-mac-address": "00:00:5e:00:53:01"})", "drop"),
             host2 = ace("host2", R"("eth": {"source-mac-address": "00:00:5e:00:53:02"})", "accept"),
             noLldp = ace("no-lldp", R"("eth": {"ethertype": "lldp"})", "drop");
  const auto half = [](const char* name, const char* network) {
    return ace(name, fmt::format(R"("ipv4": {{"source-ipv4-network": "{}"}})", network), "drop");
  };
  const std::string overtaken = onPort1({{'M', {host1, host2, kArpAce, noLldp, kPermitAll}}}),
                    covered = onPort1({{'I',
                                        {half("low", "192.0.2.0/25"), half("high", "192.0.2.128/25"), kLab,
                                         half("host", "192.0.2.9/32"), kPermitAll}}}),
                    station = onPort1({{'M', {kStationAce, kPermitAll}}});
  const std::string acl = "allShadowAcl[M(mac,in)].acl.mac.";
  for (const auto& [configuration, settings, told] :
       std::vector<std::tuple<std::string, std::vector<std::string>, std::vector<std::string>>>{
           {overtaken,
            {},
            {"differs", "lets through more, and less", "permitted by its verdict for ARP",
             "denied by its verdict for LLDP"}},
           {covered,
            {},
            {"ACEs \"low\", \"high\" together cover all", "ACE \"low\" covers all", "2 slots are wasted: "}},
           {onPort1({{'I', {kPermitAll}}, {'M', {kDenyAll}}}),
            {},
            {"its deny of what no slot matches is overruled on port-1", "not on port-1, where the other ACL"}},
           {station, {"inShadowFilter.shadowFilter[port-1].multicast=1"}, {"denied by its verdict for multicast"}},
           {station, {acl + "broadcast=1"}, {"denied by its verdict for broadcast"}}}) {
    CommandLine line{.configFiles = {"c"}};
    for (const std::string& each : settings) line.settings.push_back({1, each});
    const std::string text = run(line, kJudgedDevice, {configuration}, /*colour=*/false).output;
    size_t at = 0;
    for (const std::string& each : told) {
      at = text.find(each, at);
      ASSERT_NE(at, text.npos) << each << " is not in\n" << text;
    }
  }
}

}  // namespace
}  // namespace Sim
