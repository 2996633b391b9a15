#include "support/HelperTest.h"

namespace Kestrix::Test {
namespace {

// "<side>,<permitAny>,<arp><permitArp>,<lldp><permitLldp>,<number of rules>", and the last rule.
std::string textOf(const MacAcl& acl) {
  std::string text = fmt::format("{},{},{}{},{}{},{}", textOr(acl.srcOrDst()), textOr(acl.permitAny()), acl.arp(),
                                 textOr(acl.permitArp()), acl.lldp(), textOr(acl.permitLldp()), acl.rule().size());
  if (acl.rule().empty()) return text;
  const AclRule& rule = acl.rule().rbegin()->second;
  return text +
         fmt::format(" {} {} {}{}{}", rule.action(), rule.addrWithMask().mac(), rule.port(), rule.tcp(), rule.udp());
}

struct MacStep {
  MacFields rule;
  const char* outcome;          // The error, and the last decision traced.
  const char* after = nullptr;  // The ACL; null when the step must leave it as it was.
};
}  // namespace

struct CreateMacRuleTest : HelperTest {};

TEST_F(CreateMacRuleTest, TranslatesOrRefusesEachRule) {
  constexpr char kHost[] = "00:11:22:33:44:55/ff:ff:ff:ff:ff:ff", kVendor[] = "00:11:22:00:00:00/ff:ff:ff:00:00:00";
  constexpr char kZero[] = "00:00:00:00:00:00/ff:ff:ff:ff:ff:ff";  // Any, whatever the mask.
  constexpr uint32_t kArp = 0x0806, kLldp = 0x88CC, kNone = 0xFFFFFFFF;
  constexpr char kCreated[] = "0 rule creation successful!";
  constexpr char kAnyAny[] = "0 filtering on any source and any destination";
  constexpr char kDropped[] = "0 acl: guard type: mac direction: out rule: 3 id: 7 filter: ethType ";
  const std::vector<MacStep> acls[] = {
      {{{.src = kHost}, kCreated, "source,,false,false,1 permit 00:11:22:33:44:55/00:00:00:00:00:00 0falsefalse"},
       {{.dst = kHost}, "13 can't filter on destination, already filtering on source"},
       {{.src = kHost, .dst = kHost}, "13 non-any addresses on both source and destination"},
       {{.ethType = kArp, .src = kHost}, "13 can't set address or mask on a protocol filter"},
       {{.ethType = 0x0800}, "13 Unsupported EthType: 800"},
       {{.action = kDeny, .ethType = kNone, .src = kVendor, .dst = kZero},
        kCreated,
        "source,,false,false,2 deny 00:11:22:00:00:00/00:00:00:ff:ff:ff 0falsefalse"},
       {{.src = kHost}, "15 no available rule registers"},
       {{.ethType = kArp}, kAnyAny, "source,,truetrue,false,2 deny 00:11:22:00:00:00/00:00:00:ff:ff:ff 0falsefalse"}},
      {{{.dst = kVendor},
        kCreated,
        "destination,,false,false,1 permit 00:11:22:00:00:00/00:00:00:ff:ff:ff 0falsefalse"},
       {{.ethType = kArp, .src = kHost}, "13 can't filter on source, already filtering on destination"}},
      {{{.action = kDeny, .ethType = kArp}, kAnyAny, ",,truefalse,false,0"},
       {{.ethType = kArp}, kAnyAny},  // The first one has decided.
       {{.ethType = kLldp}, kAnyAny, ",,truefalse,truetrue,0"},
       {{.action = kDeny, .ethType = kLldp}, kAnyAny},
       {{.action = kDeny, .src = kZero}, kAnyAny, ",false,truefalse,truetrue,0"},
       {{}, kDropped},
       {{.src = kHost, .dst = kHost}, kDropped},         // Before the sides are looked at,
       {{.ethType = 1}, "13 Unsupported EthType: 1"}}};  // but after the EtherType.
  trace.levelIs(5);
  for (const auto& steps : acls) {
    const auto shadow = attached(macAcl, {e1});
    for (const auto& [rule, outcome, after] : steps) {
      const std::string before = textOf(*shadow->acl().mac());
      SCOPED_TRACE(fmt::format("{} after {}", outcome, before));
      taken();
      const AclCreateError error = translateMac(macAcl, rule);
      const Lines decisions = taken("5 createMacAclRule: ");
      EXPECT_THAT(fmt::format("{} {}", int(error), decisions.back().substr(20)), testing::StartsWith(outcome));
      EXPECT_EQ(textOf(*shadow->acl().mac()), after != nullptr ? after : before);
    }
  }
}

}  // namespace Kestrix::Test
