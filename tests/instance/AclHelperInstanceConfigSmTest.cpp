#include "instance/AclHelperInstanceConfigSm.h"

#include "support/HelperTest.h"

namespace Kestrix::Test {

struct AclHelperInstanceConfigSmTest : HelperTest {
  AclHelperInstanceConfigSmTest() {
    build(2, 1);
    for (const auto direction : {kIn, kOut}) helper->shadowFilters(direction)->shadowFilterDelAll();
    vcsd->intfIs(e1, false);
    status->downstreamIntfStatusIs(e1);
    const auto out = helper->outShadowFilter()->shadowFilterIs(e1, kIpv4, uint8_t{1});
    for (uint8_t key = 0; key < 3; ++key) out->ruleIs(aRule({.key = key, .port = 1}));
  }
  Lines applied() {
    log.push_back(fmt::format("{} {}", status->downstreamIntfStatus(e1)->aclDropDelay(), status->aclDropDelay()));
    return taken();
  }
  const Ptr<Platform::InstanceConfig> config = make<Platform::InstanceConfig>();
  const Ptr<Platform::InstanceStatus> status = make<Platform::InstanceStatus>();
  Ptr<AclHelperInstanceConfigSm> reactor;
  const Lines on{"msp_return[0]/filter[3]/enable 0x705", "msp_send[0]/i_filter[3]/enable 0x4", "true true"};
};

TEST_F(AclHelperInstanceConfigSmTest, AppliesTheFlagWhenMadeAndFollowsIt) {
  config->aclDropDelayIs(true);
  onTrace = [&] { onTrace = [] {}, config->aclDropDelayIs(true); };  // Already followed then.
  trace.levelIs(5);
  reactor = aclHelperInstanceConfigSmFactory(config, status, vcsd, helper);
  trace.levelIs(0);
  EXPECT_EQ(taken("enable").size(), 4u);
  config->publisher().notify(387);
  EXPECT_EQ(applied(), on);
  config->aclDropDelayIs(true);
  EXPECT_EQ(applied(), on) << "once, and also without a change";
  config->publisher().notify(386);
  EXPECT_THAT(taken(), IsEmpty());
  config->aclDropDelayIs(false);
  EXPECT_THAT(applied(),
              ElementsAre("msp_return[0]/filter[3]/enable 0x701", "msp_send[0]/i_filter[3]/enable 0x0", "false false"));
  for (int i = 0; i < 2; ++i) reactor->hasNotificationActiveIs(false);
  config->aclDropDelayIs(true);
  for (int i = 0; i < 2; ++i) reactor->hasNotificationActiveIs(true);
  EXPECT_TRUE(taken().empty() && reactor->hasNotificationActive()) << "switching on applies nothing by itself";
  config->publisher().notify(387);
  EXPECT_EQ(applied(), on);
  byName(*helper).set("ingressAclsSupported", false);
  transport->onAccess = [&] { reactor = nullptr; };  // Its last reference goes while it runs.
  config->aclDropDelayIs(true);
  EXPECT_THAT(applied(), ElementsAre(on[0], on[2]));
  EXPECT_EQ(config->publisher().subscribers(), 0u);
}

}  // namespace Kestrix::Test
