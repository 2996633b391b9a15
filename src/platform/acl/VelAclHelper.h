// The framework's abstract helper: the class through which an ACL framework drives a platform's hardware.
#pragma once

#include <cstdint>

#include <boost/container/flat_map.hpp>
#include <boost/container/small_vector.hpp>

#include "platform/acl/AclData.h"
#include "platform/object/Model.h"
#include "platform/runtime/Export.h"

// The ACL framework's interface to its helpers.
namespace VelHelper {

// Where a helper's status reaches the framework. Implemented by the framework; every operation has a default that does
// nothing. An operation may call the helper again, and may drop the last reference to it. None throws: the pass that
// calls it would end in the middle. What it calls may raise errors, which it must catch.
class AclStatusListener : public Platform::Node {
 public:
  // The outcome of one pass that applied or cleared an ACL.
  virtual void aclStatusUpdate(const Platform::AclKey&, Platform::AclCreateError) noexcept {}
  // Publishing the errors of the hardware unit was switched on or off, possibly to what it was.
  virtual void unitErrorPublished(const Platform::String& /*unit*/, bool) noexcept {}
  // The error of the hardware unit was set, possibly to the value that it had.
  virtual void unitErrorChanged(const Platform::String& /*unit*/, Platform::AclCreateError) noexcept {}
  // The flag `dirty` of the helper was set or cleared, possibly to the value that it had.
  virtual void dirtyChanged(bool) noexcept {}
  // The interface's traffic was to be blocked or unblocked: told whether or not the register could be written.
  virtual void aclIntfBlocked(Platform::IntfId, bool) noexcept {}
};

// Base of the platforms' helpers. All operations are called on the agent's event thread.
class KESTRIX_API AclHelper : public Platform::Entity {
 public:
  using AclCreateError = Platform::AclCreateError;
  using AclData = Platform::AclData;
  using AclDataStatus = Platform::AclDataStatus;
  using IntfId = Platform::IntfId;
  using IntfPairKey = Platform::IntfPairKey;
  using String = Platform::String;
  using UniqueId = Platform::UniqueId;
  template <class T>
  using Ptr = Platform::Ptr<T>;

  // --- Operations of a helper ---

  ~AclHelper() override;

  // Called once after construction; sets the capability flags below.
  virtual void hwInit() = 0;
  // Whether ACLs can be attached to `intf`.
  virtual bool intfSupportsAcl(IntfId intf) = 0;
  // The name of the line card that has `intf`.
  virtual String intfLinecardName(IntfId intf) = 0;

  // One subrule of a configured IPv4 rule, in the order of the rules. Port 0 is none; `*PortLow` and `*PortHigh` are a
  // range, and `ipLen*` match the IP length. The masks of ports and the arguments after `ipLenHigh` are for other
  // platforms.
  virtual AclCreateError createIpAclSubrule(Acl::AclType aclType, const Acl::RuleConfig& ruleConfig,
                                            const UniqueId& ruleId, const Ptr<AclData>& aclData, uint32_t ruleNum,
                                            uint32_t subruleNum, uint16_t srcPort, uint16_t srcPortMask,
                                            uint16_t dstPort, uint16_t dstPortMask, uint16_t srcPortLow,
                                            uint16_t srcPortHigh, uint16_t dstPortLow, uint16_t dstPortHigh,
                                            uint16_t ipLen, uint16_t ipLenMask, uint16_t ipLenLow, uint16_t ipLenHigh,
                                            uint8_t icmpType, bool established, uint8_t ttl, uint8_t dscp) = 0;
  // A configured IPv4 rule that matches fragments, in its place among the subrules.
  virtual AclCreateError createIpFragRule(const Ptr<AclData>& aclData, const Acl::IpRuleConfig& ruleConfig,
                                          const UniqueId& ruleId, uint32_t ruleNum, uint32_t subruleNum) = 0;
  // A configured MAC rule, in the order of the rules.
  virtual AclCreateError createMacAclRule(const Acl::MacRuleConfig& ruleConfig, const UniqueId& ruleId,
                                          const Ptr<AclData>& aclData, uint32_t ruleNum) = 0;
  // All rules of the ACL have been given: writes them to every interface that waits for them. The listener's
  // `aclStatusUpdate` and the result have the error of the last interface that failed.
  virtual AclCreateError createFinalAclRule(Acl::AclType aclType, const Ptr<AclData>& aclData, uint32_t ruleNum) = 0;
  // All rules of the ACL are about to be given, from the first one on.
  virtual AclCreateError precreateAcl(const Ptr<AclData>& aclData, const Ptr<AclDataStatus>& status) = 0;
  // The ACL is about to be cleaned up.
  virtual void destroyAcl(const Ptr<AclData>& aclData) = 0;
  // Takes the ACL off all interfaces and forgets it.
  virtual void cleanupAcl(const Ptr<AclData>& aclData) = 0;
  // The ACL's changes are to take effect now: for platforms that write nothing earlier.
  virtual void commitAcl(const Ptr<AclData>& aclData) = 0;
  // Blocks or unblocks all traffic of the interface.
  virtual void blockIntf(IntfId intf, bool block, uint32_t reason) = 0;
  // Attaches the ACL to the interface. Its rules are written there once all of them have been given. Only
  // `aclStatusUpdate` tells the outcome: a helper may return noError whatever fails.
  virtual AclCreateError addIntfToAcl(const IntfPairKey& intfPair, const Ptr<AclData>& aclData,
                                      const Ptr<AclDataStatus>& status) = 0;
  // Detaches the ACL from the interface. `belongsToAnother`: the framework has given the interface, in this direction,
  // to another ACL. Only `aclStatusUpdate` tells the outcome: a helper may return noError whatever fails.
  virtual AclCreateError removeIntfFromAcl(const IntfPairKey& intfPair, const Ptr<AclData>& aclData,
                                           bool belongsToAnother) = 0;
  // Ports were added to the ACL or removed from it: for platforms that manage them together.
  virtual void updateAclPorts(const Ptr<AclData>& aclData, bool add) = 0;
  // createFinalAclRule with the identifier of the last rule. Ignores it unless overridden.
  virtual AclCreateError createFinalAclRuleWithId(Acl::AclType aclType, const UniqueId& ruleId,
                                                  const Ptr<AclData>& aclData, uint32_t ruleNum);

