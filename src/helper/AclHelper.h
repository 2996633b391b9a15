// The helper through which the framework drives this platform's packet filters, and the factory that makes one.
// It owns all shadow state. Single-threaded: everything runs on the agent's event thread.
//
//   IntfIdToPortGroupId intfMap;
//   intfMap.portGroupMapIs(IntfId("port-1"), 1);
//   Ptr<AclHelper> helper = aclHelperFactory(transport, intfMap, /*inRules=*/24, /*outRules=*/24, vcsd);
//   helper->listenerIs(myListener);
//   helper->hwInit();
#pragma once

#include <cstdint>

#include "model/IntfIdToPortGroupId.h"
#include "model/Refusal.h"
#include "model/ShadowAcl.h"
#include "model/ShadowFilter.h"
#include "platform/acl/AclData.h"
#include "platform/acl/VelAclHelper.h"
#include "platform/agent/TransportMethod.h"
#include "platform/runtime/Export.h"

// The library.
namespace Kestrix {

class FilterRegisters;

// The name under which errors of the hardware unit are raised.
inline constexpr char kUnitName[] = "Kestrix";

// The helper of this platform. The framework's operations raise RangeError for a null AclData, and those of the model
// ConsistencyError for a null ShadowAcl. Both raise ConsistencyError when the framework broke the order of calls:
// nothing has changed since the check that found it; and when they are called while the transport reads or writes a
// register: nothing has changed then. An AclDataStatus may be null. Whatever they call may drop the last reference to
// the helper and to an argument. Not final, as an agent calls the overridden operations through the virtual table: they
// are not exported.
class KESTRIX_API AclHelper : public VelHelper::AclHelper {
  KESTRIX_ENTITY(AclHelper, "Kestrix::AclHelper");
  // Where the registers are. Shared with the creator.
  KESTRIX_FIXED(Platform::Ptr<Platform::TransportMethod>, transport);
  // The port groups of the interfaces.
  KESTRIX_FIXED(IntfIdToPortGroupId, intfMap);
  // Slots for rules of one ingress and of one egress filter, 0 to Layout::kMaxSlots.
  KESTRIX_FIXED(uint8_t, inRules);
  KESTRIX_FIXED(uint8_t, outRules);
  // Shared with the framework; `intf` lists the interfaces that the agent manages.
  KESTRIX_FIXED(Platform::Ptr<const Platform::VelCommonSmData>, vcsd);
  // The instance is being torn down: detaching and cleaning up leave everything as it is.
  KESTRIX_SETTABLE(bool, destroying, false);
  // Whether the hardware holds ingress ACLs; initially, whether there are ingress slots.
  KESTRIX_SETTABLE(bool, ingressAclsSupported, inRules_ != 0);
  // The ACLs that were attached to an interface and not yet cleaned up.
  KESTRIX_ENTITIES(Platform::AclKey, ShadowAcl, allShadowAcl);
  // What the ingress and the egress filters hold.
  KESTRIX_CHILD(ShadowFilters, inShadowFilter);
  KESTRIX_CHILD(ShadowFilters, outShadowFilter);
  KESTRIX_MADE_BY(AclHelperIs);

 public:
  // A new helper. Raises RangeError when `transport` or `vcsd` is null, or a number of slots is above the limit.
  static Ptr<AclHelper> AclHelperIs(const Ptr<Platform::TransportMethod>& transport, const IntfIdToPortGroupId& intfMap,
                                    uint8_t inRules, uint8_t outRules,
                                    const Ptr<const Platform::VelCommonSmData>& vcsd);
  ~AclHelper() override;

  // --- Operations of the framework's helper class ---

  void hwInit() override;
  bool intfSupportsAcl(IntfId intf) override;
  String intfLinecardName(IntfId intf) override;
  AclCreateError createIpAclSubrule(Acl::AclType aclType, const Acl::RuleConfig& ruleConfig, const UniqueId& ruleId,
                                    const Ptr<AclData>& aclData, uint32_t ruleNum, uint32_t subruleNum,
                                    uint16_t srcPort, uint16_t srcPortMask, uint16_t dstPort, uint16_t dstPortMask,
                                    uint16_t srcPortLow, uint16_t srcPortHigh, uint16_t dstPortLow,
                                    uint16_t dstPortHigh, uint16_t ipLen, uint16_t ipLenMask, uint16_t ipLenLow,
                                    uint16_t ipLenHigh, uint8_t icmpType, bool established, uint8_t ttl,
                                    uint8_t dscp) override;
  AclCreateError createIpFragRule(const Ptr<AclData>& aclData, const Acl::IpRuleConfig& ruleConfig,
                                  const UniqueId& ruleId, uint32_t ruleNum, uint32_t subruleNum) override;
  AclCreateError createMacAclRule(const Acl::MacRuleConfig& ruleConfig, const UniqueId& ruleId,
                                  const Ptr<AclData>& aclData, uint32_t ruleNum) override;
  // Returns, and tells by `aclStatusUpdate`, the error of the last interface that failed. Where the filter does not
  // take the ACL it also raises the unit error; after a failed write it does not. `dirty` stays. noError after a
  // refused rule: no interface waits any more. For an ACL that is not supported, noError, and nothing is told.
  AclCreateError createFinalAclRule(Acl::AclType aclType, const Ptr<AclData>& aclData, uint32_t ruleNum) override;
  AclCreateError precreateAcl(const Ptr<AclData>& aclData, const Ptr<AclDataStatus>& status) override;
  void destroyAcl(const Ptr<AclData>& aclData) override;
  void cleanupAcl(const Ptr<AclData>& aclData) override;
  void commitAcl(const Ptr<AclData>& aclData) override;
  void blockIntf(IntfId intf, bool block, uint32_t reason) override;
  // Always returns noError. When the rules of the ACL are final, and it is not active there already, `aclStatusUpdate`
  // tells the outcome, and the unit error is raised where the filter does not take the ACL, but not after a failed
  // write.
  AclCreateError addIntfToAcl(const IntfPairKey& intfPair, const Ptr<AclData>& aclData,
                              const Ptr<AclDataStatus>& status) override;
  // Always returns noError; `aclStatusUpdate` tells the outcome, and nothing is told when `belongsToAnother` or
  // `destroying`. After a failed write an active interface stays active, and is in error.
  AclCreateError removeIntfFromAcl(const IntfPairKey& intfPair, const Ptr<AclData>& aclData,
                                   bool belongsToAnother) override;
  void updateAclPorts(const Ptr<AclData>& aclData, bool add) override;

