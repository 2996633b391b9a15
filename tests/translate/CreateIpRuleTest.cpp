#include "support/HelperTest.h"

namespace Kestrix::Test {
namespace {

// "<side>,<permitAny>,<l4>,<number of rules>", and the last rule.
std::string textOf(const IpAcl& acl) {
  const AclRule rule = acl.rule(static_cast<uint8_t>(acl.rule().size() - 1));
  return fmt::format("{},{},{},{} {} {} {} {}{}", textOr(acl.srcOrDst()), textOr(acl.permitAny()), acl.l4(),
                     acl.rule().size(), rule.action(), rule.addrWithMask().ip(), rule.port(), rule.tcp() ? "tcp" : "",
                     rule.udp() ? "udp" : "");
}

struct IpStep {
  SubruleFields subrule;
  const char* outcome;          // The error, and the last decision traced.
  const char* after = nullptr;  // The ACL; null when the step must leave it as it was.
};
}  // namespace

struct CreateIpRuleTest : HelperTest {
  const Ptr<AclData> in = make<AclData>(AclKey{"edge", kIpv4, kIn});
  const Ptr<AclData> unsupported = make<AclData>(AclKey{"edge", kIpv6, kIn});
};

TEST_F(CreateIpRuleTest, TranslatesOrRefusesEachSubrule) {
  constexpr char kNet[] = "10.0.0.0/255.0.0.0", kHost[] = "10.1.1.1/255.255.255.255";
  constexpr char kCreated[] = "0 rule creation successful!", kVerdict[] = "0 special rule creation successful!";
  constexpr char kAllPermitted[] = ",true,false,0 deny 0.0.0.0/0.0.0.0 0 ";
  constexpr char kBoth[] = "13 non-any addresses or ports on both source and destination";
  constexpr char kNotDestination[] = "13 can't filter on destination, already filtering on source";
  const std::vector<IpStep> acls[] = {
      {{{.src = kNet}, kCreated, "source,,false,1 permit 10.0.0.0/0.255.255.255 0 tcpudp"},
       {{.dst = kHost}, kNotDestination},
       {{.src = kHost, .dstPort = 1}, kBoth},
       {{.dst = kHost, .srcPort = 1}, kBoth},
       {{.proto = 6}, kCreated, "source,,false,2 permit 0.0.0.0/255.255.255.255 0 tcp"},
       {{.action = kDeny}, kVerdict, "source,false,false,2 permit 0.0.0.0/255.255.255.255 0 tcp"},
       {{.dst = kHost}, kNotDestination},  // Refused, though what passes the checks is dropped.
       {{.src = kHost, .srcPort = 1}, "0 filtering on source"},
       {{}, "0 filtering on any source and any destination"}},
      {{{.proto = 17, .dst = kHost, .dstPort = 53}, kCreated, "destination,,true,1 permit 10.1.1.1/0.0.0.0 53 udp"},
       {{.srcPort = 80}, "13 can't filter on source, already filtering on destination"},
       {{.action = kUnknown, .dst = kNet}, kCreated, "destination,,true,2 3 10.0.0.0/0.255.255.255 0 tcpudp"},
       {{.dst = kNet}, "15 no available rule registers"},
       {{.action = kUnknown}, kVerdict, "destination,false,true,2 3 10.0.0.0/0.255.255.255 0 tcpudp"}},
      {{{.proto = 6}, kCreated, ",,false,1 permit 0.0.0.0/255.255.255.255 0 tcp"},
       {{.action = kDeny, .srcPort = 80}, kCreated, "source,,true,2 deny 0.0.0.0/255.255.255.255 80 tcpudp"}},
      {{{.src = "0.0.0.0/255.0.0.0", .srcLow = 1, .srcHigh = 1, .dstLow = 2}, kVerdict, kAllPermitted},
       {{.proto = 1}, "13 unsupported IP protocol 1"},
       {{.srcLow = 80, .srcHigh = 81}, "13 port ranges unsupported"},
       {{.proto = 1, .dstHigh = 1}, "13 port ranges unsupported"},
       {{.srcHigh = 1, .ipLen = {1, 0, 0, 0}}, "13 ipLen filter not supported"},
       {{.ipLen = {0, 0, 0, 1}}, "13 ipLen filter not supported"}}};
  build(2, 0);  // The limit is that of the ACL's direction.
  trace.levelIs(5);
  for (const auto& steps : acls) {
    const auto shadow = attached(in, {e1});
    for (const auto& [subrule, outcome, after] : steps) {
      const std::string before = textOf(*shadow->acl().ip());
      shadow->applyingIntfIs(e1);
      const int error = int(translate(in, subrule));
      EXPECT_EQ(fmt::format("{} {}", error, taken("5 createIpAclSubrule: ").back().substr(22)), outcome);
      EXPECT_EQ(textOf(*shadow->acl().ip()), after ? after : before) << outcome;
      EXPECT_EQ(shadow->applyingIntf(e1), error == 0) << outcome;
    }
  }
}

TEST_F(CreateIpRuleTest, AnUnsupportedAclIsRefusedButForPermittedFragments) {
  const auto shadow = helper->allShadowAclIs(unsupported->key());
  const Acl::IpRuleConfig permit{kPermit, {}}, deny;
  trace.levelIs(5);
  EXPECT_EQ(translate(unsupported, {}), kNotSupported);
  EXPECT_EQ(taken()[1], "5 createIpAclSubrule: Unsupported ACL: edge(ipv6,in)");
  EXPECT_EQ(finish(unsupported), kNoError);
  EXPECT_FALSE(shadow->aclRulesFinalized());
  EXPECT_EQ(helper->createIpFragRule(unsupported, permit, {}, 5, 6), kNoError);
  EXPECT_EQ(helper->createIpFragRule(in, deny, {}, 5, 6), kNoError);
  EXPECT_EQ(helper->createIpFragRule(unsupported, deny, {}, 5, 6), kNotSupported);
  EXPECT_THAT(taken(), ElementsAre("5 createFinalAclRule: acl: edge, type: ipv6, direction: in, rule: 9",
                                   "5 createIpFragRule: acl: edge type: ipv6 direction: in rule: 5",
                                   "5 createIpFragRule: acl: edge type: ipv4 direction: in rule: 5",
                                   "5 createIpFragRule: acl: edge type: ipv6 direction: in rule: 5", "dirty true",
                                   "publish Kestrix true", "unitError Kestrix 13"));
}

}  // namespace Kestrix::Test
