#include "support/HelperTest.h"

namespace Kestrix::Test {

struct AclHelperTest : HelperTest {};

TEST_F(AclHelperTest, SupportsIngressWhereThereAreRuleRegistersForIt) {
  for (const uint8_t inRules : {uint8_t{0}, uint8_t{24}}) {
    build(inRules, 0);
    helper->hwInit();
    EXPECT_EQ(helper->ingressIpAclSupported() && helper->ingressMacAclSupported(), inRules != 0);
    EXPECT_EQ(helper->aclSupported({"a", kMac, kIn}), inRules != 0);
    EXPECT_TRUE(helper->egressIpAclSupported() && helper->egressMacAclSupported() && helper->intfAclSupported());
  }
}

TEST_F(AclHelperTest, AnswersForInterfaces) {
  trace.levelIs(5);
  vcsd->intfIs(e1, false);  // The value does not count.
  EXPECT_TRUE(helper->intfSupportsAcl(e1) && !helper->intfSupportsAcl(e2));
  EXPECT_EQ(helper->intfLinecardName(e2), "FixedSystem");
  EXPECT_THAT(taken(), ElementsAre("5 intfSupportsAcl: intf: e1", "5 intfSupportsAcl: intf: e2",
                                   "5 intfLinecardName: intf: e2"));
}

TEST_F(AclHelperTest, BlockingKeepsTheLowBitsAndIsAlwaysRecorded) {
  transport->fails = "rx";  // The next write of a filter reports it.
  for (const auto& [block, value, written] : {std::tuple(true, 0xFFFFFF25, "0x1d"), {false, 0x1E, "0x6"}}) {
    transport->readValue = uint32_t(value);
    helper->blockIntf(e1, block, 9);
    EXPECT_THAT(taken("linkmon"), testing::Contains(fmt::format("msp_send[0]/rx[3]/linkmon_ctl {}", written)));
    EXPECT_EQ(helper->aclIntfBlockedStatus().contains(e1), block);
  }
}

TEST_F(AclHelperTest, KeepsItsStatusWithoutAListener) {
  for (const auto& listening : {make<VelHelper::AclStatusListener>(), Ptr<VelHelper::AclStatusListener>()}) {
    helper->listenerIs(listening);
    helper->setCreationError(attached(acl, {e1}), kNotSupported), finish(acl), helper->blockIntf(e1, true, 0);
    EXPECT_TRUE(helper->dirty() && helper->publishUnitError("Kestrix") && helper->aclIntfBlockedStatus().at(e1));
    EXPECT_EQ(helper->unitError("Kestrix"), kNotSupported);
  }
}

TEST_F(AclHelperTest, RefusesNullAndMoreRulesThanTheRegistersHold) {
  using Error = Platform::RangeError;
  EXPECT_THAT([&] { helper->commitAcl(nullptr); }, ThrowsMessage<Error>("aclData: must not be null"));
  EXPECT_THAT([&] { build(25, 24); }, ThrowsMessage<Error>(testing::HasSubstr("inRules: 25 is above the limit 24")));
  EXPECT_THAT([&] { aclHelperFactory(nullptr, {}, 1, 1, vcsd); },
              ThrowsMessage<Error>("Kestrix::AclHelper.transport: must not be null"));
  EXPECT_THAT([&] { build(24, 25); }, ThrowsMessage<Error>(testing::HasSubstr("outRules: 25 is above the limit 24")));
}

}  // namespace Kestrix::Test