  // Why the rule or ACL given last was refused, by one of createIpAclSubrule, createIpFragRule, createMacAclRule and
  // precreateAcl; no refusal when it was accepted. Known before the framework is told of the error.
  const Refused& lastRefused() const { return lastRefused_; }

  // Whether a register is being read or written. Operations that the transport calls then raise ConsistencyError.
  bool accessing() const { return accessing_; }

  // --- Operations of the model ---

  // Whether the hardware can hold ACLs of the key's type and direction.
  bool aclSupported(const Platform::AclKey& key) const;
  KESTRIX_OPERATION(aclSupported);

  // Writes `filterRegisters` into the filter of `intf` in `direction`: the whole filter, or its `enable` register only.
  // noError, or hardwareFailure when the transport's error flag was set; the flag is clear afterwards. All writes are
  // issued, and nothing is undone. `filterRegisters` is the caller's to keep until then.
  AclCreateError regWriteHelper(const FilterRegisters& filterRegisters, IntfId intf, Acl::AclDirection direction,
                                bool enableRegOnly);
  KESTRIX_OPERATION(regWriteHelper);

  // Writes a finalized ACL to the filters of its applying interfaces, and reports the pass to the framework; of another
  // ACL, does neither. noError, or the error of the last interface that failed. Raises ConsistencyError for a null ACL,
  // one that was never pre-created, and an applying interface without a shadow filter.
  AclCreateError writeAclToIntfs(const Ptr<ShadowAcl>& shadowAcl);
  KESTRIX_OPERATION(writeAclToIntfs);

  // Takes an ACL off the filters of its deleting interfaces, keeping the ACL of the other type that shares one, and
  // reports the pass to the framework. Raises ConsistencyError for a null ACL, and for an active interface that is not
  // in error and has no shadow filter.
  void clearAclFromIntfs(const Ptr<ShadowAcl>& shadowAcl);
  KESTRIX_OPERATION(clearAclFromIntfs);

  // Fails the interfaces that wait for the ACL with `error`, and raises it to the framework. Returns `error`.
  // Raises ConsistencyError for a null ACL.
  AclCreateError setCreationError(const Ptr<ShadowAcl>& shadowAcl, AclCreateError error);
  KESTRIX_OPERATION(setCreationError);

  // The filters of a direction, and the number of slots of one of them. The filters are null after they were
  // deleted.
  const Ptr<ShadowFilters>& shadowFilters(Acl::AclDirection direction) const {
    return direction == Acl::AclDirection::in ? inShadowFilter() : outShadowFilter();
  }
  uint8_t slotCount(Acl::AclDirection direction) const {
    return direction == Acl::AclDirection::in ? inRules() : outRules();
  }

 private:
  AclHelper(const Ptr<Platform::TransportMethod>& transport, const IntfIdToPortGroupId& intfMap, uint8_t inRules,
            uint8_t outRules, const Ptr<const Platform::VelCommonSmData>& vcsd);

  // The answer of aclSupported, with the reason.
  Refused checkAcl(const Platform::AclKey& key) const;
  // Notes why a rule of the ACL is refused, and fails the interfaces that wait for it. Returns the reason's error.
  AclCreateError refuseRule(const Ptr<ShadowAcl>& shadowAcl, const Refused& refused);
  // One interface of a writeAclToIntfs pass.
  AclCreateError writeAclToIntf(ShadowAcl& shadowAcl, const ShadowAcl::Acl& acl, IntfId intf);
  // One interface of a clearAclFromIntfs pass.
  AclCreateError clearAclFromIntf(ShadowAcl& shadowAcl, IntfId intf);
  // The interface is in error, the hardware unit too. Returns the reason's error.
  AclCreateError refuseIntf(ShadowAcl& shadowAcl, IntfId intf, Refusal reason);

  Refused lastRefused_;
  bool accessing_ = false;
};

// The library's entry point for the agent: the same as AclHelper::AclHelperIs.
KESTRIX_API Platform::Ptr<AclHelper> aclHelperFactory(const Platform::Ptr<Platform::TransportMethod>& transport,
                                                      const IntfIdToPortGroupId& intfMap, uint8_t inRules,
                                                      uint8_t outRules,
                                                      const Platform::Ptr<const Platform::VelCommonSmData>& vcsd);

}  // namespace Kestrix
