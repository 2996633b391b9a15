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

TEST_F(AttachTest, OfOneMoreInterfaceWritesThatOneAlone) {
  applied(acl, {e1}), taken();
  for (const IntfId intf : {e1, e2}) helper->addIntfToAcl({.intf = intf}, acl, nullptr);
  EXPECT_THAT(taken("enable"), ElementsAre("msp_return[0]/filter[4]/enable 0x103"));
}

}  // namespace Kestrix::Test
