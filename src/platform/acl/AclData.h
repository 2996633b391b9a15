// The framework's objects that a helper is given.
#pragma once

#include <utility>

#include "platform/acl/AclKey.h"
#include "platform/network/IntfId.h"
#include "platform/object/Collections.h"
#include "platform/runtime/Ptr.h"

namespace Platform {

// The configuration of one ACL. Owned by the framework; its rules reach a helper one by one, through the translation
// operations.
class AclData : public Node {
 public:
  // An ACL that is active nowhere.
  explicit AclData(AclKey key) : key_(std::move(key)) {}

  // Given at construction.
  const AclKey& key() const { return key_; }

  // The interfaces on which the framework holds the ACL to be active.
  const Set<IntfId>& activeIntf() const { return activeIntf_; }
  // Says that the ACL is active on `intf`, or is not any more.
  void activeIntfIs(IntfId intf) { activeIntf_.insert(intf); }
  void activeIntfDel(IntfId intf) { activeIntf_.erase(intf); }

 private:
  AclKey key_;
  Set<IntfId> activeIntf_;
};

// The status that the framework publishes for an ACL. Helpers pass it on and do not read it.
class AclDataStatus : public Node {};

// The key of one attachment: an ACL on an interface.
struct IntfPairKey {
  IntfId intf;                                          // The interface.
  Acl::AclDirection direction = Acl::AclDirection::in;  // The packets that the ACL filters there.
};

// What the framework shares with its helpers.
class VelCommonSmData : public Node {
 public:
  // The interfaces that the agent manages; the value is the framework's own.
  const Map<IntfId, bool>& intf() const { return intf_; }
  // Manages `intf` from now on.
  void intfIs(IntfId intf, bool value) { store(intf_, intf, value); }

 private:
  Map<IntfId, bool> intf_;
};

}  // namespace Platform
