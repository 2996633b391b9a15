#include "support/HelperTest.h"

namespace Kestrix::Test {

using DetachTest = HelperTest;

TEST_F(DetachTest, RebuildsTheFilterAroundTheAclThatStays) {
  for (const auto& [leaving, enable] : {std::pair(acl, "0x40"), {macAcl, "0x103"}}) {
    applied(acl, {e1}), applied(macAcl, {e1}), taken();
    helper->removeIntfFromAcl({.intf = e1}, leaving, false);
    EXPECT_THAT(taken("enable"), ElementsAre(fmt::format("msp_return[0]/filter[3]/enable {}", enable)));
  }
}

TEST_F(DetachTest, WritesNothingWhereAnotherAclHasTheInterfaceOrNoneReachedIt) {
  const auto given = applied(acl, {e1}), waiting = attached(macAcl, {e1});
  taken();
  helper->removeIntfFromAcl({.intf = e1}, acl, /*belongsToAnother=*/true);
  helper->removeIntfFromAcl({.intf = e1}, macAcl, false);
  EXPECT_THAT(taken(), ElementsAre("status guard(mac,out) 0"));
  EXPECT_FALSE(given->activeIntf(e1) || waiting->applyingIntf(e1) || waiting->deletingIntf(e1));
}

}  // namespace Kestrix::Test
