// What the calls into the framework may do while a pass runs.
#include "support/HelperTest.h"

namespace Kestrix::Test {

struct CallbackTest : HelperTest {
  // On a new helper, an ACL with one rule, applying to e1 and e2 and finalized. The interface that is written first
  // refuses it, and so calls the framework.
  void makeReady() {
    build(2, 1);
    shadow = attached(acl, {e1, e2});
    EXPECT_EQ(translate(acl, {.dst = "10.1.0.0/255.255.0.0"}), kNoError);
    shadow->aclRulesFinalizedIs(true);
    first = *shadow->applyingIntf().begin();
    second = first == e1 ? e2 : e1;
    filter(first)->ruleIs(aRule({.port = 1}));
    taken();
  }
  Ptr<ShadowAcl> shadow;
  IntfId first = e1, second = e2;
};

TEST_F(CallbackTest, MayDetachPrecreateOrAttach) {
  const std::pair<std::function<void()>, size_t> rows[] = {
      {[&] { shadow->applyingIntfDel(second); }, 0u},                    // No longer there when its turn comes.
      {[&] { helper->precreateAcl(acl, nullptr); }, 0u},                 // The new rules get a pass of their own.
      {[&] { helper->addIntfToAcl({.intf = e3}, acl, nullptr); }, 2u}};  // A pass within: each is written once.
  for (const auto& [callback, writes] : rows) {
    makeReady();
    listener->onCall = [&](const std::string& call) { return call.starts_with("publish") ? callback() : void(); };
    helper->writeAclToIntfs(shadow);
    EXPECT_EQ(taken("/enable").size(), writes);
  }
}

TEST_F(CallbackTest, MayAttachAnewWhatIsBeingCleanedUp) {
  makeReady();
  listener->onCall = [&](const std::string&) {
    listener->onCall = [](const std::string&) {};
    helper->cleanupAcl(acl);
    helper->addIntfToAcl({.intf = e1}, acl, nullptr);
  };
  helper->cleanupAcl(acl);
  ASSERT_TRUE(helper->allShadowAcl(acl->key()));
  EXPECT_TRUE(helper->allShadowAcl(acl->key())->applyingIntf(e1));
}

}  // namespace Kestrix::Test
