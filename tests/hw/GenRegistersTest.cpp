#include "hw/FilterRegisters.h"
#include "support/HelperTest.h"

namespace Kestrix::Test {
namespace {

// "<enable> <action> <tcp> <udp>", then "; <slot>: <mask_high> <mask_low> <addr_high> <addr_low>" for each slot.
std::string textOf(const FilterRegisters& image) {
  std::string text = fmt::format("{:x} {:x} {:x} {:x}", image.enable(), image.action(), image.tcp(), image.udp());
  for (const auto& [slot, r] : image.ruleRegisters()) {
    text += fmt::format("; {}: {:x} {:x} {:x} {:x}", slot, r.mask_high(), r.mask_low(), r.addr_high(), r.addr_low());
  }
  return text;
}
}  // namespace

TEST(GenRegisters, HasTheBitsOfEveryFlag) {
  const std::pair<std::function<void(ShadowFilter&, IpAcl&, MacAcl&)>, const char*> rows[] = {
      {[](auto& f, auto& ip, auto&) { ip.l4Is(true), f.srcOrDstIs(SrcOrDst::source); }, "2 1 0 0"},
      {[](auto& f, auto&, auto&) { f.delayIs(true), f.srcOrDstIs(SrcOrDst::destination); }, "4 0 0 0"},
      {[](auto& f, auto&, auto& mac) { mac.broadcastIs(0), f.permitAnyIs(true); }, "10 8 0 0"},
      {[](auto& f, auto&, auto& mac) { f.multicastIs(0), mac.permitBroadcastIs(true); }, "20 10 0 0"},
      {[](auto&, auto&, auto& mac) { mac.arpIs(true), mac.permitLldpIs(true); }, "40 80 0 0"},
      {[](auto&, auto&, auto& mac) { mac.lldpIs(true), mac.permitArpIs(true); }, "80 40 0 0"},
      {[](auto&, auto&, auto& mac) { mac.permitArpIs(false), mac.permitLldpIs(false); }, "0 0 0 0"},
      {[](auto& f, auto&, auto&) { f.multicastIs(0), f.permitMulticastIs(true), f.macAclIs(nullptr); }, "20 20 0 0"},
      // The ACL's own multicast attributes are not the filter's.
      {[](auto&, auto&, auto& mac) { mac.multicastIs(1), mac.permitMulticastIs(true); }, "0 0 0 0"},
  };
  for (const auto& [setUp, image] : rows) {
    const auto filter = make<ShadowFilter>(IntfId("e1"), kMac, uint8_t{24});
    const Ptr<IpAcl> ip = make<IpAcl>(AclKey());
    const Ptr<MacAcl> mac = make<MacAcl>(AclKey());
    filter->ipAclIs(ip);
    filter->macAclIs(mac);
    setUp(*filter, *ip, *mac);
    EXPECT_EQ(textOf(filter->genRegisters()), image);
  }
}

TEST(GenRegisters, ProgramsEveryRuleButTheDefaultOne) {
  const std::pair<std::vector<RuleFields>, const char*> rows[] = {
      {{{.action = kPermit, .ip = "10.1.0.0/0.0.255.255", .port = 80, .tcp = true},
        {.key = 1, .ip = "0.0.0.0/255.255.255.255"}},
       "301 100 1 0; 0: 0 ffff 50 a01ffff; 1: 0 ffffffff 0 ffffffff"},
      {{{.udp = true}}, "101 0 0 1; 0: ffff 0 ffff ffffffff"},
      {{{.port = 443}}, "101 0 0 0; 0: 0 0 1bb ffffffff"},
      {{{.action = kUnknown}}, "101 0 0 0; 0: 0 0 0 ffffffff"},
      {{{.ip = "0.0.0.0/0.0.0.255"}}, "101 0 0 0; 0: 0 ff 0 ffffffff"},
      {{{.mac = "00:00:00:00:00:00/00:00:00:00:00:00"}}, "101 0 0 0; 0: 0 0 0 0"},
      {{{.mac = "01:02:03:04:05:06/00:f0:00:00:ff:00", .port = 80, .tcp = true}}, "101 0 1 0; 0: f0 ff00 1f2 304ff06"},
      // A real rule in slot 0 that equals the default one; in slot 1 the same is a rule.
      {{{.key = 0}, {.key = 1}}, "201 0 0 0; 1: 0 0 0 ffffffff"},
      // Two rules are two slots: none in slot 1, and slot 2 is not reached.
      {{{.key = 0, .tcp = true}, {.key = 2, .tcp = true}}, "101 0 1 0; 0: ffff 0 ffff ffffffff"},
  };
  for (const auto& [rules, image] : rows) {
    const auto filter = make<ShadowFilter>(IntfId("e1"), kIpv4, uint8_t{24});
    for (const auto& rule : rules) filter->ruleIs(aRule(rule));
    EXPECT_EQ(textOf(filter->genRegisters()), image);
  }
  const auto tooMany = make<ShadowFilter>(IntfId("e1"), kIpv4, uint8_t{40});
  for (uint8_t i = 0; i < 40; ++i) tooMany->ruleIs(aRule({.key = i, .action = kPermit, .tcp = true, .udp = true}));
  EXPECT_THAT(textOf(tooMany->genRegisters()),
              testing::AllOf(testing::StartsWith("ffffff01 ffffff00 ffffff ffffff; 0: "),
                             testing::Not(testing::HasSubstr("; 24: "))));
}

}  // namespace Kestrix::Test
