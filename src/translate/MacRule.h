// One MAC rule as the framework asks for it, and what the filter hardware can make of it.
#pragma once

#include <cstdint>

#include "model/AclRule.h"
#include "platform/acl/AclTypes.h"
#include "platform/network/EthAddr.h"
#include "translate/RuleSide.h"

namespace Kestrix {

// What a MAC rule is about, by its EtherType. ARP and LLDP are verdicts of the whole filter and match no address.
enum class MacRuleKind : uint8_t { arp, lldp, everyEtherType, unsupported };

MacRuleKind macRuleKind(uint32_t ethType);

// The mask does not count: 00:00:00:00:00:00 is any, whatever its mask.
constexpr bool isAnyAddress(const Platform::EthAddr& addr) { return addr.isEq(Platform::EthAddr()); }

// The rule on `side`, which is source or destination.
AclRule macRule(uint8_t slot, RuleSide side, const Acl::MacRuleConfig& config);

}  // namespace Kestrix
