#include "support/HelperTest.h"

namespace Kestrix::Test {

using PrecreateTest = HelperTest;

TEST_F(PrecreateTest, TakesUpActiveAndFailedInterfacesButNotThoseThatAnotherAclHas) {
  transport->fails = "filter[4]";
  const auto shadow = applied(acl, {e1, e2, e3});
  applied(make<AclData>(AclKey{"other", kIpv4, kOut}), {e3}), applied(macAcl, {e1});
  EXPECT_TRUE(shadow->activeIntf(e1) && shadow->errorIntf(e2) && shadow->activeIntf(e3));
  taken();
  EXPECT_EQ(helper->precreateAcl(acl, nullptr), kNoError);
  EXPECT_THAT(shadow->applyingIntf(), testing::UnorderedElementsAre(e1, e2));
  EXPECT_TRUE(shadow->acl().ip()->rule().empty() && taken().empty());
}

TEST_F(PrecreateTest, OfAnAclOnNoInterfaceOnlyTracesAsDoCommitAndUpdate) {
  trace.levelIs(5);
  EXPECT_EQ(helper->precreateAcl(acl, nullptr), kNoError);
  EXPECT_TRUE(helper->allShadowAcl().empty());
  helper->commitAcl(acl), helper->updateAclPorts(acl, true);
  const std::string of = "acl: edge type: ipv4 direction: out";
  EXPECT_THAT(taken(),
              ElementsAre("5 precreateAcl: " + of, "5 precreateAcl: ACL not attached to any interfaces. Ignoring",
                          "5 commitAcl: " + of, "5 updateAclPorts: " + of));
}

}  // namespace Kestrix::Test
