// The objects that the framework passes to a helper.
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
  // Makes an ACL that is active on no interface.
  explicit AclData(AclKey key) : key_(std::move(key)) {}

  // Fixed at construction.
  const AclKey& key() const { return key_; }

  // The interfaces on which the framework considers the ACL active.
  const Set<IntfId>& activeIntf() const { return activeIntf_; }
  // Adds `intf` to them, or removes it.
  void activeIntfIs(IntfId intf) { activeIntf_.insert(intf); }
  void activeIntfDel(IntfId intf) { activeIntf_.erase(intf); }

 private:
  AclKey key_;
  Set<IntfId> activeIntf_;
};

// The status that the framework publishes for an ACL. Helpers never read it.
class AclDataStatus : public Node {};

// The key of one attachment: an ACL on an interface.
struct IntfPairKey {
  IntfId intf;                                          // Where the ACL is attached.
  Acl::AclDirection direction = Acl::AclDirection::in;  // Which packets it filters there.
};

// What the framework shares with its helpers.
class VelCommonSmData : public Node {
 public:
  // The interfaces that the agent manages; the value is the framework's own.
  const Map<IntfId, bool>& intf() const { return intf_; }
  // Adds `intf`, or replaces its value.
  void intfIs(IntfId intf, bool value) { store(intf_, intf, value); }

 private:
  Map<IntfId, bool> intf_;
};

}  // namespace Platform