  // --- Status: called by a helper, read and followed by the framework ---

  // Replaces the listener. May be null; shared with the framework.
  void listenerIs(Ptr<AclStatusListener> listener) { listener_ = std::move(listener); }

  // Reports the outcome of one pass that applied or cleared the ACL of `key`.
  void aclStatusUpdateCallback(const Platform::AclKey& key, AclCreateError error);

  // Whether errors of the hardware unit are to be published; false until it is set.
  bool publishUnitError(const String& unit) const { return Platform::lookUp<bool>(publishUnitError_, unit); }
  // Sets `publishUnitError`, and tells the listener.
  void publishUnitErrorIs(const String& unit, bool publish);
  // The last error of the hardware unit; noError until there is one.
  AclCreateError unitError(const String& unit) const { return Platform::lookUp<AclCreateError>(unitError_, unit); }
  // Sets `unitError`, and tells the listener.
  void unitErrorIs(const String& unit, AclCreateError error);

  // Set when a rule of an ACL could not be put into the hardware; never cleared by the helper.
  bool dirty() const { return dirty_; }
  // Sets or clears `dirty`, and tells the listener.
  void dirtyIs(bool dirty);

  // The interfaces whose traffic is to be blocked, each with true.
  const Platform::Map<IntfId, bool>& aclIntfBlockedStatus() const { return aclIntfBlockedStatus_; }
  // Sets or removes the entry of `intf`, and tells the listener.
  void aclIntfBlockedStatusIs(IntfId intf, bool blocked);
  void aclIntfBlockedStatusDel(IntfId intf);

  // --- Capabilities, set by hwInit ---

  // Whether the hardware can hold ACLs of the direction and type. False before hwInit.
  bool ingressIpAclSupported() const { return ingressIpAclSupported_; }
  bool ingressMacAclSupported() const { return ingressMacAclSupported_; }
  bool egressIpAclSupported() const { return egressIpAclSupported_; }
  bool egressMacAclSupported() const { return egressMacAclSupported_; }
  // Whether ACLs can be applied to interfaces. False before hwInit.
  bool intfAclSupported() const { return intfAclSupported_; }

 protected:
  // Without a listener, and without capabilities.
  AclHelper();

  // Behind the operations of the same name; hwInit sets them.
  bool ingressIpAclSupported_ = false;
  bool ingressMacAclSupported_ = false;
  bool egressIpAclSupported_ = false;
  bool egressMacAclSupported_ = false;
  bool intfAclSupported_ = false;

 private:
  Ptr<AclStatusListener> listener_;
  // With room for one unit of a short name: to raise an error needs no memory.
  boost::container::small_flat_map<String, bool, 1> publishUnitError_;
  boost::container::small_flat_map<String, AclCreateError, 1> unitError_;
  Platform::Map<IntfId, bool> aclIntfBlockedStatus_;
  bool dirty_ = false;
};

}  // namespace VelHelper
