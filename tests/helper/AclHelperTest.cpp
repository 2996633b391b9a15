#include "support/HelperTest.h"

namespace Kestrix::Test {

struct AclHelperTest : HelperTest {};

TEST_F(AclHelperTest, IngressIsSupportedAsTheAttributeSaysWhateverTheSlots) {
  for (const uint8_t slots : {uint8_t{0}, uint8_t{24}}) {
    build(slots, 0);
    EXPECT_EQ(helper->ingressAclsSupported(), slots != 0) << "initially";
    EXPECT_FALSE(helper->ingressIpAclSupported() || helper->egressIpAclSupported()) << "before hwInit";
    for (const bool isSupported : {true, false}) {
      byName(*helper).set("ingressAclsSupported", isSupported);
      helper->hwInit();
      EXPECT_EQ(helper->ingressIpAclSupported(), isSupported);
      EXPECT_EQ(helper->ingressMacAclSupported(), isSupported);
      EXPECT_TRUE(helper->egressIpAclSupported() && helper->egressMacAclSupported() && helper->intfAclSupported());
      EXPECT_EQ(helper->aclSupported({"a", kMac, kIn}), isSupported);
    }
  }
}

TEST_F(AclHelperTest, AnAclIsRefusedForItsDirectionBeforeItsType) {
  trace.levelIs(6);
  const char *const kProfile = "Profile does not support ingress ACLs", *const kType = "Unsupported ACL type ipv6";
  const struct {
    uint8_t inRules;
    Acl::AclType type;
    Acl::AclDirection direction;
    const char* refusal;
  } rows[] = {
      {0, kIpv4, kIn, kProfile}, {0, kIpv6, kIn, kProfile}, {0, kMac, kOut, ""},
      {24, kMac, kIn, ""},       {24, kIpv6, kIn, kType},   {24, kIpv6, kOut, kType},
  };
  for (const auto& [inRules, type, direction, why] : rows) {
    const AclKey key{"a", type, direction};
    const std::string refusal = why;
    build(inRules, 0);
    EXPECT_EQ(helper->aclSupported(key), refusal.empty());
    Lines traces{fmt::format("6 aclSupported: ACL direction: {} type: {}", key.direction, key.type)};
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

TEST_F(AclHelperTest, KeepsItsStatusWithoutAListener) {
  for (const auto& listening : {make<VelHelper::AclStatusListener>(), Ptr<VelHelper::AclStatusListener>()}) {
    helper->listenerIs(listening);
    helper->setCreationError(attached(acl, {e1}), kNotSupported);
    finish(acl);
    helper->blockIntf(e1, true, 0);
    EXPECT_TRUE(helper->dirty() && helper->publishUnitError("Kestrix") && helper->aclIntfBlockedStatus().at(e1));
    EXPECT_EQ(helper->unitError("Kestrix"), kNotSupported);
  }
}

TEST_F(AclHelperTest, RefusesMoreRulesThanTheRegistersHold) {
  using Error = Platform::RangeError;
  EXPECT_THAT([&] { build(25, 24); }, ThrowsMessage<Error>(testing::HasSubstr("inRules: 25 is above the limit 24")));
  EXPECT_THAT([&] { build(24, 25); }, ThrowsMessage<Error>(testing::HasSubstr("outRules: 25 is above the limit 24")));
  EXPECT_NO_THROW(build(24, 24));
}

TEST_F(AclHelperTest, RefusesNullWhenMade) {
  using Error = Platform::RangeError;
  EXPECT_THAT([&] { aclHelperFactory(nullptr, {}, 1, 1, vcsd); },
              ThrowsMessage<Error>("Kestrix::AclHelper.transport: must not be null"));
  EXPECT_THAT([&] { aclHelperFactory(transport, {}, 1, 1, nullptr); },
              ThrowsMessage<Error>("Kestrix::AclHelper.vcsd: must not be null"));
}

TEST_F(AclHelperTest, EveryOperationRefusesANullAcl) {
  const std::function<void()> ofFramework[] = {
      [&] { helper->addIntfToAcl({.intf = e1}, nullptr, nullptr); },
      [&] { helper->removeIntfFromAcl({.intf = e1}, nullptr, false); },
      [&] { helper->precreateAcl(nullptr, nullptr); },
      [&] { translate(nullptr, {}); },
      [&] { translateMac(nullptr, {}); },
      [&] { helper->createIpFragRule(nullptr, {}, {}, 5, 6); },
      [&] { finish(nullptr); },
      [&] { helper->destroyAcl(nullptr); },
      [&] { helper->cleanupAcl(nullptr); },
      [&] { helper->commitAcl(nullptr); },
      [&] { helper->updateAclPorts(nullptr, true); },
  };
  for (const auto& call : ofFramework)
    EXPECT_THAT(call, ThrowsMessage<Platform::RangeError>("aclData: must not be null"));
  const std::function<void()> ofModel[] = {
      [&] { helper->writeAclToIntfs(nullptr); },
      [&] { helper->clearAclFromIntfs(nullptr); },
      [&] { helper->setCreationError(nullptr, kNotSupported); },
  };
  for (const auto& call : ofModel)
    EXPECT_THAT(call, ThrowsMessage<Platform::ConsistencyError>("The shadow ACL should always exist"));
}

TEST_F(AclHelperTest, WhatHasNothingToDoOnlyTraces) {
  trace.levelIs(5);
  EXPECT_EQ(helper->precreateAcl(acl, nullptr), kNoError) << "on no interface";
  helper->commitAcl(acl);
  helper->updateAclPorts(acl, true);
  const std::string of = "acl: edge type: ipv4 direction: out";
  EXPECT_THAT(taken(),
              ElementsAre("5 precreateAcl: " + of, "5 precreateAcl: ACL not attached to any interfaces. Ignoring",
                          "5 commitAcl: " + of, "5 updateAclPorts: " + of));
  EXPECT_TRUE(helper->allShadowAcl().empty());
}

}  // namespace Kestrix::Test
