#include "support/HelperTest.h"

namespace Kestrix::Test {

TEST(IpMacUnion, HoldsOneAlternativeAndOrdersIpFirst) {
  const AclAddrWithMask none, ip(Platform::IpAddrWithFullMask{Platform::IpAddr(~0u), ~0u});
  EXPECT_TRUE(none < ip && ip < AclAddrWithMask(Platform::EthAddrWithMask{}));
  EXPECT_THROW(ip.mac(), Platform::BadUnionAccessError);
  EXPECT_NE(ShadowAcl::Acl(make<IpAcl>(AclKey())), ShadowAcl::Acl(make<IpAcl>(AclKey()))) << "equal, but not the same";
}

TEST(BaseAcl, NextRuleKeyFollowsTheRunFromZeroOrOne) {
  const std::pair<std::vector<uint8_t>, int> rows[] = {{{}, 0},     {{0}, 1},    {{1}, 2},      {{2}, 1},
                                                       {{0, 2}, 1}, {{2, 1}, 3}, {{3, 0, 1}, 2}};
  for (const auto& [keys, next] : rows) {
    const auto acl = make<IpAcl>(AclKey());
    for (const uint8_t key : keys) acl->ruleIs(AclRule(key));
    EXPECT_EQ(acl->getNextAclRuleKey(), next) << testing::PrintToString(keys);
  }
}

}  // namespace Kestrix::Test
