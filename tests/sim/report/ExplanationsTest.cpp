#include "report/Explanations.h"

#include <gmock/gmock.h>

#include <set>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "read/ConfigurationReader.h"
#include "sim/Documents.h"
#include "simulate/Framework.h"

namespace Sim {
namespace {

using Kestrix::Refusal;

using Cause = std::variant<Refusal, OwnReason>;

struct AclText {
  std::string type;                  // Without "-acl-type".
  std::string direction;             // Empty where it is not attached.
  std::vector<std::string> matches;  // Of an ACE each: a, b, c, ...
};

// ACLs 0, 1, ..., attached to the only interface.
std::string documentOf(const std::vector<AclText>& acls) {
  std::vector<nlohmann::json> all;
  Attached port1{"port-1", acls[0].direction == "ingress" ? "ingress" : "egress", {}};
  for (const auto& [type, direction, matches] : acls) {
    std::vector<nlohmann::json> aces;
    for (const std::string& each : matches) aces.push_back(ace(std::string(1, char('a' + aces.size())), each, "drop"));
    const std::string name = std::to_string(all.size());
    all.push_back(acl(name, type, aces));
    if (!direction.empty()) port1.acls.push_back(name);
  }
  return document(all, {port1});
}

// A small device, and what it says of the first thing that is refused.
class Bench {
 public:
  bool isApplied(const std::vector<AclText>& acls) {
    Diagnostics diagnostics;
    outcome_ = framework_.apply(readConfiguration("c", documentOf(acls), device_, diagnostics));
    for (const Diagnostic& each : diagnostics.all()) ADD_FAILURE() << each.message;
    return outcome_.isAllApplied();
  }
  const Reason& reason() const {
    for (const AclOutcome& acl : outcome_.acls) {
      for (const AceOutcome& ace : acl.aces) {
        if (!ace.reason.empty()) return ace.reason;
      }
      if (!acl.reason.empty()) return acl.reason;
    }
    throw std::out_of_range("nothing is refused");
  }
  Cause cause() const {
    if (const auto* own = std::get_if<OwnReason>(&reason().cause)) return *own;
    return std::get<Kestrix::Refused>(reason().cause).reason;
  }
  std::string told() const {
    std::string text;
    std::vector<Reason> reasons = reasonsAfter(reason());
    reasons.insert(reasons.begin(), reason());
    for (const Reason& each : reasons) text += explain(each).message + " -> " + explain(each).remedy + "\n";
    return text;
  }

