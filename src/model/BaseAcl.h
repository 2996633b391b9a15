// Shadow ACLs: one configured ACL translated into what an FPGA filter can hold.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "model/AclRule.h"
#include "platform/acl/AclKey.h"
#include "platform/object/Model.h"
#include "platform/runtime/Export.h"

namespace Kestrix {

// What IPv4 and MAC ACLs share. Created empty when an ACL is pre-created, filled rule by rule, never renumbered.
class BaseAcl : public Platform::Entity {
  KESTRIX_ENTITY(BaseAcl, "Kestrix::BaseAcl");
  // The key of the framework's ACL.
  KESTRIX_FIXED(Platform::AclKey, key);
  // Set by name only, and without effect: of the multicast attributes, only those of the filter count (ShadowFilter).
  KESTRIX_SETTABLE(std::optional<uint32_t>, multicast, {});
  KESTRIX_SETTABLE(bool, permitMulticast, false);
  // The side that all rules of this ACL match; absent until the first one that matches a side.
  KESTRIX_SETTABLE(std::optional<SrcOrDst>, srcOrDst, {});
  // The verdict of the first rule that matches everything; absent until there is one. Rules after it are dropped.
  KESTRIX_SETTABLE(std::optional<bool>, permitAny, {});
  // The rules. The translation gives them keys from 0 on without a gap, below the number of the filter's slots; by
  // `ruleIs` and by name, any key and gaps are possible.
  KESTRIX_VALUES(uint8_t, AclRule, rule, ruleKey);

 public:
  // An ACL without rules.
  explicit BaseAcl(Platform::AclKey key) : key_(std::move(key)) {}

  // The key for the next rule: 0 for an empty ACL, otherwise one after the run of keys that begins at 0 or 1 (key 0 is
  // not filled again while there are rules). The caller checks it against the slots that there are.
  KESTRIX_API uint8_t getNextAclRuleKey() const;
  KESTRIX_OPERATION(getNextAclRuleKey);
};

// The shadow of an IPv4 ACL.
class IpAcl final : public BaseAcl {
  KESTRIX_ENTITY(IpAcl, "Kestrix::IpAcl");
  // Some rule matches a layer-4 port.
  KESTRIX_SETTABLE(bool, l4, false);

 public:
  using ModelBase = BaseAcl;
  using BaseAcl::BaseAcl;
};

// The shadow of a MAC ACL.
class MacAcl final : public BaseAcl {
  KESTRIX_ENTITY(MacAcl, "Kestrix::MacAcl");
  // Set by name only; of `broadcast` only the presence counts.
  KESTRIX_SETTABLE(std::optional<uint32_t>, broadcast, {});
  KESTRIX_SETTABLE(bool, permitBroadcast, false);
  // There is an ARP rule, and the verdict of the first one.
  KESTRIX_SETTABLE(bool, arp, false);
  KESTRIX_SETTABLE(std::optional<bool>, permitArp, {});
  // There is an LLDP rule, and the verdict of the first one.
  KESTRIX_SETTABLE(bool, lldp, false);
  KESTRIX_SETTABLE(std::optional<bool>, permitLldp, {});

 public:
  using ModelBase = BaseAcl;
  using BaseAcl::BaseAcl;
};

}  // namespace Kestrix
