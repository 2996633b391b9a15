#include "lifecycle/FilterContent.h"

#include "support/HelperTest.h"

namespace Kestrix::Test {
namespace {

constexpr auto kSource = SrcOrDst::source, kDestination = SrcOrDst::destination;

// An ACL's or a filter's own: the number of rules (with the owner's port), side and verdict.
struct Side {
  Acl::AclType type = kMac;
  uint8_t rules = 0;
  std::optional<SrcOrDst> srcOrDst = {};
  std::optional<bool> permitAny = {};
};

template <class Owner>
void fill(Owner& owner, const Side& side, uint16_t port) {
  for (uint8_t key = 0; key < side.rules; ++key) owner.ruleIs(aRule({.key = key, .port = port}));
  owner.srcOrDstIs(side.srcOrDst);
}

Ptr<BaseAcl> anAcl(const Side& side, uint16_t port) {
  const AclKey key{"A", side.type};
  const Ptr<BaseAcl> acl = side.type == kIpv4 ? Ptr<BaseAcl>(make<IpAcl>(key)) : Ptr<BaseAcl>(make<MacAcl>(key));
  fill(*acl, side, port);
  acl->permitAnyIs(side.permitAny);
  return acl;
}

ShadowAcl::Acl unionOf(const Ptr<BaseAcl>& acl) {
  if (auto* ip = dynamic_cast<IpAcl*>(acl.get())) return ShadowAcl::Acl(Ptr<IpAcl>(ip));
  return ShadowAcl::Acl(Ptr<MacAcl>(dynamic_cast<MacAcl*>(acl.get())));
}

// "<type> <rules>x<owner's port> <side> <permitAny>"
std::string textOf(const FilterContent& c) {
  EXPECT_TRUE(c.delay);
  return fmt::format("{} {}x{} {} {}", c.ruleType, c.rules.size(), c.rules.empty() ? 0 : c.rules[0].port(),
                     textOr(c.srcOrDst), c.permitAny);
}

// Ports: 1 the filter's rules, 2 the ACL's, 3 those of the ACL of the other type.
TEST(FilterContent, AfterAttach) {
  const struct {
    Side filter, acl;
    AttachRefusal refusal;
    const char* content = "";
  } rows[] = {
      {{kIpv4, 2, kSource, true}, {kIpv4, 1, kDestination, {}}, AttachRefusal::none, "ipv4 1x2 destination false"},
      {{kIpv4, 2, kSource, true}, {kIpv4, 0, {}, true}, AttachRefusal::none, "ipv4 0x0  true"},
      {{kMac, 2, kSource, true}, {kMac, 1, kDestination, false}, AttachRefusal::none, "mac 1x2 destination false"},
      {{kMac, 2, kSource, true}, {kMac, 0, {}, {}}, AttachRefusal::none, "mac 0x0  false"},
      {{kIpv4, 0, {}, false}, {kMac, 1, kSource, true}, AttachRefusal::typeConflict},
      {{kIpv4, 1, {}, false}, {kMac, 3, kSource, true}, AttachRefusal::tooManyRules},
      {{kIpv4, 2, kSource, true}, {kMac, 0, {}, false}, AttachRefusal::none, "ipv4 2x1 source true"},
      {{kIpv4, 0, kSource, false}, {kMac, 0, {}, true}, AttachRefusal::none, "mac 0x0 source false"},
      {{kMac, 1, kSource, true}, {kIpv4, 1, kSource, true}, AttachRefusal::typeConflict},
      {{kMac, 1, kSource, true}, {kIpv4, 0, {}, {}}, AttachRefusal::typeConflict},
      {{kMac, 0, kSource, true}, {kIpv4, 2, kDestination, {}}, AttachRefusal::none, "ipv4 2x2 destination false"},
      {{kMac, 0, kSource, true}, {kIpv4, 0, {}, {}}, AttachRefusal::none, "ipv4 0x0 source false"},
  };
  for (const auto& [filterSide, aclSide, refusal, content] : rows) {
    SCOPED_TRACE(fmt::format("{} {} takes {} {}", filterSide.type, filterSide.rules, aclSide.type, aclSide.rules));
    const auto filter = make<ShadowFilter>(IntfId("e1"), filterSide.type, uint8_t{2});
    fill(*filter, filterSide, 1);
    filter->permitAnyIs(*filterSide.permitAny), filter->delayIs(true);
    const auto ip = make<IpAcl>(AclKey{"oldIp"});
    const auto mac = make<MacAcl>(AclKey{"oldMac"});
    filter->ipAclIs(ip), filter->macAclIs(mac);
    const ShadowAcl::Acl acl = unionOf(anAcl(aclSide, 2));
    EXPECT_EQ(attachRefusal(*filter, acl, 2), refusal);
    if (refusal != AttachRefusal::none) continue;
    const FilterContent after = contentAfterAttach(*filter, acl);
    EXPECT_EQ(textOf(after), content);
    EXPECT_EQ(after.ipAcl, acl.containsIp() ? acl.ip() : ip);
    EXPECT_EQ(after.macAcl, acl.containsIp() ? mac : acl.mac());
  }
}

TEST(FilterContent, AfterDetach) {
  const struct {
    Acl::AclType leaves;
    Side filter;
    std::optional<Side> stays;
    const char* content;
  } rows[] = {
      {kIpv4, {kIpv4, 2, kSource, true}, {}, "mac 0x0  false"},
      {kIpv4, {kIpv4, 2, kSource, true}, Side{kMac, 0, kSource, true}, "mac 0x0  true"},
      {kIpv4, {kMac, 2, kSource, true}, Side{kMac, 1, kDestination, {}}, "mac 1x3 destination false"},
      {kMac, {kMac, 2, kSource, true}, {}, "mac 0x0  false"},
      {kMac, {kIpv4, 2, kSource, true}, {}, "ipv4 0x0  false"},
      {kMac, {kIpv4, 2, kSource, false}, Side{kIpv4, 2, kDestination, true}, "ipv4 2x3 source true"},
      {kMac, {kMac, 0, {}, true}, Side{kIpv4, 0, {}, {}}, "mac 0x0  false"},
  };
  for (const auto& [leaves, filterSide, stays, content] : rows) {
    SCOPED_TRACE(fmt::format("{} leaves {} {}", leaves, filterSide.type, stays.has_value()));
    const auto filter = make<ShadowFilter>(IntfId("e1"), filterSide.type, uint8_t{2});
    fill(*filter, filterSide, 1);
    filter->permitAnyIs(*filterSide.permitAny), filter->delayIs(true);
    const ShadowAcl::Acl leaving = unionOf(anAcl({leaves}, 2));
    const ShadowAcl::Acl staying = stays ? unionOf(anAcl(*stays, 3)) : ShadowAcl::Acl();
    for (const auto& acl : {leaving, staying}) {
      if (acl.containsMac()) filter->macAclIs(acl.mac());
      if (acl.containsIp() && acl.ip()) filter->ipAclIs(acl.ip());
    }
    const FilterContent after = contentAfterDetach(*filter, leaving);
    EXPECT_EQ(textOf(after), content);
    EXPECT_EQ(after.ipAcl, staying.containsIp() ? staying.ip() : nullptr);
    EXPECT_EQ(after.macAcl, staying.containsMac() ? staying.mac() : nullptr);
  }
}

}  // namespace
}  // namespace Kestrix::Test
