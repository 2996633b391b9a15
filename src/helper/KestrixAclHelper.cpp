#include "helper/AclHelper.h"

#include "helper/Steps.h"
#include "hw/FilterRegisters.h"
#include "hw/RegisterLayout.h"
#include "platform/object/Describe.h"

namespace Kestrix {

KESTRIX_DEFINE_ENTITY(AclHelper)

namespace {

uint8_t requireSlotCount(std::string_view attribute, uint8_t slots) {
  if (slots <= Layout::kMaxSlots) return slots;
  throw Platform::RangeError(
      fmt::format("{}.{}: {} is above the limit {}", AclHelper::modelName(), attribute, slots, Layout::kMaxSlots));
}

Refused aclRefusal(const Platform::AclKey& key, bool isIngressSupported) {
  if (key.direction == Acl::AclDirection::in && !isIngressSupported) return {Refusal::noIngress};
  if (key.type == Acl::AclType::ipv4 || key.type == Acl::AclType::mac) return {};
  return {Refusal::aclType, static_cast<uint32_t>(key.type)};
}

}  // namespace

AclHelper::AclHelper(const Ptr<Platform::TransportMethod>& transport, const IntfIdToPortGroupId& intfMap,
                     uint8_t inRules, uint8_t outRules, const Ptr<const Platform::VelCommonSmData>& vcsd)
    : transport_(requireNotNull<AclHelper>("transport", transport)),
      intfMap_(intfMap),
      inRules_(requireSlotCount("inRules", inRules)),
      outRules_(requireSlotCount("outRules", outRules)),
      vcsd_(requireNotNull<AclHelper>("vcsd", vcsd)) {
  inShadowFilterIs();
  outShadowFilterIs();
}

// Collections before what they share; the other members then go in the reverse order of their declaration.
AclHelper::~AclHelper() {
  allShadowAclDelAll();
  inShadowFilterDel();
  outShadowFilterDel();
}

AclHelper::Ptr<AclHelper> AclHelper::AclHelperIs(const Ptr<Platform::TransportMethod>& transport,
                                                 const IntfIdToPortGroupId& intfMap, uint8_t inRules, uint8_t outRules,
                                                 const Ptr<const Platform::VelCommonSmData>& vcsd) {
  return Ptr<AclHelper>(new AclHelper(transport, intfMap, inRules, outRules, vcsd));
}

Platform::Ptr<AclHelper> aclHelperFactory(const Platform::Ptr<Platform::TransportMethod>& transport,
                                          const IntfIdToPortGroupId& intfMap, uint8_t inRules, uint8_t outRules,
                                          const Platform::Ptr<const Platform::VelCommonSmData>& vcsd) {
  return AclHelper::AclHelperIs(transport, intfMap, inRules, outRules, vcsd);
}

void AclHelper::hwInit() {
  const OperationTrace trace(*this, "hwInit");
  trace.level5("");
  ingressIpAclSupported_ = ingressAclsSupported();
  ingressMacAclSupported_ = ingressAclsSupported();
  egressIpAclSupported_ = true;
  egressMacAclSupported_ = true;
  intfAclSupported_ = true;
}

bool AclHelper::intfSupportsAcl(IntfId intf) {
  const OperationTrace trace(*this, "intfSupportsAcl");
  trace.level5("intf: {}", intf);
  return vcsd()->intf().contains(intf);
}

AclHelper::String AclHelper::intfLinecardName(IntfId intf) {
  OperationTrace(*this, "intfLinecardName").level5("intf: {}", intf);
  return "FixedSystem";
}

bool AclHelper::aclSupported(const Platform::AclKey& key) const { return !checkAcl(key); }

Refused AclHelper::checkAcl(const Platform::AclKey& key) const {
  const OperationTrace trace(*this, "aclSupported");
  const Refused refused = aclRefusal(key, ingressAclsSupported());  // First: the sink may drop the owner of `key`.
  trace.level6("ACL direction: {} type: {}", key.direction, key.type);
  if (refused) trace.level6("{}", refused);
  return refused;
}

}  // namespace Kestrix
