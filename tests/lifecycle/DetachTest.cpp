#include "support/HelperTest.h"

namespace Kestrix::Test {

struct DetachTest : HelperTest {
  // An IPv4 ACL with one rule and a MAC ACL with an ARP verdict, both active on the interfaces.
  void share(const std::vector<IntfId>& intfs) {
    build(2, 1);
    ip = attached(acl, intfs);
    EXPECT_EQ(translate(acl, {.proto = 6, .dst = "10.1.0.0/255.255.0.0", .dstPort = 80}), kNoError);
    EXPECT_EQ(finish(acl), kNoError);
    guard = attached(macAcl, intfs);
    EXPECT_EQ(translateMac(macAcl, {.ethType = 0x0806}), kNoError);
    EXPECT_EQ(translateMac(macAcl, {}), kNoError);
    EXPECT_EQ(finish(macAcl), kNoError);
    taken();
  }
  void remove(const Ptr<AclData>& data, IntfId intf, bool belongsToAnother = false) {
    EXPECT_EQ(helper->removeIntfFromAcl({.intf = intf}, data, belongsToAnother), kNoError);
  }
  Ptr<ShadowAcl> ip, guard;
};

TEST_F(DetachTest, AnAclLeavesTheFilterToTheOther) {
  share({e1});
  filter(e1)->delayIs(true);
  trace.levelIs(6);
  remove(acl, e1);
  const std::string base = "msp_return[0]/filter[3]/";
  EXPECT_THAT(
      taken(),
      ElementsAre(
          "5 removeIntfFromAcl: acl: edge type: ipv4 direction: out intf: e1",
          "6 removeIntfFromAcl: belongsToAnother: false", "5 clearAclFromIntfs: acl key: edge(ipv4,out)",
          "6 clearAclFromIntfs: trying to remove ACL from e1", "6 clearAclFromIntfs: clearing edge from e1 ACL config",
          fmt::format("6 clearAclFromIntfs: macAcl: {}, ipAcl: null, ruleType: mac", guard->acl().mac()),
          "6 ShadowFilter::genRegisters: ", "6 regWriteHelper: writing to intf: e1",
          "6 regWriteHelper: only writing to enable register: false", base + "enable 0x44", base + "action 0x48",
          base + "tcp 0x0", base + "udp 0x0", base + "rule[0]/mask_high 0x0", base + "rule[0]/mask_low 0x0",
          base + "rule[0]/addr_high 0x0", base + "rule[0]/addr_low 0x0", "6 regWriteHelper: success!",
          "6 clearAclFromIntfs: Clearing e1's ACL succeeded", "status edge(ipv4,out) 0"));
  EXPECT_EQ(intfsOf(*ip), "");
  EXPECT_EQ(intfsOf(*guard), "e1 active");

  share({e1});
  remove(macAcl, e1);
  EXPECT_THAT(taken("filter[3]/enable"), ElementsAre(base + "enable 0x103"));
  EXPECT_TRUE(filter(e1)->ipAcl() == ip->acl().ip() && !filter(e1)->macAcl() && !filter(e1)->permitAny());
}

// Every row of removing and clearing: the interfaces' states before and after, what is written, what is told.
TEST_F(DetachTest, StatesOfAnInterface) {
  const struct {
    const char* name;
    std::function<void()> act;
    const char* after;
    size_t writes;
    const char* told = "status edge(ipv4,out) 0";
  } rows[] = {
      {"active", [&] { remove(acl, e1); }, "e2 active", 8},
      {"being applied only", [&] { ip->activeIntfDel(e1), ip->applyingIntfIs(e1), remove(acl, e1); }, "e2 active", 0},
      {"in error", [&] { ip->activeIntfDel(e1), ip->errorIntfIs(e1, kNotSupported), remove(acl, e1); }, "e2 active", 8},
      {"in error, without a filter",
       [&] {
         ip->errorIntfIs(e1, kNotSupported), ip->activeIntfDel(e1), ip->applyingIntfIs(e1);
         helper->outShadowFilter()->shadowFilterDel(e1);
         remove(acl, e1);
       },
       "e1 error 13, e2 active", 0},
      {"another ACL in the filter",
       [&] {
         filter(e1)->ipAclIs(make<IpAcl>(AclKey{"edge", kIpv4, kOut, 1}));  // Any member of the key counts.
         ip->errorIntfIs(e1, kNotSupported), ip->applyingIntfIs(e1), remove(acl, e1);
       },
       "e2 active", 0},
      {"given to another", [&] { ip->applyingIntfIs(e1), ip->errorIntfIs(e1, kNotSupported), remove(acl, e1, true); },
       "e1 error 13, e2 active", 0, ""},
      {"cleaned up",
       [&] {
         ip->activeIntfDel(e2), ip->errorIntfIs(e2, kHardwareFailure), ip->applyingIntfIs(e3);
         helper->destroyAcl(acl), helper->cleanupAcl(acl);
         EXPECT_EQ(helper->allShadowAcl(acl->key()), nullptr);
       },
       "", 16},
      {"cleaned up before its rules were complete",
       [&] {
         ip->aclRulesFinalizedIs(false), helper->cleanupAcl(acl);
         EXPECT_EQ(helper->allShadowAcl(acl->key()), ip);
       },
       "e1 active, e2 active", 0, ""},
      {"torn down",
       [&] {
         byName(*helper).set("destroying", "true");
         remove(acl, e1), remove(acl, e2, true), helper->cleanupAcl(acl);
         EXPECT_EQ(helper->allShadowAcl(acl->key()), ip);
       },
       "e1 active, e2 active", 0, ""},
  };
  for (const auto& [name, act, after, writes, told] : rows) {
    SCOPED_TRACE(name);
    share({e1, e2});
    act();
    const Lines all = taken();
    EXPECT_EQ(intfsOf(*ip), after);
    EXPECT_EQ(std::count_if(all.begin(), all.end(), [](const auto& line) { return line.starts_with("msp"); }), writes);
    EXPECT_EQ(all.empty() ? "" : all.back(), told);
  }
}

TEST_F(DetachTest, ARebuiltFilterTakesTheRulesItReferences) {
  share({e1});
  attached(acl, {});  // A newer, empty shadow ACL, not written yet.
  remove(macAcl, e1);
  EXPECT_THAT(taken("filter[3]/enable"), ElementsAre("msp_return[0]/filter[3]/enable 0x103"));
}

TEST_F(DetachTest, BrokenOrder) {
  expectInconsistent("removeIntfFromAcl", "ACL config should always exist", [&] { remove(acl, e1, true); });
  expectInconsistent("destroyAcl", "The shadow ACL has disappeared before cleanupAcl",
                     [&] { helper->destroyAcl(acl); });
  expectInconsistent("cleanupAcl", "The shadow ACL to be cleaned no longer exists", [&] { helper->cleanupAcl(acl); });
  expectInconsistent("clearAclFromIntfs", "The shadow ACL should always exist",
                     [&] { helper->clearAclFromIntfs(nullptr); });
  helper->destroyAcl(make<AclData>(AclKey{"six", kIpv6, kOut}));  // Not looked up.
  share({e1});
  helper->outShadowFilter()->shadowFilterDel(e1);
  expectInconsistent("clearAclFromIntfs", "Interface with no shadow filter must be ACL errored",
                     [&] { remove(acl, e1); });
  EXPECT_EQ(intfsOf(*ip), "e1 active, e1 deleting");
}

// The status callback may do anything: here it attaches the ACL anew while it is being cleaned up, or drops the helper.
TEST_F(DetachTest, CallbacksMayComeBack) {
  share({e1, e2});
  listener->onCall = [&](const std::string&) {
    listener->onCall = [](const std::string&) {};
    helper->cleanupAcl(acl);
    helper->addIntfToAcl({.intf = e1}, acl, nullptr);
  };
  helper->cleanupAcl(acl);
  ASSERT_TRUE(helper->allShadowAcl(acl->key()));
  EXPECT_EQ(intfsOf(*helper->allShadowAcl(acl->key())), "e1 applying");
  listener->onCall = [&](const std::string&) { helper = nullptr; };
  helper->cleanupAcl(macAcl);
  EXPECT_EQ(helper, nullptr);
}

TEST_F(DetachTest, BlockingKeepsTheLowBitsAndIsAlwaysRecorded) {
  const std::string path = "msp_send[0]/rx[3]/linkmon_ctl";
  trace.levelIs(6);
  transport->readValue = 0xFFFFFF25;
  transport->fails = "rx";
  helper->blockIntf(e1, true, 9);
  EXPECT_THAT(taken(),
              ElementsAre("5 blockIntf: intf: e1 block: true", path + " read", path + " 0x1d", "blocked e1 true"));
  EXPECT_TRUE(helper->aclIntfBlockedStatus().at(e1));
  EXPECT_TRUE(transport->error().error()) << "the next write of a filter reports it";
  transport->readValue = 0x1F;
  helper->blockIntf(e1, false, 9);
  EXPECT_THAT(taken("x"), ElementsAre(path + " read", path + " 0x7"));
  EXPECT_FALSE(helper->aclIntfBlockedStatus().contains(e1));
}

}  // namespace Kestrix::Test
