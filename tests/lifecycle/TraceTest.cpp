// What matters of the traces, and of the order in which a pass visits interfaces. docs/traces.md shows all of it, as it
// happens to be; this says what an agent relies on.
#include "instance/AclHelperInstanceConfigSm.h"
#include "support/HelperTest.h"

namespace Kestrix::Test {

struct TraceTest : HelperTest {
  // The interfaces whose filters a pass has written, in its order.
  std::vector<IntfId> visited() {
    std::vector<IntfId> order;
    for (const std::string& line : taken("/enable"))
      order.push_back(line.find("[3]/") != line.npos ? e1 : line.find("[4]/") != line.npos ? e2 : e3);
    return order;
  }
};

TEST_F(TraceTest, FailuresAreAtLevel0SoThatNobodyCanSwitchThemOff) {
  trace.levelIs(-1);
  EXPECT_THROW(finish(acl), Platform::ConsistencyError);
  EXPECT_THAT(taken(), ElementsAre("0 createFinalAclRule: ACL config should always exist"));
  vcsd->intfIs(e1, true);
  transport->fails = "[3]";
  const auto reactor = aclHelperInstanceConfigSmFactory(make<Platform::InstanceConfig>(),
                                                        make<Platform::InstanceStatus>(), vcsd, helper);
  EXPECT_THAT(taken("Failed"), ElementsAre(testing::StartsWith("0 "), testing::StartsWith("0 ")));
}

TEST_F(TraceTest, APassVisitsInterfacesInTheOrderOfItsCollection) {
  const auto shadow = attached(acl, {e1, e2, e3});
  translate(acl, kDns);
  const auto applying = shadow->applyingIntf();
  finish(acl);
  EXPECT_EQ(visited(), std::vector(applying.begin(), applying.end()));

  for (const IntfId intf : {e3, e1, e2}) shadow->deletingIntfIs(intf);
  const auto deleting = shadow->deletingIntf();
  helper->clearAclFromIntfs(shadow);
  EXPECT_EQ(visited(), std::vector(deleting.begin(), deleting.end()));
}

TEST_F(TraceTest, APrecreationSaysWhatItMarksBeforeItDoes) {
  const auto shadow = applied(acl, {e1});
  trace.levelIs(5);
  onTrace = [&] { EXPECT_FALSE(log.back().starts_with("5 precreateAcl: marking") && shadow->applyingIntf(e1)); };
  helper->precreateAcl(acl, nullptr);
  EXPECT_TRUE(shadow->applyingIntf(e1));
}

}  // namespace Kestrix::Test
