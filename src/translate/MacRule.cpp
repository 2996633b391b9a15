#include "translate/MacRule.h"

namespace Kestrix {
namespace {

struct KindRow {
  uint32_t ethType;
  MacRuleKind kind;
};

constexpr KindRow kKinds[] = {
    {0x0806, MacRuleKind::arp},
    {0x88CC, MacRuleKind::lldp},
    {0x0000, MacRuleKind::everyEtherType},
    {0xFFFF'FFFF, MacRuleKind::everyEtherType},
};

}  // namespace

MacRuleKind macRuleKind(uint32_t ethType) {
  for (const KindRow& row : kKinds) {
    if (row.ethType == ethType) return row.kind;
  }
  return MacRuleKind::unsupported;
}

AclRule macRule(uint8_t slot, RuleSide side, const Acl::MacRuleConfig& config) {
  const Acl::MacFilter& filter = config.filter;
  const bool isSource = side == RuleSide::source;
  AclRule rule(slot);
  rule.addrWithMaskIs(AclAddrWithMask(Platform::EthAddrWithMask{
      isSource ? filter.srcAddr : filter.dstAddr, (isSource ? filter.srcMask : filter.dstMask).complement()}));
  rule.actionIs(config.action);
  return rule;
}

}  // namespace Kestrix
