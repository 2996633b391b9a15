#include "lifecycle/FilterContent.h"

namespace Kestrix {
namespace {

std::vector<AclRule> inKeyOrder(const Platform::ValueMap<uint8_t, AclRule>& rules) {
  std::vector<AclRule> copies;
  copies.reserve(rules.size());
  for (const auto& [key, rule] : rules) copies.push_back(rule);
  return copies;
}

bool isIpFilter(const ShadowFilter& filter) { return filter.ruleType() == Acl::AclType::ipv4; }

}  // namespace

AttachRefusal attachRefusal(const ShadowFilter& filter, const ShadowAcl::Acl& acl, uint8_t maxRules) {
  const bool isIp = acl.containsIp();
  const size_t aclRules = acl.base()->rule().size();
  if (aclRules > maxRules) return AttachRefusal::tooManyRules;
  // Asymmetric: an IPv4-programmed filter refuses the rules of any MAC ACL, a MAC-programmed one with rules refuses any
  // IPv4 ACL.
  if (isIpFilter(filter) && !isIp && aclRules > 0) return AttachRefusal::typeConflict;
  if (!isIpFilter(filter) && isIp && !filter.rule().empty()) return AttachRefusal::typeConflict;
  return AttachRefusal::none;
}

FilterContent contentAfterAttach(const ShadowFilter& filter, const ShadowAcl::Acl& acl) {
  const bool isIp = acl.containsIp();
  const Platform::Ptr<BaseAcl> base = acl.base();
  FilterContent content;

  content.rulesOfAcl = isIpFilter(filter) == isIp || !base->rule().empty();
  if (content.rulesOfAcl) {
    content.ruleType = isIp ? Acl::AclType::ipv4 : Acl::AclType::mac;
    content.srcOrDst = base->srcOrDst();
    content.rules = inKeyOrder(base->rule());
  } else {
    content.ruleType = isIp || !filter.rule().empty() ? Acl::AclType::ipv4 : Acl::AclType::mac;
    content.srcOrDst = filter.srcOrDst();
    content.rules = inKeyOrder(filter.rule());
  }
  content.permitAny = isIpFilter(filter) && !isIp ? filter.permitAny() : base->permitAny().value_or(false);
  content.ipAcl = isIp ? acl.ip() : filter.ipAcl();
  content.macAcl = isIp ? filter.macAcl() : acl.mac();
  content.delay = filter.delay();
  return content;
}

Platform::Ptr<ShadowFilter> replaceFilter(ShadowFilters& filters, Platform::IntfId intf, uint8_t maxRules,
                                          const FilterContent& content) {
  filters.shadowFilterDel(intf);
  const auto filter = filters.shadowFilterIs(intf, content.ruleType, maxRules);
  filter->ipAclIs(content.ipAcl);
  filter->macAclIs(content.macAcl);
  filter->delayIs(content.delay);
  filter->srcOrDstIs(content.srcOrDst);
  filter->permitAnyIs(content.permitAny);
  return filter;
}

}  // namespace Kestrix
