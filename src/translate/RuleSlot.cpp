#include "translate/RuleSlot.h"

namespace Kestrix {

std::optional<uint8_t> freeSlot(const BaseAcl& acl, uint8_t limit) {
  const uint8_t ruleKey = acl.getNextAclRuleKey();
  if (ruleKey < limit) return ruleKey;
  return {};
}

void storeRule(BaseAcl& acl, const AclRule& rule, RuleSide side, const Platform::TraceScope& trace) {
  trace.level5("rule: {}", rule);
  acl.ruleIs(rule);
  acl.srcOrDstIs(sideInUse(side, acl.srcOrDst()));
  trace.level5("rule creation successful!");
}

}  // namespace Kestrix
