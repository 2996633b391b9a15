// Names what the installed headers offer, each operation once: it compiles and links against the shared library alone.
// Built with -fkeep-inline-functions, which brings along what is inline; so only what is not, and templates, stand
// here.
#include "helper/AclHelper.h"
#include "hw/FilterRegisters.h"
#include "hw/RegisterLayout.h"
#include "instance/AclHelperInstanceConfigSm.h"
#include "model/AclTrace.h"
#include "platform/object/ByName.h"

using namespace Kestrix;
using namespace Platform;

namespace {

struct NoRegisters final : TransportMethod {
  uint32_t regRead(std::string_view) noexcept override { return 0; }
  void regWrite(std::string_view, uint32_t) noexcept override {}
};

// Refers to the functions.
template <class... Functions>
void link(Functions... functions) {
  (static_cast<void>(*static_cast<volatile Functions*>(&functions)), ...);
}

template <class... Types>
void linkModel() {
  link(&Types::model...);
}
template <class... Types>
void linkText() {
  link(static_cast<std::string (*)(const Types&)>(textOf)..., static_cast<Types (*)(std::string_view)>(fromText)...);
}

}  // namespace

int main() {
  // The helper, the reactor, the model.
  link(aclHelperFactory, &AclHelper::AclHelperIs, &AclHelper::aclSupported, &AclHelper::regWriteHelper,
       &AclHelper::writeAclToIntfs, &AclHelper::clearAclFromIntfs, &AclHelper::setCreationError, aclTraceHandle);
  using Reactor = AclHelperInstanceConfigSm;
  link(aclHelperInstanceConfigSmFactory, &Reactor::AclHelperInstanceConfigSmIs, &Reactor::handleAclDropDelay,
       &Reactor::hasNotificationActiveIs);
  using Framework = VelHelper::AclHelper;
  link(&Framework::aclStatusUpdateCallback, &Framework::publishUnitErrorIs, &Framework::unitErrorIs,
       &Framework::dirtyIs, &Framework::aclIntfBlockedStatusIs, &Framework::aclIntfBlockedStatusDel);
  link(&ShadowFilters::shadowFilterIs, &AclHelper::allShadowAclIs, &ShadowAcl::failIntf, &BaseAcl::getNextAclRuleKey,
       &ShadowFilter::genRegisters, &Refused::toText, &Acl::MacFilter::toText, &IntfIdToPortGroupId::toText,
       &FilterRegisters::toText);
  linkModel<AclHelper, Reactor, ShadowAcl, ShadowAcl::Acl, BaseAcl, IpAcl, MacAcl, ShadowFilters, ShadowFilter, AclRule,
            AclAddrWithMask, IntfIdToPortGroupId, FilterRegisters, FilterRuleRegisters>();
  linkText<AclRule, AclAddrWithMask, ShadowAcl::Acl, FilterRuleRegisters, AclKey, UniqueId, EthAddr, EthAddrWithMask,
           IpAddr, IpAddrWithFullMask, IpProto, IntfId, Acl::AclType, SrcOrDst, uint8_t, bool>();
  // Access by name, traces and the rest of the runtime.
  link(&ModelType::make, &ModelType::isA, &ModelType::attribute, ModelType::find, ModelType::all);
  link(&ConstByName::read, &ConstByName::lookUp, &ConstByName::contains, &ConstByName::count, &ConstByName::forEach,
       &ByName::set, &ByName::insert, &ByName::erase, &ByName::clear, &ByName::call, &Value::entity);
  link(&Entity::isA, Entity::fromReference, Entity::fromConstReference, referenceText, requireSameConstruction,
       valueOpening);
  link(&TextCursor::require, &TextCursor::requireEnd, &TextCursor::skip, &TextCursor::takeUntil, quoted, writeText);
  link(&TraceHandle::emit, &TraceScope::level5<int>, consistencyFailure, &Publisher::subscribe);
  link(DownstreamIntfId::coreId, DownstreamIntfId::coreIdIs, &IntfId::hash);

  // Templates with a use.
  const auto vcsd = make<VelCommonSmData>();
  const Ptr<Framework> made = AclHelper::modelMake(make<NoRegisters>(), IntfIdToPortGroupId(), uint8_t{4}, uint8_t{4},
                                                   Ptr<const VelCommonSmData>(vcsd));
  const Ptr<AclHelper> helper = boost::dynamic_pointer_cast<AclHelper>(made);
  const AclKey key{.name = "a"};
  const auto ip = make<IpAcl>(key);
  const auto filter = helper->inShadowFilter()->shadowFilterIs(IntfId("e1"), Acl::AclType::ipv4, 4);
  const ShadowAcl::Acl either(make<MacAcl>(key));
  const bool isRight = helper->allShadowAclIs(key)->errorIntf().empty() && !filter->genRegisters().enable() == false &&
                       byName(*ip).read("key").as<AclKey>() == key && fmt::format("{}", either).empty() == false;
  return isRight ? 0 : 1;
}
