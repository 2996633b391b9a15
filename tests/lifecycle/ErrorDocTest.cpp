// The table of errors in docs/integration.md, row by row.
#include "support/Docs.h"
#include "support/HelperTest.h"

namespace Kestrix::Test {

using ErrorDoc = HelperTest;

TEST_F(ErrorDoc, TableIsAsMeasured) {
  std::map<std::string, std::string> told;  // By the operation of the listener, the last value.
  listener->onCall = [&](auto& call) { told[call.substr(0, call.find(' '))] = call.substr(call.rfind(' ') + 1); };
  const auto refuse = [&] { return attached(acl, {e1}), int(translate(acl, {.proto = 1})); };
  const auto conflict = [&] {
    attached(macAcl, {e1}), translateMac(macAcl, {.dst = "00:00:5e:00:53:00/ff:ff:ff:ff:ff:ff"}), finish(macAcl);
  };
  const auto breakBus = [&] { transport->fails = "[0]"; };
  const auto end = [&] { return told.clear(), int(finish(acl)); };
  const auto add = [&] { return told.clear(), int(helper->addIntfToAcl({.intf = e1}, acl, nullptr)); };
  const auto remove = [&] { return told.clear(), int(helper->removeIntfFromAcl({.intf = e1}, acl, false)); };
  const std::pair<std::string, std::function<std::optional<int>()>> rows[] = {
      {"`precreateAcl` | an ACL",
       [&] { return int(helper->precreateAcl(make<AclData>(AclKey{"", kIpv6, kOut}), {})); }},
      {"`createIpAclSubrule`, `createMacAclRule` | a rule", refuse},
      {"the same | no slot left", [&] { return build(2, 0), attached(acl, {e1}), int(translate(acl, kDns)); }},
      {"`createFinalAclRule` | a rule before it", [&] { return refuse(), end(); }},
      {"`createFinalAclRule` | the filter", [&] { return conflict(), attached(acl, {e1}), end(); }},
      {"`createFinalAclRule` | a write", [&] { return attached(acl, {e1}), breakBus(), end(); }},
      {"`addIntfToAcl` | the filter", [&] { return conflict(), applied(acl, {e2}), add(); }},
      {"`addIntfToAcl` | a write", [&] { return applied(acl, {e2}), breakBus(), add(); }},
      {"`removeIntfFromAcl` | a write", [&] { return applied(acl, {e1}), breakBus(), remove(); }},
      {"`cleanupAcl` | a write", [&] { return applied(acl, {e1}), breakBus(), helper->cleanupAcl(acl), std::nullopt; }},
      {"`blockIntf` | a write", [&] { return breakBus(), helper->blockIntf(e1, true, 0), std::nullopt; }}};
  std::string table;
  for (const auto& [what, run] : rows) {
    build(2, 2), transport->fails.clear(), transport->error().errorIs(false), told.clear();
    const auto result = textOr(run());
    const auto shadow = helper->allShadowAcl(acl->key());
    const auto error = shadow && shadow->errorIntf(e1) ? fmt::to_string(int(*shadow->errorIntf(e1))) : "";
    table += fmt::format("| {} | {} | {} | {} | {} | {} |\n", what, result, told["status"], told["unitError"],
                         told["dirty"], error);
  }
  EXPECT_THAT(textOfFile(KESTRIX_DOCS "integration.md"), testing::HasSubstr("|---|\n" + table + "\n"));
}

}  // namespace Kestrix::Test
