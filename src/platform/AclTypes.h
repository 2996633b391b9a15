// The framework's vocabulary of ACLs: kinds, directions, actions, rule configurations, error codes.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/EthAddr.h"
#include "platform/Export.h"
#include "platform/IpAddr.h"
#include "platform/Text.h"

namespace Acl {

// Values beyond these occur: a type that this framework has and a helper does not know.
enum class AclType : uint8_t { ipv4 = 0, ipv6 = 1, mac = 2 };

// Everything that is not `in` counts as out.
enum class AclDirection : uint8_t { in = 0, out = 1 };

// Everything that is not `permit` denies.
enum class Action : uint8_t { permit = 0, deny = 1 };

// What an IPv4 rule matches. Mask bits that are set are compared.
struct IpFilter {
  Platform::IpProto proto;
  Platform::IpAddrWithFullMask srcIp;
  Platform::IpAddrWithFullMask dstIp;

  bool operator==(const IpFilter&) const = default;
};

// One configured IPv4 rule, as the subrules made of it carry it.
struct RuleConfig {
  Action action = Action::deny;
  IpFilter filter;

  bool operator==(const RuleConfig&) const = default;
};

// One configured IPv4 rule that matches fragments.
struct IpRuleConfig {
  Action action = Action::deny;
  IpFilter filter;

  bool operator==(const IpRuleConfig&) const = default;
};

// What a MAC rule matches. Mask bits that are set are compared; ethType 0 and 0xFFFFFFFF match every EtherType.
struct KESTRIX_API MacFilter {
  uint32_t ethType = 0;
  Platform::EthAddr srcAddr;
  Platform::EthAddr srcMask;
  Platform::EthAddr dstAddr;
  Platform::EthAddr dstMask;

  bool operator==(const MacFilter&) const = default;
  std::string toText() const;
};

struct MacRuleConfig {
  Action action = Action::deny;
  MacFilter filter;

  bool operator==(const MacRuleConfig&) const = default;
};

using Platform::operator<<;  // Where the enumerations are found.

}  // namespace Acl

namespace Platform {

template <>
inline constexpr bool isOpenEnum<Acl::AclType> = true;
template <>
inline constexpr EnumName<Acl::AclType> enumNames<Acl::AclType>[] = {
    {Acl::AclType::ipv4, "ipv4"}, {Acl::AclType::ipv6, "ipv6"}, {Acl::AclType::mac, "mac"}};
template <>
inline constexpr bool isOpenEnum<Acl::AclDirection> = true;
template <>
inline constexpr EnumName<Acl::AclDirection> enumNames<Acl::AclDirection>[] = {{Acl::AclDirection::in, "in"},
                                                                               {Acl::AclDirection::out, "out"}};
template <>
inline constexpr bool isOpenEnum<Acl::Action> = true;
template <>
inline constexpr EnumName<Acl::Action> enumNames<Acl::Action>[] = {{Acl::Action::permit, "permit"},
                                                                   {Acl::Action::deny, "deny"}};

// The framework's errors of creating an ACL, as far as this platform knows them.
enum class AclCreateError : uint32_t {
  noError = 0,
  notSupported = 13,     // Not expressible on this hardware.
  hardwareFailure = 15,  // No rule register left, or a register write failed.
};

template <>
inline constexpr bool isOpenEnum<AclCreateError> = true;
template <>
inline constexpr EnumName<AclCreateError> enumNames<AclCreateError>[] = {
    {AclCreateError::noError, "noError"},
    {AclCreateError::notSupported, "notSupported"},
    {AclCreateError::hardwareFailure, "hardwareFailure"}};

// The framework's identifier of a configured rule. Text: the number.
class KESTRIX_API UniqueId {
 public:
  constexpr UniqueId() = default;
  constexpr explicit UniqueId(uint64_t number) : number_(number) {}

  static UniqueId fromText(std::string_view text);
  std::string toText() const;

  constexpr uint64_t number() const { return number_; }
  constexpr auto operator<=>(const UniqueId&) const = default;

 private:
  uint64_t number_ = 0;
};

}  // namespace Platform
