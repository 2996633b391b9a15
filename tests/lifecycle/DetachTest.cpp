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
