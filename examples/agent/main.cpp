// The smallest agent: registers of its own, the helper and the reactor, one ACL on one interface. It makes the calls
// that an ACL framework makes, in its order, and prints what it is told and what the registers hold in the end.
#include <cstdio>
#include <exception>
#include <map>
#include <string>

#include <fmt/format.h>

#include "helper/AclHelper.h"
#include "instance/AclHelperInstanceConfigSm.h"
#include "model/AclTrace.h"

namespace {

using Platform::AclCreateError, Platform::AclData, Platform::AclKey, Platform::IntfId, Platform::Ptr, Platform::make;

// The registers: here in memory, on a device behind I2C. error().errorIs(true) reports a failed transaction.
class Registers final : public Platform::TransportMethod {
 public:
  uint32_t regRead(std::string_view path) noexcept override {
    const auto found = values_.find(path);
    return found == values_.end() ? 0 : found->second;
  }
  void regWrite(std::string_view path, uint32_t value) noexcept override {
    try {
      values_.insert_or_assign(std::string(path), value);
    } catch (const std::exception&) {
      error().errorIs(true);
    }
  }
  void print() const {
    for (const auto& [path, value] : values_) {
      if (value != 0) fmt::print("  {} = {:#x}\n", path, value);
    }
  }

 private:
  std::map<std::string, uint32_t, std::less<>> values_;
};

// What the library tells the framework.
class Status final : public VelHelper::AclStatusListener {
  void aclStatusUpdate(const AclKey& acl, AclCreateError error) noexcept override {
    fmt::print("{}: {}\n", acl, error);
  }
  void unitErrorChanged(const Platform::String& unit, AclCreateError error) noexcept override {
    fmt::print("{} unit: {}\n", unit, error);
  }
};

// TCP to 192.0.2.10, port 443. Mask bits that are set are compared.
AclCreateError permitWeb(VelHelper::AclHelper& helper, const Ptr<AclData>& acl) {
  const Acl::IpFilter match{.proto = Platform::IpProto(6),
                            .srcIp = {},
                            .dstIp = Platform::IpAddrWithFullMask::fromText("192.0.2.10/255.255.255.255")};
  return helper.createIpAclSubrule(Acl::AclType::ipv4, {Acl::Action::permit, match}, Platform::UniqueId(1), acl,
                                   /*ruleNum=*/1, /*subruleNum=*/1, /*srcPort=*/0, 0, /*dstPort=*/443, 0xFFFF,
                                   /*ranges of ports*/ 0, 0, 0, 0, /*IP length*/ 0, 0, 0, 0, /*icmpType=*/0,
                                   /*established=*/false, /*ttl=*/0, /*dscp=*/0);
}

AclCreateError denyTheRest(VelHelper::AclHelper& helper, const Ptr<AclData>& acl) {
  return helper.createIpAclSubrule(Acl::AclType::ipv4, {Acl::Action::deny, {}}, Platform::UniqueId(2), acl,
                                   /*ruleNum=*/2, /*subruleNum=*/1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, false, 0, 0);
}

int runAgent() {
  // Why something was refused is in the traces; level 6 has every detail.
  Kestrix::aclTraceHandle().levelIs(Platform::kTraceFailure);
  Kestrix::aclTraceHandle().sinkIs([](const Platform::TraceRecord& record) {
    fmt::print(stderr, "{} {}: {}\n", record.level, record.operation, record.message);
  });

  // The device: one interface, served by core 1 and port group 1.
  const IntfId port("port-1");
  Platform::DownstreamIntfId::coreIdIs(port, 1);
  Kestrix::IntfIdToPortGroupId portGroups;
  portGroups.portGroupMapIs(port, 1);
  const auto vcsd = make<Platform::VelCommonSmData>();
  vcsd->intfIs(port, true);
  const auto registers = make<Registers>();
  const auto helper = Kestrix::aclHelperFactory(registers, portGroups, /*inRules=*/4, /*outRules=*/4, vcsd);
  helper->listenerIs(make<Status>());
  helper->hwInit();

  // The reactor gives every interface its filters, so it comes before the first ACL.
  const auto config = make<Platform::InstanceConfig>();
  const auto reactor =
      Kestrix::aclHelperInstanceConfigSmFactory(config, make<Platform::InstanceStatus>(), vcsd, helper);

  const auto acl = make<AclData>(AclKey{"web-only", Acl::AclType::ipv4, Acl::AclDirection::out});
  helper->addIntfToAcl({.intf = port, .direction = Acl::AclDirection::out}, acl, nullptr);
  AclCreateError error = helper->precreateAcl(acl, nullptr);
  if (error == AclCreateError::noError) error = permitWeb(*helper, acl);
  if (error == AclCreateError::noError) error = denyTheRest(*helper, acl);
  if (error == AclCreateError::noError) error = helper->createFinalAclRule(Acl::AclType::ipv4, acl, 3);

  fmt::print("Registers that are not 0:\n");
  registers->print();
  return error == AclCreateError::noError ? 0 : 1;
}

}  // namespace

int main() {
  try {
    return runAgent();
  } catch (const std::exception& error) {  // Misuse of the model, or calls in an order that the library cannot follow.
    fmt::print(stderr, "{}\n", error.what());
    return 2;
  }
}
