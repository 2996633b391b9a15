#include "lifecycle/FilterContent.h"

#include <algorithm>
#include <iterator>

namespace Kestrix {
namespace {

std::vector<AclRule> inKeyOrder(const Platform::ValueMap<uint8_t, AclRule>& rules) {
  std::vector<AclRule> copies;
  copies.reserve(rules.size());
  for (const auto& [key, rule] : rules) copies.push_back(rule);
  return copies;
}

// Types, and whether there are rules, as the rows below ask for them.
enum class Type : uint8_t { ipv4, mac };
enum class Has : uint8_t { no, yes, any };
enum class From : uint8_t { acl, filter };

Type typeOf(const ShadowFilter& filter) { return filter.ruleType() == Acl::AclType::ipv4 ? Type::ipv4 : Type::mac; }
Type typeOf(const ShadowAcl::Acl& acl) { return acl.containsIp() ? Type::ipv4 : Type::mac; }
constexpr Acl::AclType programmedFor(Type type) { return type == Type::ipv4 ? Acl::AclType::ipv4 : Acl::AclType::mac; }
constexpr bool fits(Has asked, bool has) { return asked == Has::any || (asked == Has::yes) == has; }

// What an ACL makes of a filter. The conflict is asymmetric: a filter programmed for IPv4 refuses the rules of any MAC
// ACL, one programmed for MAC refuses any IPv4 ACL while it holds rules.
struct AttachRow {
  Type filter;
  Type acl;
  Has aclRules;
  Has filterRules;
  bool conflict;
  Type newType;
  From rules;  // And the side they match.
  From permitAny;
};
constexpr AttachRow kAttachRows[] = {
    // filter   acl         ACL rules filter r. conflict new type    rules         permitAny
    {Type::ipv4, Type::ipv4, Has::any, Has::any, false, Type::ipv4, From::acl, From::acl},
    {Type::mac, Type::mac, Has::any, Has::any, false, Type::mac, From::acl, From::acl},
    {Type::ipv4, Type::mac, Has::yes, Has::any, true, Type::ipv4, From::filter, From::filter},
    {Type::ipv4, Type::mac, Has::no, Has::yes, false, Type::ipv4, From::filter, From::filter},
    {Type::ipv4, Type::mac, Has::no, Has::no, false, Type::mac, From::filter, From::filter},
    {Type::mac, Type::ipv4, Has::any, Has::yes, true, Type::mac, From::filter, From::filter},
    {Type::mac, Type::ipv4, Has::yes, Has::no, false, Type::ipv4, From::acl, From::acl},
    {Type::mac, Type::ipv4, Has::no, Has::no, false, Type::ipv4, From::filter, From::acl},
};

const AttachRow& attachRow(const ShadowFilter& filter, const ShadowAcl::Acl& acl) {
  return *std::find_if(std::begin(kAttachRows), std::end(kAttachRows), [&](const AttachRow& row) {
    return row.filter == typeOf(filter) && row.acl == typeOf(acl) && fits(row.aclRules, !acl.base()->rule().empty()) &&
           fits(row.filterRules, !filter.rule().empty());
  });
}

// What the filter matches once an ACL has left it. The rules, and the verdict, are those of the ACL that stays.
enum class SideFrom : uint8_t { none, filter, stayingAcl };
struct DetachRow {
  Type acl;      // The one that leaves.
  Has staying;   // Whether one of the other type stays,
  Has itsRules;  // and has rules.
  bool keepsType;
  SideFrom side;
};
constexpr DetachRow kDetachRows[] = {
    // leaves   stays     its rules keeps type     side
    {Type::ipv4, Has::no, Has::any, false, SideFrom::none},
    {Type::ipv4, Has::yes, Has::no, false, SideFrom::none},
    {Type::ipv4, Has::yes, Has::yes, false, SideFrom::stayingAcl},
    {Type::mac, Has::no, Has::any, true, SideFrom::none},
    {Type::mac, Has::yes, Has::any, true, SideFrom::filter},
};

const DetachRow& detachRow(Type leaving, const BaseAcl* staying) {
  return *std::find_if(std::begin(kDetachRows), std::end(kDetachRows), [&](const DetachRow& row) {
    return row.acl == leaving && fits(row.staying, staying != nullptr) &&
           fits(row.itsRules, staying != nullptr && !staying->rule().empty());
  });
}

}  // namespace

Refusal attachRefusal(const ShadowFilter& filter, const ShadowAcl::Acl& acl, uint8_t maxRules) {
  if (acl.base()->rule().size() > maxRules) return Refusal::tooManyRules;
  return attachRow(filter, acl).conflict ? Refusal::typeConflict : Refusal::none;
}

FilterContent contentAfterAttach(const ShadowFilter& filter, const ShadowAcl::Acl& acl) {
  const AttachRow& row = attachRow(filter, acl);
  const Platform::Ptr<BaseAcl> base = acl.base();
  const bool isIp = acl.containsIp();
  FilterContent content;
  content.ruleType = programmedFor(row.newType);
  content.rulesOfAcl = row.rules == From::acl;
  content.rules = inKeyOrder(content.rulesOfAcl ? base->rule() : filter.rule());
  content.srcOrDst = content.rulesOfAcl ? base->srcOrDst() : filter.srcOrDst();
  content.permitAny = row.permitAny == From::acl ? base->permitAny().value_or(false) : filter.permitAny();
  content.ipAcl = isIp ? acl.ip() : filter.ipAcl();
  content.macAcl = isIp ? filter.macAcl() : acl.mac();
  content.delay = filter.delay();
  return content;
}

bool holdsAnother(const ShadowFilter& filter, const ShadowAcl& shadowAcl) {
  const BaseAcl* holder = filter.recorded(shadowAcl.acl().containsIp());
  return holder != nullptr && holder->key() != shadowAcl.key();
}

FilterContent contentAfterDetach(const ShadowFilter& filter, const ShadowAcl::Acl& acl) {
  FilterContent content;
  if (acl.containsIp()) {
    content.macAcl = filter.macAcl();
  } else {
    content.ipAcl = filter.ipAcl();
  }
  const BaseAcl* staying = filter.recorded(!acl.containsIp());
  const DetachRow& row = detachRow(typeOf(acl), staying);
  content.ruleType = row.keepsType ? filter.ruleType() : Acl::AclType::mac;
  if (row.side == SideFrom::filter) content.srcOrDst = filter.srcOrDst();
  if (row.side == SideFrom::stayingAcl) content.srcOrDst = staying->srcOrDst();
  if (staying != nullptr) {
    content.permitAny = staying->permitAny().value_or(false);
    content.rules = inKeyOrder(staying->rule());
  }
  content.rulesOfAcl = false;
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
