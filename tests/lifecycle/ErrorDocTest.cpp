// The table of errors in docs/integration.md, row by row, and what it says of recovery.
#include "instance/AclHelperInstanceConfigSm.h"
#include "support/Docs.h"
#include "support/HelperTest.h"

namespace Kestrix::Test {
namespace {

struct ErrorDoc : HelperTest {
  std::optional<int> refused() { return int(translate(acl, {.proto = 1})); }
  void fillWithMacRules() {
    attached(macAcl, {e1});
    translateMac(macAcl, {.dst = "00:00:5e:00:53:00/ff:ff:ff:ff:ff:ff"});
    finish(macAcl);
  }
  // From here on it counts what is told.
  void broken() { transport->fails = "[0]", taken(); }
  // The last one told by the operation of the listener that is logged as `call`; empty when there is none.
  static std::string told(const Lines& calls, std::string_view call) {
    std::string value;
    for (const std::string& line : calls)
      if (line.starts_with(call)) value = line.substr(line.rfind(' ') + 1);
    return value;
  }
};

TEST_F(ErrorDoc, TableIsAsMeasured) {
  const auto add = [&] { return int(helper->addIntfToAcl({.intf = e1}, acl, nullptr)); };
  const std::pair<std::string, std::function<std::optional<int>()>> rows[] = {
      {"`precreateAcl` | an ACL",
       [&] { return int(helper->precreateAcl(make<AclData>(AclKey{"six", kIpv6, kOut}), {})); }},
      {"`createIpAclSubrule`, `createMacAclRule` | a rule", [&] { return attached(acl, {e1}), refused(); }},
      {"the same | no slot left", [&] { return build(2, 0), attached(acl, {e1}), int(translate(acl, kDns)); }},
      {"`createFinalAclRule` | a rule before it",
       [&] { return attached(acl, {e1}), refused(), taken(), int(finish(acl)); }},
      {"`createFinalAclRule` | the filter",
       [&] { return fillWithMacRules(), attached(acl, {e1}), taken(), int(finish(acl)); }},
      {"`createFinalAclRule` | a write", [&] { return attached(acl, {e1}), broken(), int(finish(acl)); }},
      {"`addIntfToAcl` | the filter", [&] { return fillWithMacRules(), applied(acl, {e2}), taken(), add(); }},
      {"`addIntfToAcl` | a write", [&] { return applied(acl, {e2}), broken(), add(); }},
      {"`removeIntfFromAcl` | a write",
       [&] { return applied(acl, {e1}), broken(), int(helper->removeIntfFromAcl({.intf = e1}, acl, false)); }},
      {"`cleanupAcl` | a write", [&] { return applied(acl, {e1}), broken(), helper->cleanupAcl(acl), std::nullopt; }},
      {"`blockIntf` | a write", [&] { return broken(), helper->blockIntf(e1, true, 0), std::nullopt; }},
  };
  Lines measured;
  for (const auto& [what, run] : rows) {
    build(2, 2), transport->fails.clear(), transport->error().errorIs(false), taken();
    const auto result = textOr(run());
    const Lines calls = taken();
    const auto shadow = helper->allShadowAcl(acl->key());
    const auto error = shadow && shadow->errorIntf().contains(e1) ? fmt::to_string(int(*shadow->errorIntf(e1))) : "";
    measured.push_back(fmt::format("| {} | {} | {} | {} | {} | {} |", what, result, told(calls, "status"),
                                   told(calls, "unitError"), told(calls, "dirty"), error));
  }
  Lines shown = linesOf(KESTRIX_DOCS "integration.md");
  const auto heading =
      std::find_if(shown.begin(), shown.end(), [](auto& line) { return line.starts_with("| call |"); });
  ASSERT_NE(heading, shown.end());
  shown.erase(shown.begin(), heading + 2);
  shown.erase(std::find(shown.begin(), shown.end(), ""), shown.end());
  EXPECT_EQ(measured, shown);
}

TEST_F(ErrorDoc, OnlyTheReactorBringsBackAMissingFilter) {
  helper->outShadowFilter()->shadowFilterDel(e1);
  EXPECT_THROW(applied(acl, {e1}), Platform::ConsistencyError);
  helper->cleanupAcl(acl);
  EXPECT_THROW(applied(acl, {e1}), Platform::ConsistencyError);

  const auto config = make<Platform::InstanceConfig>();
  const auto reactor = aclHelperInstanceConfigSmFactory(config, make<Platform::InstanceStatus>(), vcsd, helper);
  vcsd->intfIs(e1, true);
  config->aclDropDelayIs(config->aclDropDelay());
  EXPECT_EQ(finish(acl), kNoError);
  EXPECT_EQ(transport->registers["msp_return[0]/filter[3]/enable"], 0x103u);
}

}  // namespace
}  // namespace Kestrix::Test
