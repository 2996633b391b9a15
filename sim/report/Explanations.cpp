#include "report/Explanations.h"

#include <algorithm>
#include <array>
#include <variant>

namespace Sim {
namespace {

using Kestrix::Refusal;

template <class Why>
struct Advice {
  Why reason;
  Explanation explanation;
};

constexpr Explanation kNoSlot{"no-slot",
                              "The filter has no slot left: merge rules, or drop those that only repeat the "
                              "verdict of the last one."};

// In the order of Kestrix::kRefusals.
constexpr Advice<Refusal> kRefusalAdvice[] = {
    // Refused, and the library does not say why.
    {Refusal::none, {"refused", "The traces tell more: --trace 6."}},
    {Refusal::noIngress, {"no-ingress", "This device has no ingress rule slots: attach the ACL to egress."}},
    {Refusal::aclType, {"acl-type", "The hardware filters by IPv4 and by MAC ACLs only."}},
    {Refusal::ipLength, {"ip-length", "The hardware does not look at the IP length: remove it from the rule."}},
    {Refusal::portRange,
     {"port-range", "A slot matches one port or all of them: write one rule per port, or leave the port out."}},
    {Refusal::ipProtocol,
     {"ip-protocol",
      "The hardware tells TCP (6) and UDP (17) from the rest, and no other protocol: write a rule for "
      "one of them, or for every protocol."}},
    {Refusal::ipBothSides,
     {"both-sides", "A rule matches addresses and ports on one side only: leave the other side any."}},
    {Refusal::etherType,
     {"ethertype",
      "The hardware tells ARP and LLDP from the rest, and no other EtherType: leave it out, or remove the "
      "rule."}},
    {Refusal::macBothSides, {"both-sides", "A rule matches addresses on one side only: leave the other side any."}},
    {Refusal::protocolAddress,
     {"protocol-address", "ARP and LLDP are permitted or denied for the whole filter: leave out the address."}},
    {Refusal::sourceInDestinationAcl,
     {"side-conflict",
      "All rules of an ACL match the same side, and an earlier one has matched the destination: "
      "split the ACL, or write this rule for the destination."}},
    {Refusal::destinationInSourceAcl,
     {"side-conflict",
      "All rules of an ACL match the same side, and an earlier one has matched the source: split the "
      "ACL, or write this rule for the source."}},
    {Refusal::noSlot, kNoSlot},
    {Refusal::tooManyRules, kNoSlot},
    {Refusal::typeConflict,
     {"type-conflict", "A filter holds the rules of an IPv4 ACL or of a MAC ACL: attach one of them elsewhere."}},
};

// In the order of kOwnReasons.
constexpr Advice<OwnReason> kOwnAdvice[] = {
    {OwnReason::notAttached, {"not-attached", "Name the ACL in an ACL set of attachment-points to apply it."}},
    {OwnReason::writeFailed,
     {"write-failed", "The filter may hold a part of the ACL: find out why the bus fails, and apply again."}},
    {OwnReason::dropped, {"dropped", "Apply the configuration again; the traces tell more: --trace 6."}},
};

// Whether each row of `reasons` has its advice, at the same position.
constexpr bool adviseOn(const auto& advice, const auto& reasons) {
  return std::ranges::equal(advice, reasons, [](const auto& a, const auto& b) { return a.reason == b.reason; });
}
static_assert(adviseOn(kRefusalAdvice, Kestrix::kRefusals), "a reason of the library has no advice here");
static_assert(adviseOn(kOwnAdvice, kOwnReasons), "a reason of the simulator has no advice here");

Explanation adviceOn(const Kestrix::Refused& refused) {
  return kRefusalAdvice[static_cast<size_t>(refused.reason)].explanation;
}
Explanation adviceOn(OwnReason reason) { return kOwnAdvice[static_cast<size_t>(reason)].explanation; }

}  // namespace

Explanation explain(const Reason& reason) {
  return std::visit([](const auto& cause) { return adviceOn(cause); }, reason.cause);
}

}  // namespace Sim
