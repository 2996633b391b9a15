// Shadow filters: what each interface's FPGA filters hold.
#pragma once

#include <cstdint>
#include <optional>

#include "model/AclRule.h"
#include "model/BaseAcl.h"
#include "platform/network/IntfId.h"
#include "platform/object/Model.h"
#include "platform/runtime/Export.h"

namespace Kestrix {

class FilterRegisters;

// The shadow of one interface's filter in one direction. Writing an ACL replaces the filter; only `delay` and what is
// set by name changes in place. The views always show the shadow ACL referenced.
class ShadowFilter final : public Platform::Entity {
  KESTRIX_ENTITY(ShadowFilter, "Kestrix::ShadowFilter");
  // The interface.
  KESTRIX_FIXED(Platform::IntfId, intfId);
  // The ACLs written to the filter, or null. Shared with their ShadowAcl, which may have a newer one by now.
  KESTRIX_SETTABLE(Platform::Ptr<IpAcl>, ipAcl, {});
  KESTRIX_SETTABLE(Platform::Ptr<MacAcl>, macAcl, {});
  // What the filter is programmed for: IPv4 or MAC.
  KESTRIX_FIXED(Acl::AclType, ruleType);
  // The number of slots.
  KESTRIX_FIXED(uint8_t, maxRules);
  // The ACL drop delay.
  KESTRIX_SETTABLE(bool, delay, false);
  // Of `ipAcl`: some rule matches a layer-4 port.
  KESTRIX_VIEW(bool, l4, ipAcl_ && ipAcl_->l4());
  // Of `macAcl`, as set there by name; of `broadcast` only the presence counts.
  KESTRIX_VIEW(std::optional<uint32_t>, broadcast, macAcl_ ? macAcl_->broadcast() : std::nullopt);
  KESTRIX_VIEW(bool, permitBroadcast, macAcl_ && macAcl_->permitBroadcast());
  // Set by name only; of `multicast` only the presence counts.
  KESTRIX_SETTABLE(std::optional<uint32_t>, multicast, {});
  KESTRIX_SETTABLE(bool, permitMulticast, false);
  // Of `macAcl`: there is an ARP rule, and the verdict of the first one.
  KESTRIX_VIEW(bool, arp, macAcl_ && macAcl_->arp());
  KESTRIX_VIEW(std::optional<bool>, permitArp, macAcl_ ? macAcl_->permitArp() : std::nullopt);
  // Of `macAcl`: there is an LLDP rule, and the verdict of the first one.
  KESTRIX_VIEW(bool, lldp, macAcl_ && macAcl_->lldp());
  KESTRIX_VIEW(std::optional<bool>, permitLldp, macAcl_ ? macAcl_->permitLldp() : std::nullopt);
  // The side on which the rules match.
  KESTRIX_SETTABLE(std::optional<SrcOrDst>, srcOrDst, {});
  // The verdict for traffic that no rule matches.
  KESTRIX_SETTABLE(bool, permitAny, false);
  // What the slots hold: the rule with key n is in slot n. A key that is not below the number of rules, as there can be
  // after a change by name, is in no slot.
  KESTRIX_VALUES(uint8_t, AclRule, rule, ruleKey);

 public:
  // A filter without ACLs and rules, which denies.
  ShadowFilter(Platform::IntfId intfId, Acl::AclType ruleType, uint8_t maxRules)
      : intfId_(intfId), ruleType_(ruleType), maxRules_(maxRules) {}

  // The ACL of a type that is written to the filter: the IPv4 ACL, or the MAC ACL for every other type. May be null.
  const BaseAcl* aclOf(Acl::AclType type) const {
    if (type == Acl::AclType::ipv4) return ipAcl_.get();
    return macAcl_.get();
  }

  // The register image that the filter must have in hardware (hw/FilterRegisters.h).
  KESTRIX_API FilterRegisters genRegisters() const;
  KESTRIX_OPERATION(genRegisters);
};

// The shadow filters of one direction, each under its interface.
class ShadowFilters final : public Platform::Entity {
  KESTRIX_ENTITY(ShadowFilters, "Kestrix::ShadowFilters");
  // The filters by interface: shadowFilterIs(intfId, ruleType, maxRules).
  KESTRIX_ENTITIES_OF(Platform::IntfId, ShadowFilter, shadowFilter, (Acl::AclType ruleType, uint8_t maxRules), ruleType,
                      maxRules);

 public:
  // Puts `filter` in the place of the one of its interface. Where there is one, this needs no memory and cannot fail.
  void replace(const Platform::Ptr<ShadowFilter>& filter) { shadowFilter_.insert_or_assign(filter->intfId(), filter); }
};

}  // namespace Kestrix
