// Why the library refuses a rule, an ACL, or an ACL on an interface: all the reasons there are, as one list.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/acl/AclTypes.h"
#include "platform/runtime/Export.h"

namespace Kestrix {

// A reason. `none` says that nothing was refused.
enum class Refusal : uint8_t {
  none,
  // An ACL, and so each of its rules.
  noIngress,
  aclType,
  // An IPv4 rule.
  ipLength,
  portRange,
  ipProtocol,
  ipBothSides,
  // A MAC rule.
  etherType,
  macBothSides,
  protocolAddress,
  // A rule of either type, next to the rules before it.
  sourceInDestinationAcl,
  destinationInSourceAcl,
  noSlot,
  // An ACL on one interface.
  tooManyRules,
  typeConflict,
};

// What goes with a reason.
struct RefusalRow {
  Refusal reason = Refusal::none;  // The row's place in the list.
  std::string_view name;           // As above; it stays the same, for programs.
  std::string_view message;  // As traced; of a type, a protocol or an EtherType with a place for it, in fmt's notation.
  Platform::AclCreateError error = Platform::AclCreateError::notSupported;  // What the framework is told.
};

// A row, whose name is the reason's.
#define KESTRIX_REFUSAL(reason, ...) \
  RefusalRow { Refusal::reason, #reason, __VA_ARGS__ }

// A row for each reason, in the order of the reasons.
inline constexpr std::array kRefusals{
    KESTRIX_REFUSAL(none, "", Platform::AclCreateError::noError),
    KESTRIX_REFUSAL(noIngress, "Profile does not support ingress ACLs"),
    KESTRIX_REFUSAL(aclType, "Unsupported ACL type {}"),
    KESTRIX_REFUSAL(ipLength, "ipLen filter not supported"),
    KESTRIX_REFUSAL(portRange, "port ranges unsupported"),
    KESTRIX_REFUSAL(ipProtocol, "unsupported IP protocol {}"),
    KESTRIX_REFUSAL(ipBothSides, "non-any addresses or ports on both source and destination"),
    KESTRIX_REFUSAL(etherType, "Unsupported EthType: {:x}"),
    KESTRIX_REFUSAL(macBothSides, "non-any addresses on both source and destination"),
    KESTRIX_REFUSAL(protocolAddress, "can't set address or mask on a protocol filter"),
    KESTRIX_REFUSAL(sourceInDestinationAcl, "can't filter on source, already filtering on destination"),
    KESTRIX_REFUSAL(destinationInSourceAcl, "can't filter on destination, already filtering on source"),
    KESTRIX_REFUSAL(noSlot, "no available rule registers", Platform::AclCreateError::hardwareFailure),
    KESTRIX_REFUSAL(tooManyRules, "more rules than the filter has slots", Platform::AclCreateError::hardwareFailure),
    KESTRIX_REFUSAL(typeConflict, "Cannot set registers as other ACL type already existed in filter"),
};
#undef KESTRIX_REFUSAL

// The row of `reason`.
constexpr const RefusalRow& rowOf(Refusal reason) { return kRefusals[static_cast<size_t>(reason)]; }

// Whether each reason has its own row.
constexpr bool eachHasItsRow() {
  for (const RefusalRow& row : kRefusals) {
    if (&rowOf(row.reason) != &row) return false;
  }
  return kRefusals.back().reason == Refusal::typeConflict;
}
static_assert(eachHasItsRow(), "a reason has no row, or another one's");

// A refusal: the reason, and what exactly is refused.
struct KESTRIX_API Refused {
  using TextForm = void;
  Refusal reason = Refusal::none;  // `none` where nothing is refused.
  uint32_t subject = 0;  // The number of the ACL type, protocol or EtherType that the message has a place for.

  // Whether there is a refusal.
  explicit operator bool() const { return reason != Refusal::none; }
  bool operator==(const Refused&) const = default;
  // The message, complete: "unsupported IP protocol 1". Empty when nothing is refused.
  std::string toText() const;
};

}  // namespace Kestrix
