// What the library knows of one ACL of the framework.
#pragma once

#include <optional>
#include <string_view>
#include <utility>

#include "model/BaseAcl.h"
#include "model/IpMacUnion.h"
#include "model/Refusal.h"
#include "platform/acl/AclKey.h"
#include "platform/network/IntfId.h"
#include "platform/object/Model.h"
#include "platform/runtime/Export.h"

namespace Kestrix {

// One ACL: the shadow ACL built from its rules, and the state of each interface it is applied to. An interface is in
// any of the four collections, or in none.
class ShadowAcl final : public Platform::Entity {
 public:
  // The shadow ACL of an IPv4 or a MAC ACL; by default `ip`, null. Compared by identity.
  class Acl : public IpMacUnion<Acl, Platform::Ptr<IpAcl>, Platform::Ptr<MacAcl>> {
    KESTRIX_UNION(Acl, "Kestrix::ShadowAcl::Acl");

    Acl() = default;
    // Holds `ip`, or `mac`; either may be null.
    explicit Acl(Platform::Ptr<IpAcl> ip) : IpMacUnion(std::move(ip)) {}
    explicit Acl(Platform::Ptr<MacAcl> mac) : IpMacUnion(std::move(mac)) {}

    // IPv4 or MAC.
    ::Acl::AclType type() const { return containsIp() ? ::Acl::AclType::ipv4 : ::Acl::AclType::mac; }
    // The held shadow ACL, whatever its type; null when there is none yet.
    Platform::Ptr<BaseAcl> base() const {
      return containsIp() ? Platform::Ptr<BaseAcl>(ip()) : Platform::Ptr<BaseAcl>(mac());
    }
  };

  KESTRIX_ENTITY(ShadowAcl, "Kestrix::ShadowAcl");
  // The key of the framework's ACL.
  KESTRIX_FIXED(Platform::AclKey, key);
  // The name in the key.
  KESTRIX_VIEW(Platform::String, name, key_.name);
  // The shadow ACL as far as it is translated; a fresh one from each pre-creation on.
  KESTRIX_SETTABLE(Acl, acl, {});
  // The interfaces whose filter holds this ACL.
  KESTRIX_SET(Platform::IntfId, activeIntf);
  // The interfaces to whose filter it is to be written.
  KESTRIX_SET(Platform::IntfId, applyingIntf);
  // The interfaces from whose filter it is to be cleared.
  KESTRIX_SET(Platform::IntfId, deletingIntf);
  // The interfaces on which applying or clearing failed, with the error.
  KESTRIX_MAP(Platform::IntfId, Platform::AclCreateError, std::optional<Platform::AclCreateError>, errorIntf);
  // All rules are translated. Cleared when the ACL is pre-created again.
  KESTRIX_SETTABLE(bool, aclRulesFinalized, false);

 public:
  // An ACL without a shadow ACL, on no interface.
  explicit ShadowAcl(Platform::AclKey key) : key_(std::move(key)) {}

  // Puts the interface into `errorIntf` with `error`; `reason` is why it was refused, when it was.
  KESTRIX_API void failIntf(Platform::IntfId intf, Platform::AclCreateError error, Refusal reason = Refusal::none);
  // Why an interface in `errorIntf` was refused: tooManyRules or typeConflict. None where a register write failed, or
  // where a rule was refused and not the interface.
  Refusal intfRefusal(Platform::IntfId intf) const {
    return errorIntf().contains(intf) ? Platform::lookUp<Refusal>(intfRefusal_, intf) : Refusal::none;
  }

  // The interface that failed last in a pass that std::bad_alloc ended, so that nobody was told of it: as long as it is
  // in error, the next pass reports it. Taken by that pass, and given by one that ends so.
  std::optional<Platform::IntfId> untoldIntfDel() { return std::exchange(untoldIntf_, std::nullopt); }
  void untoldIntfIs(Platform::IntfId intf) { untoldIntf_ = intf; }

 private:
  Platform::Map<Platform::IntfId, Refusal> intfRefusal_;
  std::optional<Platform::IntfId> untoldIntf_;
};

}  // namespace Kestrix
