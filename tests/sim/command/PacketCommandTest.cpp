#include "command/PacketCommand.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "command/CommandLine.h"
#include "sim/Examples.h"
#include "verdict/Probe.h"

namespace Sim {
namespace {

using testing::ElementsAre;

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  return text.replace(text.find(from), from.size(), to);
}

// What becomes of a packet on an interface of the device: the two sides in words, and which ACLs are not in force.
std::vector<std::string> answer(const std::string& device, const std::vector<std::string>& configs,
                                const PacketOptions& options) {
  CommandLine line{.deviceFile = "d", .json = true, .packet = options};
  std::vector<FileText> files;
  for (const std::string& config : configs) files.push_back({config});
  line.configFiles.assign(files.size(), "c");
  Progress none;
  const auto report = nlohmann::json::parse(runPacket(line, {example(device)}, files, {}, {}, none).output);
  const auto& packet = report["packets"][0];
  std::vector<std::string> words{report["result"]};
  const auto add = [&](const nlohmann::json& from, std::initializer_list<const char*> members) {
    std::string& all = words.emplace_back();
    for (const char* member : members) {
      if (!all.empty()) all += ' ';
      all += from.contains(member) ? from[member].dump() : "-";
    }
  };
  for (const char* side : {"configured", "device"}) add(packet[side], {"permits", "acl", "ace", "by", "slot"});
  for (const auto& each : packet["inactive"]) add(each, {"acl", "state", "code", "keepsPrevious"});
  for (std::string& each : words) std::erase(each, '"');
  return words;
}

TEST(PacketCommand, TellsWhoDecidesWhereAnAclIsNotInForce) {
  const std::string policy = example("access-edge.json");
  // Refused for a range of ports, so that the version before it stays, which denied this.
  const std::string refused =
      replaced(replaced(policy, R"("eq", "port": 25)", R"("gte", "port": 25)"), "198.51.100.0", "198.51.101.0");
  EXPECT_THAT(answer("edge-switch.json", {policy, refused}, {"", "port-2", "ingress", "icmp"}),
              ElementsAre("not-as-configured", "true guest-in internet - -", "false - - slot 2",
                          "guest-in refused port-range true"));
  EXPECT_THAT(answer("edge-switch.json", {refused}, {"", "port-2", "ingress", "icmp"}),
              ElementsAre("as-configured", "true guest-in internet - -", "true - - no-acl -",
                          "guest-in refused port-range false"));
  EXPECT_THAT(
      answer("small-switch.json", {example("refusals.json")}, {"", "port-10", "egress", "tcp"}),
      ElementsAre("not-as-configured", "null - - - -", "true - - no-acl -", "wrong-type refused acl-type false"));
  EXPECT_THAT(answer("edge-switch.json", {policy, example("shared-filter-2.json")}, {"", "port-3", "egress", "tcp"}),
              ElementsAre("as-configured", "false - - - -", "false - - - -"));
}

TEST(Probe, EachLineIsReadOrNamed) {
  Device device;
  device.namesKnown = true;
  for (const char* name : {"e1", "e 1 #"}) {
    device.byName.emplace(name, device.interfaces.size());
    device.interfaces.push_back({Platform::IntfId(name)});
  }
  Diagnostics diagnostics;
  std::vector<std::string> read;
  for (const Probe& each :
       readExpectations("f",
                        "# deny e1 ingress arp\n\n \t permit\te1 ingress  udp  # the rest\r\n"
                        "deny \"e 1 #\" egress ip 2\ndeny \"e1\"egress icmp\naccept e1 ingress arp\n"
                        "permit \"e1 ingress arp\npermit e1 in arp\ndeny e1 ingress",
                        device, diagnostics)) {
    read.push_back(std::to_string(each.line) + (*each.shouldPass ? " permit " : " deny ") + each.intf.toText() +
                   (each.direction == Acl::AclDirection::in ? " in " : " out ") +
                   std::to_string(each.packet[Field::protocol]));
  }
  EXPECT_THAT(read, ElementsAre("3 permit e1 in 17", "4 deny e 1 # out 2", "5 deny e1 out 1"));
  std::vector<std::string> faults;
  for (const Diagnostic& each : diagnostics.all()) {
    EXPECT_FALSE(each.remedy.empty()) << each.message;
    faults.push_back(each.file + " " + each.code + " " + each.message);
  }
  EXPECT_THAT(
      faults,
      ElementsAre("f bad-expectation line 6: \"accept\": expected permit or deny",
                  "f unknown-interface line 7: the device has no interface \"\"e1\"",
                  "f bad-direction line 8: \"in\": expected ingress or egress",
                  "f bad-packet line 9: at the end: expected tcp, udp, icmp, ip, arp, lldp, ipv6 or ethertype"));
}

}  // namespace
}  // namespace Sim
