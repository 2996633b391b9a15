// What may go wrong around any operation: its surroundings drop what it works with or call it, or there is no memory.
#include <cstdlib>
#include <memory>
#include <new>

#include "hw/FilterRegisters.h"
#include "instance/AclHelperInstanceConfigSm.h"
#include "support/HelperTest.h"

// Not inlined: the compiler takes malloc and free beside an inlined half of a pair for a mistake.
[[gnu::noinline]] void* operator new(size_t size) {
  if (Kestrix::Test::allocationsLeft >= 0 && Kestrix::Test::allocationsLeft-- == 0) throw std::bad_alloc();
  if (void* const memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept { std::free(memory); }

namespace Kestrix::Test {

struct DisturbanceTest : HelperTest {
  // Of `acl`, on e1 and e2, and of `macAcl`, on e3. The last but one: the writes to e1, or to e2, are about to fail.
  enum State : uint8_t { kNew, kTranslating, kFailing1, kFailing2, kWritten };
  struct Row {
    template <class Call>
    Row(const char* operation, State state, Call makes) : name(operation), before(state) {
      call = [makes] {
        if constexpr (std::is_void_v<decltype(makes())>) {
          makes();
          return 0;
        } else {
          return int(makes());
        }
      };
    }
    const char* name;
    State before;
    std::function<int()> call;  // The result, where the operation has one.
  };

  DisturbanceTest() {
    for (const IntfId intf : {e1, e2, e3}) vcsd->intfIs(intf, true);
    trace.levelIs(6);
  }
  ~DisturbanceTest() override { allocationsLeft = -1; }

  // Everything new, in the state. An IPv4 ACL does not fit on e3; the write of e2 has failed.
  void begin(State state) {
    reactor = nullptr;
    acl = make<AclData>(AclKey{"edge", kIpv4, kOut}), macAcl = make<AclData>(AclKey{"guard", kMac, kOut});
    macRule = std::make_unique<Acl::MacRuleConfig>();
    macRule->filter.srcAddr = macRule->filter.srcMask = Platform::EthAddr::fromText("02:00:00:00:00:01");
    build(2, 2);
    filter(e3)->ruleIs(aRule({.port = 1}));
    reactor = aclHelperInstanceConfigSmFactory(config, status, vcsd, helper);
    if (state >= kTranslating) {
      attached(acl, {e1, e2});
      translate(acl, kDns);
      attached(macAcl, {e3});
    }
    transport->fails = "filter[4]";
    if (state >= kWritten) finish(acl);
    transport->fails = state == kFailing1 ? "filter[3]" : state == kFailing2 ? "filter[4]" : "";
    transport->registers.clear();
    log.clear();
  }
  std::string snapshot() {
    std::string outcome;
    for (const std::string& line : log) outcome = line.starts_with("status") ? line : outcome;
    std::string text = fmt::format("{} {} {}", outcome, helper->dirty(), int(helper->unitError("Kestrix")));
    for (const auto& [path, value] : transport->registers) text += fmt::format("\n{} {:#x}", path, value);
    for (const auto& [key, shadow] : helper->allShadowAcl()) {
      const auto base = shadow->acl().base();
      text += fmt::format("\n{} {} {}", key, shadow->aclRulesFinalized(), base && base->permitAny());
      for (uint8_t slot = 0; base && slot < 4; ++slot) text += fmt::format(" {}", base->rule(slot));
      for (const IntfId intf : {e1, e2, e3})
        text += fmt::format(" {}{}{}{}", +shadow->applyingIntf(intf), +shadow->activeIntf(intf),
                            +shadow->deletingIntf(intf), int(shadow->errorIntf(intf).value_or(kNoError)));
    }
    for (const auto direction : {kIn, kOut})
      for (const IntfId intf : {e1, e2, e3})
        text += fmt::format("\n{}", helper->shadowFilters(direction)->shadowFilter(intf)->genRegisters());
    return text;
  }
  Ptr<ShadowAcl> shadow() { return helper->allShadowAcl(acl->key()); }

  const Ptr<Platform::InstanceConfig> config = make<Platform::InstanceConfig>();
  const Ptr<Platform::InstanceStatus> status = make<Platform::InstanceStatus>();
  Ptr<AclHelperInstanceConfigSm> reactor;
  std::unique_ptr<Acl::MacRuleConfig> macRule;
  const std::vector<Row> rows{
      {"hwInit", kNew, [&] { helper->hwInit(); }},
      {"intfSupportsAcl", kNew, [&] { return helper->intfSupportsAcl(e1); }},
      {"intfLinecardName", kNew, [&] { return helper->intfLinecardName(e1).size(); }},
      {"attach", kNew, [&] { return helper->addIntfToAcl({.intf = e1}, acl, nullptr); }},
      {"attach again", kWritten, [&] { return helper->addIntfToAcl({.intf = e2}, acl, nullptr); }},
      {"attach where it does not fit", kWritten, [&] { return helper->addIntfToAcl({.intf = e3}, acl, nullptr); }},
      {"precreate", kWritten, [&] { return helper->precreateAcl(acl, nullptr); }},
      {"rule", kTranslating, [&] { return translate(acl, {.dst = "10.1.0.0/255.255.0.0", .dstPort = 5}); }},
      {"refused rule", kTranslating, [&] { return translate(acl, {.proto = 1}); }},
      {"verdict", kTranslating, [&] { return translate(acl, {}); }},
      {"fragments", kTranslating, [&] { return helper->createIpFragRule(acl, {kDeny, {}}, {}, 5, 6); }},
      {"MAC rule", kTranslating, [&] { return helper->createMacAclRule(*macRule, {}, macAcl, 3); }},
      {"final rule", kTranslating, [&] { return finish(acl); }},
      {"final rule, e1 fails", kFailing1, [&] { return finish(acl); }},
      {"final rule, e2 fails", kFailing2, [&] { return finish(acl); }},
      {"detach", kWritten, [&] { return helper->removeIntfFromAcl({.intf = e1}, acl, false); }},
      {"hand over", kWritten, [&] { return helper->removeIntfFromAcl({.intf = e1}, acl, true); }},
      {"destroy", kWritten, [&] { helper->destroyAcl(acl); }},
      {"commit", kWritten, [&] { helper->commitAcl(acl); }},
      {"update", kWritten, [&] { helper->updateAclPorts(acl, true); }},
      {"block", kWritten, [&] { helper->blockIntf(e1, true, 0); }},
      {"aclSupported", kWritten, [&] { return helper->aclSupported(acl->key()); }},
      {"setCreationError", kTranslating, [&] { return helper->setCreationError(shadow(), kNotSupported); }},
      {"writeAclToIntfs", kTranslating, [&] { return helper->writeAclToIntfs(shadow()); }},
      {"clearAclFromIntfs", kWritten, [&] { helper->clearAclFromIntfs(shadow()); }},
      {"regWriteHelper", kWritten, [&] { return helper->regWriteHelper(FilterRegisters(), e1, kOut, false); }},
      {"drop delay", kWritten, [&] { config->aclDropDelayIs(true); }},
      {"reactor", kWritten, [&] { aclHelperInstanceConfigSmFactory(config, status, vcsd, helper); }},
      {"clean up", kWritten, [&] { helper->cleanupAcl(acl); }},
  };
};

// At each trace, register access and call of the listener, one after the other.
TEST_F(DisturbanceTest, WhateverIsCalledMayDropTheHelperAndTheArguments) {
  int event = 0, dropAt = 0;
  const auto happens = [&] {
    if (event++ != dropAt) return;
    reactor = nullptr;
    helper = nullptr;
    acl = macAcl = nullptr;
    macRule = nullptr;
  };
  for (const Row& row : rows) {
    for (dropAt = 0, event = 1; dropAt < event; ++dropAt) {
      begin(row.before);
      event = 0;
      onTrace = transport->onAccess = happens;
      listener->onCall = [&](const std::string&) { happens(); };
      row.call();
      onTrace = transport->onAccess = [] {};
      listener->onCall = [](const std::string&) {};
      ASSERT_EQ(helper, nullptr) << row.name;
    }
  }
}

TEST_F(DisturbanceTest, AfterAFailedAllocationTheOperationIsRepeated) {
  for (const Row& row : rows) {
    begin(row.before);
    const int result = row.call();
    const std::string after = snapshot();
    bool hasFailed = true;
    for (long k = 0; hasFailed; ++k) {
      config->aclDropDelayIs(false);
      begin(row.before);
      hasFailed = false;
      allocationsLeft = k;
      try {
        EXPECT_EQ(row.call(), result);
      } catch (const std::bad_alloc&) {
        hasFailed = true;
      }
      allocationsLeft = -1;
      if (hasFailed) {
        ASSERT_EQ(row.call(), result) << row.name << k;
      }
      ASSERT_EQ(snapshot(), after) << row.name << k;
    }
    config->aclDropDelayIs(false);
  }
}

TEST_F(DisturbanceTest, ACallDuringARegisterAccessIsRefused) {
  size_t refused = 0;
  for (const auto& access :
       {std::function([&] { finish(acl); }), std::function([&] { helper->blockIntf(e1, true, 0); })}) {
    begin(kTranslating);
    access();
    const std::string after = snapshot();
    for (const Row& row : rows) {
      begin(kTranslating);
      transport->onAccess = [&] {
        transport->onAccess = [] {};
        ++refused;
        EXPECT_THAT(row.call, ThrowsMessage<Platform::ConsistencyError>(testing::HasSubstr("must not call")))
            << row.name;
        EXPECT_THAT(log.back(),
                    testing::MatchesRegex("0 (AclHelperInstanceConfigSm::)?[a-z]\\w+: The transport must not .*"))
            << row.name;
      };
      access();
      EXPECT_EQ(snapshot(), after) << row.name;
      config->aclDropDelayIs(false);
    }
  }
  EXPECT_EQ(refused, 2 * rows.size());
}

}  // namespace Kestrix::Test
