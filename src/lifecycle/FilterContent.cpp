#include "lifecycle/FilterContent.h"

namespace Kestrix {
namespace {

std::vector<AclRule> inKeyOrder(const Platform::ValueMap<uint8_t, AclRule>& rules) {
  std::vector<AclRule> copies;
  copies.reserve(rules.size());
  for (const auto& [key, rule] : rules) copies.push_back(rule);
  return copies;
}

bool isIp(const ShadowFilter& filter) { return filter.ruleType() == Acl::AclType::ipv4; }

// A filter that is programmed for IPv4 refuses the rules of any MAC ACL, even when it holds none itself. One that is
// programmed for MAC refuses every IPv4 ACL as long as it holds rules.
bool conflicts(const ShadowFilter& filter, const ShadowAcl::Acl& acl) {
  if (isIp(filter) == acl.containsIp()) return false;
  return acl.containsIp() ? !filter.rule().empty() : !acl.base()->rule().empty();
}

}  // namespace

Refusal attachRefusal(const ShadowFilter& filter, const ShadowAcl::Acl& acl, uint8_t slots) {
  if (acl.base()->rule().size() > slots) return Refusal::tooManyRules;
  return conflicts(filter, acl) ? Refusal::typeConflict : Refusal::none;
}

FilterContent contentAfterAttach(const ShadowFilter& filter, const ShadowAcl::Acl& acl) {
  const Platform::Ptr<BaseAcl> base = acl.base();
  const bool isIpAcl = acl.containsIp();
  FilterContent content;
  // An ACL without rules joins the rules that an ACL of the other type has in the filter.
  content.rulesOfAcl = isIp(filter) == isIpAcl || !base->rule().empty();
  content.rules = inKeyOrder(content.rulesOfAcl ? base->rule() : filter.rule());
  content.srcOrDst = content.rulesOfAcl ? base->srcOrDst() : filter.srcOrDst();
  // Where it joins, the rules, if there are any, are those of an IPv4 ACL.
  const bool keepsIpRules = !content.rulesOfAcl && !filter.rule().empty();
  content.ruleType = isIpAcl || keepsIpRules ? Acl::AclType::ipv4 : Acl::AclType::mac;
  // In a filter that is programmed for IPv4, a MAC ACL does not decide what happens to the rest.
  const bool keepsVerdict = isIp(filter) && !isIpAcl;
  content.permitAny = keepsVerdict ? filter.permitAny() : base->permitAny().value_or(false);
  content.ipAcl = isIpAcl ? acl.ip() : filter.ipAcl();
  content.macAcl = isIpAcl ? filter.macAcl() : acl.mac();
  content.delay = filter.delay();
  return content;
}

bool holdsAnother(const ShadowFilter& filter, const ShadowAcl& shadowAcl) {
  const BaseAcl* holder = filter.aclOf(shadowAcl.acl().type());
  return holder != nullptr && holder->key() != shadowAcl.key();
}

FilterContent contentAfterDetach(const ShadowFilter& filter, const ShadowAcl::Acl& acl) {
  const bool isIpAcl = acl.containsIp();
  FilterContent content;
  content.rulesOfAcl = false;
  content.delay = filter.delay();
  if (isIpAcl) {
    content.ruleType = Acl::AclType::mac;
    content.macAcl = filter.macAcl();
  } else {
    content.ruleType = filter.ruleType();
    content.ipAcl = filter.ipAcl();
  }
  const BaseAcl* staying = filter.aclOf(isIpAcl ? Acl::AclType::mac : Acl::AclType::ipv4);
  if (staying == nullptr) return content;
  content.permitAny = staying->permitAny().value_or(false);
  content.rules = inKeyOrder(staying->rule());
  if (!isIpAcl) {
    content.srcOrDst = filter.srcOrDst();
  } else if (!staying->rule().empty()) {
    content.srcOrDst = staying->srcOrDst();
  }
  return content;
}

Platform::Ptr<ShadowFilter> filterWith(const FilterContent& content, Platform::IntfId intf, uint8_t slots) {
  const auto filter = Platform::make<ShadowFilter>(intf, content.ruleType, slots);
  filter->ipAclIs(content.ipAcl);
  filter->macAclIs(content.macAcl);
  filter->delayIs(content.delay);
  filter->srcOrDstIs(content.srcOrDst);
  filter->permitAnyIs(content.permitAny);
  filter->ruleReserve(content.rules.size());
  for (const AclRule& rule : content.rules) filter->ruleIs(rule);
  return filter;
}

}  // namespace Kestrix
