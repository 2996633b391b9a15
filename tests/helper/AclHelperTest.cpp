#include "support/HelperTest.h"

namespace Kestrix::Test {

struct AclHelperTest : HelperTest {};

TEST_F(AclHelperTest, SupportFollowsTypeAndIngressRegisters) {
  trace.levelIs(6);
  const char *const kProfile = "Profile does not support ingress ACLs", *const kType = "Unsupported ACL type ipv6";
  const std::tuple<uint8_t, AclKey, std::string> rows[] = {
      {0, {"a", kIpv4, kIn}, kProfile}, {0, {"a", kIpv6, kIn}, kProfile}, {0, {"a", kMac, kOut}, ""},
      {24, {"a", kMac, kIn}, ""},       {24, {"a", kIpv6, kIn}, kType},   {24, {"a", kIpv6, kOut}, kType}};
  for (const auto& [inRules, key, refusal] : rows) {
    build(inRules, 0);
    helper->hwInit();
    EXPECT_EQ(helper->ingressIpAclSupported() && helper->ingressMacAclSupported(), inRules != 0);
    EXPECT_TRUE(helper->egressIpAclSupported() && helper->egressMacAclSupported() && helper->intfAclSupported());
    EXPECT_EQ(helper->aclSupported(key), refusal.empty());
    Lines traces{"5 hwInit: ", fmt::format("6 aclSupported: ACL direction: {} type: {}", key.direction, key.type)};
    if (!refusal.empty()) traces.push_back("6 aclSupported: " + refusal);
    EXPECT_EQ(taken(), traces);
    EXPECT_EQ(helper->precreateAcl(make<AclData>(key), nullptr), refusal.empty() ? kNoError : kNotSupported);
    EXPECT_EQ(helper->lastRefused().toText(), refusal);
    taken();
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

TEST_F(AclHelperTest, TracesWhatItHasNothingToDoFor) {
  trace.levelIs(5);
  EXPECT_EQ(helper->precreateAcl(acl, nullptr), kNoError);
  EXPECT_TRUE(helper->allShadowAcl().empty());
  helper->commitAcl(acl), helper->updateAclPorts(acl, true);
  const std::string of = "acl: edge type: ipv4 direction: out";
  EXPECT_THAT(taken(),
              ElementsAre("5 precreateAcl: " + of, "5 precreateAcl: ACL not attached to any interfaces. Ignoring",
                          "5 commitAcl: " + of, "5 updateAclPorts: " + of));
}

TEST_F(AclHelperTest, KeepsItsStatusForWhoDoesNotListen) {
  for (const auto& listening : {make<VelHelper::AclStatusListener>(), Ptr<VelHelper::AclStatusListener>()}) {
    helper->listenerIs(listening);
    helper->setCreationError(attached(acl, {e1}), kNotSupported), finish(acl), helper->blockIntf(e1, true, 0);
    EXPECT_TRUE(helper->dirty() && helper->publishUnitError("Kestrix") && helper->aclIntfBlockedStatus().at(e1));
    EXPECT_EQ(helper->unitError("Kestrix"), kNotSupported);
  }
}

TEST_F(AclHelperTest, AReplacedFilterKeepsTheDelayAndLosesWhatWasSetByName) {
  filter(e1)->delayIs(true), filter(e1)->multicastIs(1), filter(e1)->permitMulticastIs(true);
  attached(acl, {e1});
  EXPECT_EQ(helper->createFinalAclRuleWithId(kMac, {}, acl, 9), kNoError);
  EXPECT_TRUE(filter(e1)->delay() && !filter(e1)->multicast() && !filter(e1)->permitMulticast());
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
