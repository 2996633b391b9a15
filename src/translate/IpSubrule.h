// One IPv4 subrule as the framework asks for it, and what the filter hardware can make of it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "model/AclRule.h"
#include "model/Refusal.h"
#include "platform/acl/AclTypes.h"
#include "platform/network/IpAddr.h"
#include "translate/RuleSide.h"

namespace Kestrix {

struct PortRange {
  uint16_t low;
  uint16_t high;
};

// What decides the translation, out of the arguments of createIpAclSubrule.
struct IpSubrule {
  struct Side {
    Platform::IpAddrWithFullMask ip;  // Mask bits that are set are compared.
    uint16_t port = 0;                // 0 is none.
    PortRange range{};

    // The mask does not count: 0.0.0.0 is any, whatever its mask.
    constexpr bool isAny() const { return ip.addr.isAny() && port == 0; }
  };

  Acl::Action action = Acl::Action::deny;
  Platform::IpProto proto;
  Side source;
  Side destination;
  std::array<uint16_t, 4> ipLength{};
};

// Whether the hardware can hold the shape of the subrule, whatever its side; if not, the first reason.
Refused checkShape(const IpSubrule& subrule);

// What the filter compares.
struct IpMatch {
  Platform::IpAddrWithFullMask addr;  // With its wildcard mask: set bits are not compared.
  uint16_t port = 0;

  bool operator==(const IpMatch&) const = default;
};

// `side` is not refused.
IpMatch matchOn(RuleSide side, const IpSubrule& subrule);

// Whether the rule matches every packet, so that it is the ACL's verdict and no rule.
bool matchesEverything(RuleSide side, const IpSubrule& subrule);

AclRule ipRule(uint8_t ruleKey, const IpMatch& match, const IpSubrule& subrule);

}  // namespace Kestrix
