// The table of errors in docs/integration.md, row by row.
#include "support/Docs.h"
#include "support/HelperTest.h"

namespace Kestrix::Test {

using ErrorDoc = HelperTest;

TEST_F(ErrorDoc, TableIsAsMeasured) {
  std::map<std::string, std::string> told;  // By the operation of the listener, the last value.
  listener->onCall = [&](auto& call) { told[call.substr(0, call.find(' '))] = call.substr(call.rfind(' ') + 1); };
  using Step = std::function<void()>;
  using Call = std::function<std::optional<int>()>;
  const Step attach = [&] { attached(acl, {e1}); }, apply = [&] { applied(acl, {e1}); },
             applyElsewhere = [&] { applied(acl, {e2}); }, breakBus = [&] { transport->fails = "[0]"; },
             haveNoSlots = [&] { build(2, 0); }, conflict = [&] {
               attached(macAcl, {e1});
               translateMac(macAcl, {.dst = "00:00:5e:00:53:00/ff:ff:ff:ff:ff:ff"});
               finish(macAcl);
             };
  const Call announceIpv6 = [&] { return int(helper->precreateAcl(make<AclData>(AclKey{"", kIpv6, kOut}), {})); },
             giveIcmp = [&] { return int(translate(acl, {.proto = 1})); },
             giveRule = [&] { return int(translate(acl, kDns)); }, finishAcl = [&] { return int(finish(acl)); },
             add = [&] { return int(helper->addIntfToAcl({.intf = e1}, acl, nullptr)); },
             remove = [&] { return int(helper->removeIntfFromAcl({.intf = e1}, acl, false)); },
             cleanUp = [&]() -> std::optional<int> {
               helper->cleanupAcl(acl);
               return {};
             },
             block = [&]() -> std::optional<int> {
               helper->blockIntf(e1, true, 0);
               return {};
             };
  const struct {
    std::string what;
    std::vector<Step> before;
    Call call;
  } rows[] = {{"`precreateAcl` | an ACL", {}, announceIpv6},
              {"`createIpAclSubrule`, `createMacAclRule` | a rule", {attach}, giveIcmp},
              {"the same | no slot left", {haveNoSlots, attach}, giveRule},
              {"`createFinalAclRule` | a rule before it", {attach, giveIcmp}, finishAcl},
              {"`createFinalAclRule` | the filter", {conflict, attach}, finishAcl},
              {"`createFinalAclRule` | a write", {attach, breakBus}, finishAcl},
              {"`addIntfToAcl` | the filter", {conflict, applyElsewhere}, add},
              {"`addIntfToAcl` | a write", {applyElsewhere, breakBus}, add},
              {"`removeIntfFromAcl` | a write", {apply, breakBus}, remove},
              {"`cleanupAcl` | a write", {apply, breakBus}, cleanUp},
              {"`blockIntf` | a write", {breakBus}, block}};
  std::string table;
  for (const auto& [what, before, call] : rows) {
    build(2, 2);
    transport->fails.clear();
    transport->error().errorIs(false);
    for (const Step& each : before) each();
    told.clear();
    const auto result = textOr(call());
    const auto shadow = helper->allShadowAcl(acl->key());
    const auto error = shadow && shadow->errorIntf(e1) ? fmt::to_string(int(*shadow->errorIntf(e1))) : "";
    table += fmt::format("| {} | {} | {} | {} | {} | {} |\n", what, result, told["status"], told["unitError"],
                         told["dirty"], error);
  }
  EXPECT_THAT(textOfFile(KESTRIX_DOCS "integration.md"), testing::HasSubstr("|---|\n" + table + "\n"));
}

}  // namespace Kestrix::Test
