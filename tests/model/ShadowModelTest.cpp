#include "support/HelperTest.h"

namespace Kestrix::Test {

TEST(IpMacUnion, HoldsOneAlternativeAndOrdersIpFirst) {
  const char* const ascending[] = {"ip=1.0.0.0/0.0.0.1",
                                   "ip=1.0.0.0/0.0.0.2",
                                   "ip=2.0.0.0/0.0.0.1",
                                   "mac=00:00:00:00:01:00/00:00:00:00:00:01",
                                   "mac=00:00:00:00:01:00/00:00:00:00:00:02",
                                   "mac=00:00:00:00:02:00/00:00:00:00:00:01"};
  std::vector<AclAddrWithMask> values;
  for (const char* text : ascending) {
    values.push_back(Platform::fromText<AclAddrWithMask>(fmt::format("Value('Kestrix::AclAddrWithMask', {})", text)));
    for (size_t k = 0; k < values.size(); ++k) {
      EXPECT_EQ(values[k] <=> values.back(), k <=> values.size() - 1) << text;
      EXPECT_EQ(values[k] == values.back(), k == values.size() - 1) << text;
    }
  }
  using NotHeld = Platform::BadUnionAccessError;
  EXPECT_THAT([&] { values.front().mac(); }, ThrowsMessage<NotHeld>("Kestrix::AclAddrWithMask does not hold mac"));
  EXPECT_THAT([&] { values.back().ip(); }, ThrowsMessage<NotHeld>("Kestrix::AclAddrWithMask does not hold ip"));
  EXPECT_TRUE(!AclAddrWithMask() && values[0] && !AclRule(0) && AclRule(1));
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