 private:
  const Device device_{0, 2, false, {{Platform::IntfId("port-1")}}, {{"port-1", 0}}};
  Framework framework_{device_, Platform::make<SimFpga>(), [](size_t, size_t) {}};
  Outcome outcome_;
};

struct Remedy {
  Cause cause;
  std::vector<AclText> acls;
  std::vector<std::string> told;  // Beside other words, in this order.
  std::vector<AclText> mended;    // As it says.
};

std::vector<AclText> ip(std::vector<std::string> matches) { return {{"ipv4", "egress", std::move(matches)}}; }
std::vector<AclText> mac(std::vector<std::string> matches) { return {{"eth", "egress", std::move(matches)}}; }

const std::string kFrom = R"("ipv4": {"source-ipv4-network": "192.0.2.0/24"})";
const std::string kTcpFrom = R"("ipv4": {"source-ipv4-network": "192.0.2.0/24", "protocol": 6})";
const std::string kTo = R"("tcp": {"destination-port": {"port": 443}})";
const std::string kMacFrom = R"("source-mac-address": "00:00:5e:00:53:01")";
const std::string kMacTo =
    R"("destination-mac-address": "00:00:5e:00:53:00", "destination-mac-address-mask": "ff:ff:ff:ff:ff:00")";
const std::string kArp = R"("ethertype": "arp")", kLldp = R"("ethertype": "lldp")";
std::string eth(const std::string& fields) { return R"("eth": {)" + fields + "}"; }
std::string ports(const std::string& ports) { return R"("tcp": {"destination-port": {)" + ports + "}}"; }

using enum Refusal;
const Remedy kRemedies[] = {
    {ipLength,
     ip({R"("ipv4": {"length": 40, "protocol": 1})"}),
     {"(length 40)", "Leave out length 40: this widens the rule.", "IP protocol 1 (protocol 1)",
      "Leave out protocol 1: the rule then matches everything, and none after it is reached."},
     ip({""})},
    {ipLength,
     ip({"", R"("ipv4": {"length": 9, "protocol": 1})"}),
     {"(length 9)", "\"a\" before it", "remove it.\n"},
     ip({""})},
    {portRange,
     ip({ports(R"("lower-port": 80, "upper-port": 81)")}),
     {"(destination-port 80-81)",
      "2 ports, and 2 of 2 slots are free: write 2 rules, one per port. Or leave out "
      "destination-port 80-81, and write \"protocol\": 6 in \"ipv4\" for \"tcp\""},
     ip({ports(R"("port": 80)"), ports(R"("port": 81)")})},
    {portRange,
     ip({ports(R"("operator": "lte", "port": 1)")}),
     {"(destination-port lte 1)",
      "write 1 rule, one per port but port 0, which cannot be matched: this narrows the rule."},
     ip({ports(R"("port": 1)")})},
    // The rules after it take slots, too. Without the range, nothing is left on the other side.
    {portRange,
     ip({kFrom + "," + ports(R"("operator": "neq", "port": 80)"), kFrom}),
     {"(destination-port neq 80)",
      "65535 ports, and 1 of 2 slots are free: one rule per port does not fit. Leave out "
      "destination-port neq 80, and write \"protocol\": 6 in \"ipv4\" for \"tcp\", which is then empty: this widens "
      "the rule.\n"},
     ip({kTcpFrom, kFrom})},
    {ipProtocol,
     ip({kTo, R"("ipv4": {"source-ipv4-network": "192.0.2.0/24", "protocol": 47})"}),
     {"(protocol 47)", "TCP (6) and UDP (17)", "Leave out protocol 47: this widens the rule.",
      "(source-ipv4-network 192.0.2.0/24)", R"(ACE "a" settles this one on the destination (destination-port eq 443))"},
     ip({kTo, ""})},
    {ipBothSides,
     ip({kFrom + "," + kTo, kTo}),
     {"(source-ipv4-network 192.0.2.0/24, destination-port eq 443)", "ACE \"b\" settles this one on the destination",
      "Leave out source-ipv4-network 192.0.2.0/24: this widens the rule."},
     ip({kTo, kTo})},
    {ipBothSides,
     ip({kFrom + "," + kTo}),
     {"Leave out source-", "Or leave out destination-port eq 443"},
     ip({kTcpFrom})},
    {destinationInSourceAcl,
     ip({kFrom, kTo}),
     {"(destination-port eq 443)", R"(ACE "a" settles this one on the source (source-ipv4-network 192.0.2.0/24))",
      "Leave out destination-port eq 443", "this widens the rule", "attached to another interface: a filter takes one"},
     ip({kFrom, R"("ipv4": {"protocol": 6})"})},
    {sourceInDestinationAcl, ip({kTo, kFrom}), {"(source-", "\"a\" settles", "matches everything"}, ip({kTo, ""})},
    {noSlot, ip({kTo, kTo, kTo}), {"has 2 slots, and the rules of this ACL take 3"}, ip({kTo, kTo})},
    {etherType,
     mac({eth(R"("ethertype": 34525, )" + kMacFrom + ", " + kMacTo)}),
     {"(ethertype 0x86dd)", "Leave out ethertype 0x86dd: this widens the rule.", "on both source and destination",
      "Or leave out destination-mac-address 00:00:5e:00:53:00 mask ff:ff:ff:ff:ff:00"},
     mac({eth(kMacFrom)})},
    {macBothSides,
     mac({eth(kMacTo + "," + kMacFrom), eth(kMacFrom)}),
     {"(source-mac-address 00:00:5e:00:53:01, destination-mac-address", "\"b\" settles this one on the source"},
     mac({eth(kMacFrom), eth(kMacFrom)})},
    {protocolAddress,
     mac({eth(kArp + "," + kMacFrom), eth(kMacFrom)}),
     {"ethertype arp)", "Leave out source-mac-address 00:00:5e:00:53:01: this widens the rule. Or leave out ethertype"},
     mac({eth(kArp), eth(kMacFrom)})},
    {protocolAddress,
     mac({eth(kMacFrom), eth(kMacFrom), eth(kLldp + "," + kMacFrom)}),
     {"53:01: this widens the rule.\n"},
     mac({eth(kMacFrom), eth(kMacFrom), eth(kLldp)})},
    {noIngress, {{"ipv4", "ingress", {kFrom}}}, {"Attach the ACL to egress, where it filters what"}, ip({kFrom})},
    {aclType,
     {{"mixed-eth-ipv4", "egress", {}}, {"ipv4", "egress", {}}},
     {"(type mixed-eth-ipv4-acl-type)", "Remove the ACL and the ACL sets that name it, or"},
     {{"eth", "egress", {eth(kArp)}}, {"ipv4", "egress", {kFrom}}}},
    {aclType, {{"ipv6", "", {}}, {"ipv4", "egress", {}}}, {"Remove the ACL"}, ip({})},
    {typeConflict,
     {{"ipv4", "egress", {kFrom}}, {"eth", "egress", {eth(kMacFrom), eth(kArp)}}},
     {"(ACL 0)", "to another interface, or leave the rules with addresses out of the MAC ACL"},
     {{"ipv4", "egress", {kFrom}}, {"eth", "egress", {eth(kArp)}}}},
    {OwnReason::notAttached, {{"ipv4", "", {kFrom}}}, {"attachment-points to apply it"}, ip({kFrom})},
};

TEST(Explanations, ARemedyThatIsFollowedIsEnough) {
  for (const Remedy& each : kRemedies) {
    SCOPED_TRACE(documentOf(each.acls));
    Bench bench;
    EXPECT_EQ(bench.isApplied(each.acls), each.cause == Cause(OwnReason::notAttached));
    EXPECT_EQ(bench.cause(), each.cause);
    size_t position = 0;
    for (const std::string& piece : each.told) {
      position = bench.told().find(piece, position);
      ASSERT_NE(position, std::string::npos) << piece << "\nis not in\n" << bench.told();
    }
    // What ends a line ends all that is told.
    EXPECT_TRUE(!each.told.back().ends_with('\n') || bench.told().ends_with(each.told.back())) << bench.told();
    EXPECT_TRUE(bench.isApplied(each.mended)) << bench.told();
  }
}

// But for failed writes, see Run, and those that only attributes set by name lead to.
TEST(Explanations, EveryReasonHasARemedyThatIsFollowed) {
  std::set<Cause> followed{none, tooManyRules, OwnReason::dropped, OwnReason::writeFailed};
  for (const Remedy& each : kRemedies) followed.insert(each.cause);
  EXPECT_EQ(followed.size(), Kestrix::kRefusals.size() + kOwnReasons.size());
}

}  // namespace
}  // namespace Sim
