#include "support/HelperTest.h"

namespace Kestrix::Test {

struct AttachTest : HelperTest {
  // On a new helper, an ACL with one rule, applying to e1 and e2 and finalized; `first` is the interface written first.
  void makeReady(bool firstIsOccupied) {
    build(2, 1);
    shadow = attached(acl, {e1, e2});
    EXPECT_EQ(translate(acl, {.dst = "10.1.0.0/255.255.0.0"}), kNoError);
    shadow->aclRulesFinalizedIs(true);
    first = *shadow->applyingIntf().begin();
    second = first == e1 ? e2 : e1;
    filter(firstIsOccupied ? first : second)->ruleIs(aRule({.port = 1}));  // Refuses IPv4 ACLs.
    taken();
  }
  Ptr<ShadowAcl> shadow;
  IntfId first = e1, second = e2;
};

TEST_F(AttachTest, TheRoadFromAttachingToTheRegisters) {
  build(2, 1);
  const auto mac = make<MacAcl>(AclKey{"other"});
  filter(e1)->delayIs(true), filter(e1)->multicastIs(1), filter(e1)->macAclIs(mac), filter(e1)->permitAnyIs(true);
  trace.levelIs(6);
  shadow = attached(acl, {e1});
  shadow->errorIntfIs(e1, kNotSupported);
  EXPECT_EQ(translate(acl, {.proto = 6, .src = "10.1.0.0/255.255.0.0", .srcPort = 80}), kNoError);
  EXPECT_EQ(helper->createFinalAclRuleWithId(kMac, {}, acl, 9), kNoError);
  const std::string base = "msp_return[0]/filter[3]/", support = "6 aclSupported: ACL direction: out type: ipv4";
  const std::string rule =
      "Value('Kestrix::AclRule', ruleKey=0, addrWithMask=Value('Kestrix::AclAddrWithMask', "
      "ip=10.1.0.0/0.0.255.255), action=permit, port=80, tcp=true, udp=false)";
  EXPECT_THAT(
      taken(),
      ElementsAre(
          "5 addIntfToAcl: acl: edge type: ipv4 direction: out intf: e1", "6 addIntfToAcl: allocated hwData for edge",
          "5 addIntfToAcl: ACL not active on this interface, kick off application",
          "5 writeAclToIntfs: acl key: edge(ipv4,out), direction: out",
          "6 writeAclToIntfs: ACL rules have not been finalized, no-op",
          "5 precreateAcl: acl: edge type: ipv4 direction: out", support, "5 precreateAcl: creating fresh IP ACL",
          "5 createIpAclSubrule: acl: edge type: ipv4 direction: out rule: 3", support,
          "5 createIpAclSubrule: filtering on source", "6 createIpAclSubrule: addr: 10.1.0.0/0.0.255.255",
          "6 BaseAcl::getNextAclRuleKey: ", "5 createIpAclSubrule: rule: " + rule,
          "5 createIpAclSubrule: rule creation successful!",
          "5 createFinalAclRule: acl: edge, type: ipv4, direction: out, rule: 9", support,
          "5 writeAclToIntfs: acl key: edge(ipv4,out), direction: out",
          "6 writeAclToIntfs: Setting ACL registers for e1", "6 writeAclToIntfs: newIsIpAcl true. Use ACL filter rules",
          "6 writeAclToIntfs: Replacing existing filter for e1", "6 writeAclToIntfs: Do rules: 1",
          "6 writeAclToIntfs: Rule " + rule, "6 ShadowFilter::genRegisters: ", "6 regWriteHelper: writing to intf: e1",
          "6 regWriteHelper: only writing to enable register: false", base + "enable 0x107", base + "action 0x101",
          base + "tcp 0x1", base + "udp 0x0", base + "rule[0]/mask_high 0x0", base + "rule[0]/mask_low 0xffff",
          base + "rule[0]/addr_high 0x50", base + "rule[0]/addr_low 0xa01ffff", "6 regWriteHelper: success!",
          "status edge(ipv4,out) 0"));
  EXPECT_EQ(intfsOf(*shadow), "e1 active, e1 error 13") << "an older error stays";
  EXPECT_TRUE(filter(e1)->ipAcl() == shadow->acl().ip() && filter(e1)->macAcl() == mac);
  EXPECT_EQ(helper->addIntfToAcl({.intf = e1}, acl, nullptr), kNoError);
  EXPECT_EQ(taken().back(), "5 addIntfToAcl: ACL already active, no-op");
  shadow->acl().ip()->permitAnyIs(true), shadow->errorIntfIs(e3, kNotSupported);  // Tried again.
  EXPECT_EQ(helper->addIntfToAcl({.intf = e3}, acl, nullptr), kNoError);
  EXPECT_THAT(taken("/action"), ElementsAre("msp_return[1]/filter[5]/action 0x109")) << "e1 is not written again";
  helper->writeAclToIntfs(shadow);
  EXPECT_EQ(taken().back(), "status edge(ipv4,out) 0") << "a pass over no interface is told, too";
  trace.levelIs(0);
  shadow->acl().ip()->ruleIs(AclRule(1));  // One rule too many.
  EXPECT_EQ(helper->addIntfToAcl({.intf = e2}, acl, nullptr), kNoError);
  EXPECT_THAT(taken(), ElementsAre("publish Kestrix true", "unitError Kestrix 15", "status edge(ipv4,out) 15"));
  EXPECT_EQ(intfsOf(*attached(acl, {})), "e1 applying, e2 applying, e3 applying");
}

TEST_F(AttachTest, TheFirstCallbackMayDropEverything) {
  listener->onCall = [&](const std::string&) {
    if (helper) helper->allShadowAclDelAll(), shadow = nullptr, helper = nullptr;
  };
  makeReady(/*firstIsOccupied=*/true);
  EXPECT_EQ(helper->writeAclToIntfs(shadow), kNotSupported);
  EXPECT_EQ(taken().back(), "status edge(ipv4,out) 13");
  makeReady(/*firstIsOccupied=*/true);
  shadow->activeIntfIs(e3), shadow->errorIntfIs(e1, kNotSupported);
  const auto kept = shadow;
  trace.levelIs(6);
  EXPECT_EQ(helper->setCreationError(shadow, kHardwareFailure), kHardwareFailure);
  EXPECT_THAT(taken(), ElementsAre("6 setCreationError: acl: edge, err: hardwareFailure", "dirty true",
                                   "publish Kestrix true", "unitError Kestrix 15"));
  EXPECT_EQ(intfsOf(*kept), "e1 error 15, e2 error 15, e3 active");
}

TEST_F(AttachTest, ACallbackMayDetachPrecreateOrAttach) {
  const std::pair<std::function<void()>, size_t> rows[] = {
      {[&] { shadow->applyingIntfDel(second); }, 0u},                    // No longer there when its turn comes.
      {[&] { helper->precreateAcl(acl, nullptr); }, 0u},                 // The new rules get a pass of their own.
      {[&] { helper->addIntfToAcl({.intf = e3}, acl, nullptr); }, 2u}};  // A pass within: each is written once.
  for (const auto& [callback, writes] : rows) {
    makeReady(/*firstIsOccupied=*/true);
    listener->onCall = [&](const std::string& call) { return call.starts_with("publish") ? callback() : void(); };
    helper->writeAclToIntfs(shadow);
    EXPECT_EQ(taken("/enable").size(), writes);
  }
}

}  // namespace Kestrix::Test
