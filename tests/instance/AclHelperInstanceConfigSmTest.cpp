// When the reactor applies the flag. What it then writes, publishes and traces, and when, the reference machine knows.
#include "instance/AclHelperInstanceConfigSm.h"

#include "instance/EntryPoints.h"
#include "support/HelperTest.h"

namespace Kestrix::Test {

struct AclHelperInstanceConfigSmTest : HelperTest {
  AclHelperInstanceConfigSmTest() { vcsd->intfIs(e1, false); }  // The value does not count.
  void makeReactor() { reactor = aclHelperInstanceConfigSmFactory(config, status, vcsd, helper); }

  const Ptr<Platform::InstanceConfig> config = make<Platform::InstanceConfig>();
  const Ptr<Platform::InstanceStatus> status = make<Platform::InstanceStatus>();
  Ptr<AclHelperInstanceConfigSm> reactor;
  const Lines once{"msp_return[0]/filter[3]/enable 0x4", "msp_send[0]/i_filter[3]/enable 0x4"};
};

TEST_F(AclHelperInstanceConfigSmTest, AppliesTheFlagWhenMade) {
  config->aclDropDelayIs(true);
  EXPECT_FALSE(status->aclDropDelay());
  makeReactor();
  EXPECT_EQ(taken(), once);
  EXPECT_TRUE(status->aclDropDelay());
}

TEST_F(AclHelperInstanceConfigSmTest, FollowsTheFlagBeforeItAppliesItFirst) {
  trace.levelIs(5);
  config->aclDropDelayIs(true);
  onTrace = [&] {
    onTrace = [] {};
    config->aclDropDelayIs(true);
  };
  makeReactor();
  EXPECT_EQ(taken("enable").size(), 2 * once.size());
}

TEST_F(AclHelperInstanceConfigSmTest, AppliesTheFlagWheneverItIsNotifiedAndNothingElse) {
  makeReactor();
  taken();
  config->aclDropDelayIs(true);
  EXPECT_EQ(taken(), once);
  config->aclDropDelayIs(true);
  EXPECT_EQ(taken(), once) << "also without a change";
  config->publisher().notify(387);
  EXPECT_EQ(taken(), once);
  config->publisher().notify(386);
  EXPECT_THAT(taken(), IsEmpty()) << "another attribute";
}

TEST_F(AclHelperInstanceConfigSmTest, FollowsNothingWhileItIsInactiveAndOnceAfterwards) {
  makeReactor();
  taken();
  reactor->hasNotificationActiveIs(false);
  reactor->hasNotificationActiveIs(false);
  config->aclDropDelayIs(true);
  EXPECT_FALSE(reactor->hasNotificationActive());
  reactor->hasNotificationActiveIs(true);
  reactor->hasNotificationActiveIs(true);
  EXPECT_TRUE(reactor->hasNotificationActive());
  EXPECT_THAT(taken(), IsEmpty()) << "switching on applies nothing by itself";
  config->publisher().notify(387);
  EXPECT_EQ(taken(), once);
}

TEST_F(AclHelperInstanceConfigSmTest, EndsItsPassAndItsSubscriptionWhenDroppedInTheMiddle) {
  makeReactor();
  taken();
  transport->onAccess = [&] { reactor = nullptr; };
  config->aclDropDelayIs(true);
  EXPECT_EQ(taken(), once);
  EXPECT_TRUE(status->aclDropDelay());
  EXPECT_EQ(config->publisher().subscribers(), 0u);
}

TEST_F(AclHelperInstanceConfigSmTest, RefusesNull) {
  const std::pair<std::function<void()>, std::string> rows[] = {
      {[&] { aclHelperInstanceConfigSmFactory(nullptr, status, vcsd, helper); }, "instanceConfig"},
      {[&] { aclHelperInstanceConfigSmFactory(config, nullptr, vcsd, helper); }, "instanceStatus"},
      {[&] { aclHelperInstanceConfigSmFactory(config, status, nullptr, helper); }, "vcsd"},
      {[&] { aclHelperInstanceConfigSmFactory(config, status, vcsd, nullptr); }, "aclHelper"}};
  for (const auto& [make, argument] : rows)
    EXPECT_THAT(make, ThrowsMessage<Platform::RangeError>(
                          fmt::format("Kestrix::AclHelperInstanceConfigSm.{}: must not be null", argument)));
}

// What an agent gets that loads the library at run time.
TEST(EntryPoints, AreTheFunctionsOfTheirNames) {
  const EntryPoints& loaded = *kestrixAclEntryPoints();
  EXPECT_EQ(loaded.aclHelperFactory, &aclHelperFactory);
  EXPECT_EQ(loaded.aclHelperInstanceConfigSmFactory, &aclHelperInstanceConfigSmFactory);
  EXPECT_EQ(loaded.aclTraceHandle, &aclTraceHandle);
}

}  // namespace Kestrix::Test
