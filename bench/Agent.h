// An agent with a helper, whose transport only counts.
#pragma once

#include <string>
#include <vector>

#include <fmt/format.h>

#include "helper/AclHelper.h"
#include "instance/AclHelperInstanceConfigSm.h"

namespace Kestrix::Bench {

using Platform::AclData, Platform::AclKey, Platform::IntfId, Platform::Ptr, Platform::make;

inline constexpr auto kOut = Acl::AclDirection::out;
inline constexpr uint8_t kSlots = 24;

struct CountingTransport final : Platform::TransportMethod {
  uint32_t regRead(std::string_view) noexcept override { return 0; }
  void regWrite(std::string_view path, uint32_t value) noexcept override {
    ++writes;
    sum += value + static_cast<unsigned char>(path.back());
  }
  uint64_t writes = 0, sum = 0;
};

// Has `intfCount` interfaces, numbered from `first`, each with its filters.
struct Agent {
  explicit Agent(size_t intfCount, size_t first = 0) {
    IntfIdToPortGroupId intfMap;
    for (size_t k = first; k < first + intfCount; ++k) {
      intfs.emplace_back(fmt::format("port-{}", k + 1));
      Platform::DownstreamIntfId::coreIdIs(intfs.back(), static_cast<uint32_t>(1 + k / 48));
      intfMap.portGroupMapIs(intfs.back(), static_cast<uint16_t>(1 + k % 48));
      vcsd->intfIs(intfs.back(), true);
    }
    helper = aclHelperFactory(transport, intfMap, 0, kSlots, vcsd);
    helper->hwInit();
    reactor = aclHelperInstanceConfigSmFactory(config, make<Platform::InstanceStatus>(), vcsd, helper);
  }

  void attach(const Ptr<AclData>& acl, IntfId intf) { helper->addIntfToAcl({.intf = intf}, acl, nullptr); }
  void rule(const Ptr<AclData>& acl, uint16_t port) {
    helper->createIpAclSubrule(Acl::AclType::ipv4, {Acl::Action::permit, match}, {}, acl, 1, 1, 0, 0, port, 0xFFFF, 0,
                               0, 0, 0, 0, 0, 0, 0, 0, false, 0, 0);
  }
  // Pre-creates the ACL, gives it `rules` rules, and writes it to its interfaces.
  void configure(const Ptr<AclData>& acl, int rules = kSlots) {
    helper->precreateAcl(acl, nullptr);
    for (int k = 0; k < rules; ++k) rule(acl, static_cast<uint16_t>(k + 1));
    helper->createFinalAclRule(Acl::AclType::ipv4, acl, 99);
  }
  Ptr<AclData> acl(const std::string& name) { return make<AclData>(AclKey{name, Acl::AclType::ipv4, kOut}); }

  std::vector<IntfId> intfs;
  const Acl::IpFilter match{Platform::IpProto(6), {}, Platform::IpAddrWithFullMask::fromText("10.1.2.0/255.255.255.0")};
  const Ptr<CountingTransport> transport = make<CountingTransport>();
  const Ptr<Platform::VelCommonSmData> vcsd = make<Platform::VelCommonSmData>();
  const Ptr<Platform::InstanceConfig> config = make<Platform::InstanceConfig>();
  Ptr<AclHelper> helper;
  Ptr<AclHelperInstanceConfigSm> reactor;
};

}  // namespace Kestrix::Bench
