// What a filter may take and what it then holds, decided from the filter as it is and the ACL.
// One filter serves an IPv4 ACL and a MAC ACL. It is programmed for one type and holds the rules of one of them; the
// other ACL, without rules, may share it.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "model/BaseAcl.h"
#include "model/Refusal.h"
#include "model/ShadowAcl.h"
#include "model/ShadowFilter.h"

namespace Kestrix {

// Why `acl` cannot be written to `filter`: tooManyRules, typeConflict, or none when it can.
Refusal attachRefusal(const ShadowFilter& filter, const ShadowAcl::Acl& acl, uint8_t slots);

// Everything that distinguishes a filter from an empty one of its interface.
struct FilterContent {
  Acl::AclType ruleType = Acl::AclType::mac;
  std::optional<SrcOrDst> srcOrDst;
  bool permitAny = false;
  Platform::Ptr<IpAcl> ipAcl;
  Platform::Ptr<MacAcl> macAcl;
  bool delay = false;
  std::vector<AclRule> rules;  // Ascending by key.
  bool rulesOfAcl = true;      // The rules are the attached ACL's, not the filter's own.
};

// The content after `acl` is written to `filter`; `acl` is not null and was not refused.
FilterContent contentAfterAttach(const ShadowFilter& filter, const ShadowAcl::Acl& acl);

// Whether another ACL of the type of `shadowAcl` is recorded in the filter.
bool holdsAnother(const ShadowFilter& filter, const ShadowAcl& shadowAcl);

// The content after `acl` is taken off `filter`: the ACL of the other type as the filter references it, or nothing.
FilterContent contentAfterDetach(const ShadowFilter& filter, const ShadowAcl::Acl& acl);

// A new filter of `intf` with `content`, in no collection yet.
Platform::Ptr<ShadowFilter> filterWith(const FilterContent& content, Platform::IntfId intf, uint8_t slots);

}  // namespace Kestrix
