#include "support/HelperTest.h"

namespace Kestrix::Test {

struct PrecreateTest : HelperTest {};

TEST_F(PrecreateTest, MarksInterfacesToApplyInOrderUnlessAnotherAclHoldsThem) {
  const auto mac = make<AclData>(AclKey{"edge", kMac, kIn});
  const IntfId e10("e10");  // It has no filter.
  const auto shadow = attached(mac, {e1});
  const auto old = shadow->acl().mac();
  shadow->activeIntfIs(e2), shadow->errorIntfIs(e3, kNotSupported), shadow->errorIntfIs(e10, kNotSupported);
  shadow->aclRulesFinalizedIs(true);
  const auto e2Filter = helper->inShadowFilter()->shadowFilter(e2);
  e2Filter->macAclIs(make<MacAcl>(AclKey{"edge", kMac, kIn, 7}));  // Names alone are compared,
  e2Filter->ipAclIs(make<IpAcl>(AclKey{"other"}));                 // of the slot of its type
  filter(e2)->macAclIs(make<MacAcl>(AclKey{"other"}));             // and its direction.
  helper->inShadowFilter()->shadowFilter(e3)->macAclIs(make<MacAcl>(AclKey{"other"}));
  trace.levelIs(6);
  EXPECT_EQ(helper->precreateAcl(mac, nullptr), kNoError);
  EXPECT_EQ(intfsOf(*shadow), "e1 applying, e10 applying, e2 applying");
  EXPECT_TRUE(!shadow->aclRulesFinalized() && shadow->acl().mac() != old && shadow->acl().mac()->key() == mac->key());
  Lines lines = taken("precreateAcl: ");
  std::sort(lines.begin() + 3, lines.begin() + 5);  // Their order is open.
  EXPECT_THAT(lines,
              ElementsAre("5 precreateAcl: acl: edge type: mac direction: in", "5 precreateAcl: creating fresh MAC ACL",
                          "6 precreateAcl: existing active intf: e2", "6 precreateAcl: existing error intf: e10",
                          "6 precreateAcl: existing error intf: e3", "5 precreateAcl: marking e2 to apply edge(mac,in)",
                          "5 precreateAcl: e3 in use by another ACL, no-op",
                          "5 precreateAcl: marking e10 to apply edge(mac,in)"));
}

TEST_F(PrecreateTest, IgnoresWhatIsNotAttachedAndRefusesWhatIsNotSupported) {
  trace.levelIs(5);
  EXPECT_EQ(helper->precreateAcl(acl, nullptr), kNoError);
  EXPECT_TRUE(helper->allShadowAcl().empty());
  EXPECT_EQ(helper->precreateAcl(make<AclData>(AclKey{"edge", kIpv6, kOut}), nullptr), kNotSupported);
  helper->commitAcl(acl);
  helper->updateAclPorts(acl, true);
  EXPECT_THAT(taken(), ElementsAre("5 precreateAcl: acl: edge type: ipv4 direction: out",
                                   "5 precreateAcl: ACL not attached to any interfaces. Ignoring",
                                   "5 precreateAcl: acl: edge type: ipv6 direction: out",
                                   "5 commitAcl: acl: edge type: ipv4 direction: out",
                                   "5 updateAclPorts: acl: edge type: ipv4 direction: out"));
}

}  // namespace Kestrix::Test
