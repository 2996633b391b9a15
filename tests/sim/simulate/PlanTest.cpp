#include "simulate/Plan.h"

#include <gmock/gmock.h>

namespace Sim {
namespace {

using testing::ElementsAre, testing::IsEmpty;

struct CallText {
  std::string operator()(const AddIntf& call) { return "add " + call.key.name + " " + call.intf.toText(); }
  std::string operator()(const HandOver& call) { return "hand over " + call.from.name + " " + call.to.name; }
  std::string operator()(const Precreate& call) { return "precreate " + call.key.name; }
  std::string operator()(const GiveFinalRule& call) { return "finalize " + call.key.name; }
  std::string operator()(const RemoveAcl& call) { return "remove " + call.key.toText(); }
  std::string operator()(const auto&) { return "other"; }
};

std::vector<std::string> textOf(const Plan& plan) {
  std::vector<std::string> calls;
  for (const Call& call : plan.calls) calls.push_back(std::visit(CallText(), call));
  return calls;
}

constexpr auto kIn = Acl::AclDirection::in, kOut = Acl::AclDirection::out;

TEST(Plan, AnAclThatAnInterfaceLeavesGetsItsNewRulesLast) {
  const Platform::IntfId stays("port-1"), moves("port-2");
  const AclConfiguration old{.name = "old", .typeName = "before", .aces = {}};
  const AclConfiguration changed{.name = "old", .typeName = "after", .aces = {}};
  const AclConfiguration next{.name = "next", .typeName = {}, .aces = {}};
  const HeldAcls held{{{.name = "old"}, {.config = old, .intfs = {stays, moves}}}};
  const Configuration desired{{changed, next}, {{stays, kIn, "old"}, {moves, kIn, "next"}}, {}};
  const AttachmentPlan plan = planAttachments(held, wantedBy(desired));
  EXPECT_THAT(textOf(plan.leaving), IsEmpty());
  EXPECT_THAT(textOf(plan.coming.at(0)), IsEmpty());
  EXPECT_THAT(textOf(plan.coming.at(1)), ElementsAre("add next port-2", "precreate next", "finalize next"));
  EXPECT_THAT(textOf(plan.settling), ElementsAre("hand over old next", "precreate old", "finalize old"));
}

TEST(Plan, ARuleThatIsWrittenInAnotherWayIsTheSame) {
  EXPECT_EQ((Ace{"a", IpRule(), "/0", {}}), (Ace{"a", IpRule(), "/1", {ConfiguredField()}}));
  EXPECT_NE((Ace{"a", IpRule()}), (Ace{"a", UnreadRule()}));
}

TEST(Plan, AnAclInBothDirectionsGoesOnce) {
  const HeldAcls held{{{.name = "A", .direction = kIn}, {}}, {{.name = "A", .direction = kOut}, {}}};
  const Plan plan = planRemovals(held, {});
  EXPECT_THAT(textOf(plan), ElementsAre("remove A(ipv4,in)", "remove A(ipv4,out)"));
  EXPECT_EQ(plan.changes.size(), 1u);
}

TEST(Plan, AnInterfaceIsHandedOverOnceTheOtherAclIsThereAndNoErrorIsLeft) {
  EXPECT_TRUE(hasTakenOver({.isActive = true}, {.isActive = true}));
  EXPECT_FALSE(hasTakenOver({}, {.isActive = true}));
  EXPECT_FALSE(hasTakenOver({.isActive = true}, {.isInError = true}));
}

}  // namespace
}  // namespace Sim
