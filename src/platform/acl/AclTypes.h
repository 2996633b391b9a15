// The framework's vocabulary of ACLs: kinds, directions, actions, rule configurations, error codes.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/network/EthAddr.h"
#include "platform/network/IpAddr.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/Text.h"

// The framework's kinds of ACLs and rules.
namespace Acl {

// What the rules of an ACL match. Other values occur: types that the framework has and a helper does not know.
enum class AclType : uint8_t { ipv4 = 0, ipv6 = 1, mac = 2 };

// The packets that an ACL filters: those that its interface receives, or sends. Every value but `in` counts as out.
enum class AclDirection : uint8_t { in = 0, out = 1 };

// The verdict of a rule. Every value but `permit` denies.
enum class Action : uint8_t { permit = 0, deny = 1 };

// What an IPv4 rule matches. Mask bits that are set are compared.
struct IpFilter {
  Platform::IpProto proto;  // 0 is any.
  // The addresses of the packet; 0.0.0.0 is any, whatever the mask.
  Platform::IpAddrWithFullMask srcIp;
  Platform::IpAddrWithFullMask dstIp;

  bool operator==(const IpFilter&) const = default;
};

// One configured IPv4 rule, as each of its subrules carries it.
struct RuleConfig {
  Action action = Action::deny;  // What happens to the packets that match.
  IpFilter filter;               // Which packets these are, apart from their ports.

  bool operator==(const RuleConfig&) const = default;
};

// One configured IPv4 rule that matches fragments.
struct IpRuleConfig {
  Action action = Action::deny;  // What happens to the fragments that match.
  IpFilter filter;               // Which fragments these are.

  bool operator==(const IpRuleConfig&) const = default;
};

// What a MAC rule matches. Mask bits that are set are compared; ethType 0 and 0xFFFFFFFF match every EtherType.
struct KESTRIX_API MacFilter {
  using TextForm = void;
  uint32_t ethType = 0;  // In host order.
  // The addresses of the frame; all zero is any, whatever the mask.
  Platform::EthAddr srcAddr;
  Platform::EthAddr srcMask;
  Platform::EthAddr dstAddr;
  Platform::EthAddr dstMask;

  bool operator==(const MacFilter&) const = default;
  // For traces: "ethType 0x0800 src 00:11:22:33:44:55/ff:ff:ff:ff:ff:ff dst ...". Cannot be read back.
  std::string toText() const;
};

// One configured MAC rule.
struct MacRuleConfig {
  Action action = Action::deny;  // What happens to the frames that match.
  MacFilter filter;              // Which frames these are.

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

// The framework's errors when it creates an ACL, as far as this platform uses them.
enum class AclCreateError : uint32_t {
  noError = 0,           // Created.
  notSupported = 13,     // Not expressible on this hardware.
  hardwareFailure = 15,  // No slot left, or a register write failed.
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
  using TextForm = void;
  // 0, or the number given.
  constexpr UniqueId() = default;
  constexpr explicit UniqueId(uint64_t number) : number_(number) {}

  // Reads a decimal number. Raises RangeError for any other text.
  static UniqueId fromText(std::string_view text);
  // The number in decimal.
  std::string toText() const;

  // As the framework gave it.
  constexpr uint64_t number() const { return number_; }
  constexpr auto operator<=>(const UniqueId&) const = default;

 private:
  uint64_t number_ = 0;
};

}  // namespace Platform
