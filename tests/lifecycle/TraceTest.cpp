// What matters of the traces, and of the order in which a pass visits interfaces. docs/traces.md shows all of it, as it
// happens to be; this says what an agent relies on.
#include "instance/AclHelperInstanceConfigSm.h"
#include "support/HelperTest.h"

namespace Kestrix::Test {

struct TraceTest : HelperTest {
  // Of a collection: all interfaces, as it gives them.
  template <class Collection>
  static std::vector<IntfId> orderOf(const Collection& intfs) {
    return {intfs.begin(), intfs.end()};
  }
  // The interfaces whose filters were written, in their order.
  std::vector<IntfId> visited() {
    std::vector<IntfId> order;
    for (const std::string& line : taken("filter[")) {
      const IntfId intf = line.find("[3]/") != line.npos ? e1 : line.find("[4]/") != line.npos ? e2 : e3;
      if (order.empty() || order.back() != intf) order.push_back(intf);
    }
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

TEST_F(TraceTest, RefusalsAndFailedWritesAreDecisionsAndDetailsAsTheFrameworkIsToldOfThem) {
  applied(acl, {e1});
  EXPECT_EQ(translate(acl, {.proto = 1}), kNotSupported);
  transport->fails = "[4]";
  helper->addIntfToAcl({.intf = e2}, acl, nullptr);
  for (const std::string& line : taken()) EXPECT_FALSE(line.starts_with("0 ")) << line;
}

TEST_F(TraceTest, APassVisitsInterfacesInTheOrderOfItsCollection) {
  const auto shadow = attached(acl, {e1, e2, e3});
  translate(acl, kDns);
  const auto applyingOrder = orderOf(shadow->applyingIntf());
  finish(acl);
  EXPECT_EQ(visited(), applyingOrder);

  for (const IntfId intf : {e3, e1, e2}) shadow->deletingIntfIs(intf);
  const auto deletingOrder = orderOf(shadow->deletingIntf());
  helper->clearAclFromIntfs(shadow);
  EXPECT_EQ(visited(), deletingOrder);
}

}  // namespace Kestrix::Test
