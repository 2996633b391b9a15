#include "support/HelperTest.h"

namespace Kestrix::Test {

using AttachTest = HelperTest;

TEST_F(AttachTest, WritesTheFilterWithTheFinalRuleAndNotBefore) {
  filter(e1)->delayIs(true), filter(e1)->multicastIs(1), filter(e1)->permitMulticastIs(true);
  const auto shadow = attached(acl, {e1});
  translate(acl, kDns);
  EXPECT_TRUE(taken().empty() && shadow->applyingIntf(e1));
  EXPECT_EQ(helper->createFinalAclRuleWithId(kMac, {}, acl, 9), kNoError);
  EXPECT_TRUE(shadow->activeIntf(e1) && !shadow->applyingIntf(e1));
  // The drop delay stays; what was set by name goes with the old filter.
  EXPECT_EQ(transport->registers["msp_return[0]/filter[3]/enable"], 0x107u);
  EXPECT_EQ(transport->registers["msp_return[0]/filter[3]/action"], 0x100u);
}

}  // namespace Kestrix::Test
