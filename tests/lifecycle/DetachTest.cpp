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

}  // namespace Kestrix::Test
