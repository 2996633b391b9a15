// What apply says of packets, in the cases that docs/verdicts.md does not show.
#include <gmock/gmock.h>

#include <optional>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "command/Run.h"

namespace Sim {
namespace {

using nlohmann::json;

// port-1 and port-2 have filters of their own.
constexpr char kJudgedDevice[] = R"({"inRules": 4, "outRules": 4, "interfaces": [
    {"name": "port-1", "core": 1, "portGroup": 1}, {"name": "port-2", "core": 1, "portGroup": 2}]})";

std::string ace(const std::string& name, const std::string& matches, const std::string& action) {
  return fmt::format(R"({{"name": "{}", "matches": {{{}}}, "actions": {{"forwarding": "{}"}}}})", name, matches,
                     action);
}
const std::string kDenyAll = ace("nothing", "", "drop"), kPermitAll = ace("rest", "", "accept");
const std::string kArpAce = ace("arp", R"("eth": {"ethertype": "arp"})", "accept");
const std::string kLab = ace("lab", R"("ipv4": {"source-ipv4-network": "192.0.2.0/24"})", "drop");
const std::string kStationAce = ace("station", R"("eth": {"source-mac-address": "00:00:5e:00:53:01"})", "drop");
const std::string kLength = ace("length", R"("ipv4": {"length": 40})", "drop");
const std::string kForeign = ace("v6", R"("ipv6": {"source-ipv6-network": "2001:db8::/32"})", "drop");

// IPv4 ACL I, MAC ACL M and IPv6 ACL F, each where it has ACEs, on port-1 ingress in this order.
std::string document(const std::vector<std::pair<char, std::string>>& acls, bool isEnabled = true) {
  std::vector<std::string> list, names;
  for (const auto& [name, aces] : acls) {
    const char* const type = name == 'I' ? "ipv4" : name == 'M' ? "eth" : "ipv6";
    list.push_back(
        fmt::format(R"({{"name": "{}", "type": "{}-acl-type", "aces": {{"ace": [{}]}}}})", name, type, aces));
    names.push_back(fmt::format(R"({{"name": "{}"}})", name));
  }
  return fmt::format(R"({{"ietf-interfaces:interfaces": {{"interface": [
      {{"name": "port-1", "type": "iana-if-type:ethernetCsmacd", "enabled": {}}}]}},
      "ietf-access-control-list:acls": {{"acl": [{}], "attachment-points": {{"interface": [
      {{"interface-id": "port-1", "ingress": {{"acl-sets": {{"acl-set": [{}]}}}}}}]}}}}}})",
                     isEnabled, fmt::join(list, ", "), fmt::join(names, ", "));
}

std::string judged(const json& judgement) {
  const json &configured = judgement["configured"], &device = judgement["device"];
  return fmt::format("{}/{} {}", configured.value("acl", "-"), configured.value("ace", "-"), device["by"].dump());
}

std::vector<std::string> saidOf(const json& step) {
  std::vector<std::string> said;
  for (const json& each : step["interfaces"]) said.push_back(each["acl"].dump() + each["state"].dump());
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
  const auto withRest = [](const std::string& first) { return first + "," + kPermitAll; };
  const std::string lab = withRest(kLab), arp = withRest(kArpAce), length = withRest(kLength),
                    station = withRest(kStationAce);
  for (const auto& [name, documents, setting, said] : std::vector<Case>{
           {"blocked", {document({{'M', kDenyAll}}, false)}, {}, {"Mactive"}},
           {"foreign", {document({{'F', kForeign}})}, {}, {"Frefused"}},
           {"besideForeign",
            {document({{'M', kDenyAll}, {'F', kForeign}})},
            {},
            {"Mdiffers", "Frefused",
             "port-1 eth-acl-type more tcp 192.0.2.1:49152 > 198.51.100.1:443 M/nothing no-acl"}},
           {"refused",
            {document({{'I', lab}}), document({{'I', length}})},
            {},
            {"Irefused", "port-1 ipv4-acl-type more tcp 192.0.3.1:49152 > 198.51.100.1:443 length 40 I/length rest",
             "port-1 ipv4-acl-type less tcp 192.0.2.1:49152 > 198.51.100.1:443 I/rest slot",
             "ACL I was refused: the filter keeps what it held"}},
           {"typeConflict",
            {document({{'I', lab}, {'M', station}})},
            {},
            {"Iactive", "Mrefused", "port-1 eth-acl-type more tcp 192.0.3.1:49152 > 198.51.100.1:443 M/station rest"}},
           {"order",
            {document({{'M', arp}}), document({{'I', kDenyAll}, {'M', arp}})},
            {},
            {"Iactive", "Mactive", "tcp 192.0.2.1:49152 > 198.51.100.1:443: M/rest rest, I/nothing rest",
             "its ACLs came in another order than on a fresh device: M, I, there I, M"}},
           {"again",
            {document({{'I', lab}, {'M', arp}}), document({{'I', kDenyAll}, {'M', arp}})},
            {},
            {"Iactive", "Mactive", "tcp 192.0.3.1:49152 > 198.51.100.1:443: M/rest rest, I/nothing rest",
             "ACL I was written again: I, M, I, on a fresh device I, M"}},
           {"type",
            {document({{'I', lab}, {'M', arp}}), document({{'M', arp}})},
            {},
            {"Mactive", "tcp 192.0.2.1:49152 > 198.51.100.1:443: I/lab slot, M/rest rest"}},
           {"withoutAcl",
            {document({{'I', lab}})},
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

TEST(Judge, AssumesOnlyWhatThereIs) {
  for (const auto& [text, isRight] : {std::pair("vlan=opaque", true), {"vlan=", false}, {"vlans=opaque", false}}) {
    const char* const arguments[] = {"kestrix-sim", "apply", "d", "c", "--assume", text};
    RunResult end;
    const auto line = parseCommandLine(std::size(arguments), arguments, end);
    EXPECT_EQ(line && line->readings.isOther(Reading::vlan), isRight) << text;
    EXPECT_EQ(end.exitStatus, isRight ? kAllApplied : kBadInput) << end.complaint;
  }
}

}  // namespace
}  // namespace Sim
