#include "helper/AclHelper.h"

#include "helper/Callers.h"
#include "hw/FilterRegisters.h"
#include "hw/FilterWriter.h"
#include "hw/LinkMonitor.h"
#include "hw/RegisterLayout.h"
#include "model/AclTrace.h"

namespace Kestrix {

static_assert(kMaxRules == Layout::kMaxSlots);

KESTRIX_DEFINE_ENTITY(AclHelper)

namespace {

uint8_t requireRuleCount(std::string_view attribute, uint8_t rules) {
  if (rules <= kMaxRules) return rules;
  throw Platform::RangeError(
      fmt::format("{}.{}: {} is above the limit {}", AclHelper::modelName(), attribute, rules, kMaxRules));
}

Refused aclRefusal(const Platform::AclKey& key, bool isIngressSupported) {
  if (key.direction == Acl::AclDirection::in && !isIngressSupported) return {Refusal::noIngress};
  if (key.type == Acl::AclType::ipv4 || key.type == Acl::AclType::mac) return {};
  return {Refusal::aclType, static_cast<uint32_t>(key.type)};
}

}  // namespace

AclHelper::AclHelper(const Ptr<Platform::TransportMethod>& transport, const IntfIdToPortGroupId& intfMap,
                     uint8_t inRules, uint8_t outRules, const Ptr<const Platform::VelCommonSmData>& vcsd)
    : transport_(requireSet<AclHelper>("transport", transport)),
      intfMap_(intfMap),
      inRules_(requireRuleCount("inRules", inRules)),
      outRules_(requireRuleCount("outRules", outRules)),
      vcsd_(requireSet<AclHelper>("vcsd", vcsd)) {
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
  AclTrace("AclHelper", "hwInit").level5("");
  ingressIpAclSupported_ = ingressAclsSupported();
  ingressMacAclSupported_ = ingressAclsSupported();
  egressIpAclSupported_ = true;
  egressMacAclSupported_ = true;
  intfAclSupported_ = true;
}

bool AclHelper::intfSupportsAcl(IntfId intf) {
  AclTrace("AclHelper", "intfSupportsAcl").level5("intf: {}", intf);
  return vcsd()->intf().contains(intf);
}

AclHelper::String AclHelper::intfLinecardName(IntfId intf) {
  AclTrace("AclHelper", "intfLinecardName").level5("intf: {}", intf);
  return "FixedSystem";
}

bool AclHelper::aclSupported(const Platform::AclKey& key) const { return !checkAcl(key); }

Refused AclHelper::checkAcl(const Platform::AclKey& key) const {
  const AclTrace trace("AclHelper", "aclSupported");
  trace.level6("ACL direction: {} type: {}", key.direction, key.type);
  const Refused refused = aclRefusal(key, ingressAclsSupported());
  if (refused) trace.level6("{}", refused);
  return refused;
}

void AclHelper::blockIntf(IntfId intf, bool block, uint32_t /*reason*/) {
  const Ptr<AclHelper> self(this);  // The callback may drop the last other reference.
  AclTrace("AclHelper", "blockIntf").level5("intf: {} block: {}", intf, block);
  const std::string path = linkMonitorPath(filterAddress(intf, intfMap()));
  transport()->regWrite(path, linkMonitorValue(transport()->regRead(path), block));
  // A failed access stays in the transport's error flag, for the next write of a filter to report.
  if (block) {
    aclIntfBlockedStatusIs(intf, true);
  } else {
    aclIntfBlockedStatusDel(intf);
  }
}

AclHelper::AclCreateError AclHelper::regWriteHelper(const FilterRegisters& filterRegisters, IntfId intf,
                                                    Acl::AclDirection direction, bool enableRegOnly) {
  const Ptr<AclHelper> self(this);  // The transport may drop the last other reference.
  const AclTrace trace("AclHelper", "regWriteHelper");
  trace.level6("writing to intf: {}", intf);
  trace.level6("only writing to enable register: {}", enableRegOnly);

  FilterPath path(filterAddress(intf, intfMap()), direction);
  if (enableRegOnly) {
    writeEnable(*transport(), path, filterRegisters);
  } else {
    writeFilter(*transport(), path, filterRegisters, ruleLimit(direction));
  }

  if (transport()->error().error()) {
    trace.level6("I2C transaction error occured!! Has the FPGA been cleared?");
    transport()->error().errorIs(false);
    return AclCreateError::hardwareFailure;
  }
  trace.level6("success!");
  return AclCreateError::noError;
}

}  // namespace Kestrix
