// The values of a translated rule: the side matched, the address matched, the rule itself.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "model/IpMacUnion.h"
#include "platform/acl/AclTypes.h"
#include "platform/network/EthAddr.h"
#include "platform/network/IpAddr.h"
#include "platform/object/Model.h"

namespace Kestrix {

// The packet side that a filter matches, address and port alike.
enum class SrcOrDst : uint8_t { source = 0, destination = 1 };

}  // namespace Kestrix

template <>
inline constexpr Platform::EnumName<Kestrix::SrcOrDst> Platform::enumNames<Kestrix::SrcOrDst>[] = {
    {Kestrix::SrcOrDst::source, "source"}, {Kestrix::SrcOrDst::destination, "destination"}};

namespace Kestrix {

using Platform::operator<<;  // Where the enumeration is found.
// Its name: "source" or "destination".
inline std::string stringValue(SrcOrDst side) { return Platform::textOf(side); }

// The address that a rule matches, with its wildcard mask: a set bit marks an address bit that is not compared.
class AclAddrWithMask : public IpMacUnion<AclAddrWithMask, Platform::IpAddrWithFullMask, Platform::EthAddrWithMask> {
  KESTRIX_UNION(AclAddrWithMask, "Kestrix::AclAddrWithMask");

  AclAddrWithMask() = default;
  // Holds `ip`, or `mac`.
  explicit AclAddrWithMask(Platform::IpAddrWithFullMask ip) : IpMacUnion(ip) {}
  explicit AclAddrWithMask(const Platform::EthAddrWithMask& mac) : IpMacUnion(mac) {}

  // Whether it differs from the default, `ip` 0/0.
  explicit operator bool() const { return *this != AclAddrWithMask(); }
};

// One rule as an FPGA filter holds it. Its address is on the side named by the `srcOrDst` of its ACL or filter.
class AclRule {
  KESTRIX_VALUE(AclRule, "Kestrix::AclRule");
  // The rule's number within its ACL or filter, and its slot in the hardware.
  KESTRIX_FIXED(uint8_t, ruleKey);
  // The address matched.
  KESTRIX_SETTABLE(AclAddrWithMask, addrWithMask, {});
  // What happens to the packets that match.
  KESTRIX_SETTABLE(Acl::Action, action, Acl::Action::deny);
  // The layer-4 port matched, on the side of the address; 0 is none.
  KESTRIX_SETTABLE(uint16_t, port, 0);
  // Whether packets of the protocol match: of an IPv4 rule for any protocol both, of a MAC rule neither.
  KESTRIX_SETTABLE(bool, tcp, false);
  KESTRIX_SETTABLE(bool, udp, false);

 public:
  // No match, deny.
  explicit AclRule(uint8_t ruleKey) : ruleKey_(ruleKey) {}

  // What a lookup gives where there is no rule.
  static AclRule defaultValue() { return AclRule(0); }
  // Whether it differs from the default: no key, no match, deny.
  explicit operator bool() const { return !(*this == defaultValue()); }
};

}  // namespace Kestrix
