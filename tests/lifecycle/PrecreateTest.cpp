#include "support/HelperTest.h"

namespace Kestrix::Test {

using PrecreateTest = HelperTest;

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
