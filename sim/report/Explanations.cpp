#include "report/Explanations.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <utility>
#include <variant>

#include <fmt/format.h>

#include "read/Device.h"

namespace Sim {
namespace {

using Kestrix::Refusal, Kestrix::SrcOrDst;

// --- Fields ----------------------------------------------------------------------------------------------------------

constexpr Matches kNone{};
constexpr Matches kSides{Match::sourceAddress,      Match::sourcePort,      Match::sourcePortRange,
                         Match::destinationAddress, Match::destinationPort, Match::destinationPortRange};
constexpr Matches kPorts{Match::sourcePort, Match::sourcePortRange, Match::destinationPort,
                         Match::destinationPortRange};

constexpr const Matches& fieldsBeside(SrcOrDst side) {
  return fieldsOn(side == SrcOrDst::source ? SrcOrDst::destination : SrcOrDst::source);
}

std::string listOf(const std::vector<ConfiguredField>& fields) {
  std::string list;
  for (const ConfiguredField& each : fields) list += (list.empty() ? "" : ", ") + each.toText();
  return list;
}

// --- Remedies --------------------------------------------------------------------------------------------------------

constexpr std::string_view kOr = "Or leave out";

// A container that only names its protocol may not be empty: what stands for it once its last port is left out.
std::string inPlaceOfContainer(const Situation& rule, const std::vector<ConfiguredField>& left) {
  if (!kPorts.areIn(rule.fields) || kPorts.areIn(left)) return {};
  constexpr std::pair<std::string_view, int> kContainers[] = {{"tcp", 6}, {"udp", 17}};
  for (const auto& [name, number] : kContainers) {
    if (std::ranges::find(left, name, &ConfiguredField::name) == left.end()) continue;
    return fmt::format(R"(, and write "protocol": {} in "ipv4" for "{}", which is then empty)", number, name);
  }
  return {};
}

// To leave out fields, and what this makes of the rule.
std::string leaveOut(const Situation& rule, const Matches& out, std::string_view start = "Leave out") {
  std::vector<ConfiguredField> left = rule.fields;
  std::erase_if(left, [&](const ConfiguredField& each) { return out.contains(each.match); });
  return fmt::format(
      "{} {}{}: {}.", start, listOf(out.in(rule.fields)), inPlaceOfContainer(rule, left),
      left.empty() ? "the rule then matches everything, and none after it is reached" : "this widens the rule");
}

std::string settledBy(const Situation& rule) {
  const Settlement& settled = *rule.settled;
  return fmt::format("ACE \"{}\" settles this one on the {} ({})", settled.ace, Platform::nameOf(settled.side),
                     settled.field.toText());
}

std::string elsewhere(const Situation& acl) {
  return acl.other ? fmt::format("to another interface or to {}", directionName(*acl.other)) : "to another interface";
}

std::string onLength(const Situation& rule) {
  return "The hardware does not look at the IP length. " + leaveOut(rule, {Match::length});
}

uint64_t portsOf(const std::vector<ConfiguredField>& fields) {
  uint64_t ports = 1;
  for (const ConfiguredField& each : kPortRanges.in(fields)) ports *= each.ports;
  return ports;
}

std::string onRange(const Situation& rule) {
  const uint64_t ports = portsOf(rule.fields), rules = rulesForRanges(rule.fields);
  const std::string text = fmt::format(
      "A slot matches one port or all of them. This range has {} ports, and {} of {} slots are free: ", ports,
      rule.freeSlots, rule.slots);
  if (rules > rule.freeSlots) return text + "one rule per port does not fit. " + leaveOut(rule, kPortRanges);
  return fmt::format("{}write {} rule{}, one per port{}. {}", text, rules, rules == 1 ? "" : "s",
                     rules == ports ? "" : " but port 0, which cannot be matched: this narrows the rule",
                     leaveOut(rule, kPortRanges, kOr));
}

std::string onProtocol(const Situation& rule) {
  return "The hardware tells TCP (6) and UDP (17) from the rest, and no other protocol. " +
         leaveOut(rule, {Match::protocol});
}

std::string onEtherType(const Situation& rule) {
  return "The hardware tells ARP and LLDP from the rest, and no other EtherType. " + leaveOut(rule, {Match::etherType});
}

std::string onBothSides(const Situation& rule) {
  constexpr std::string_view kLimit = "A rule matches one side only, the same for all rules of an ACL";
  if (rule.settled) {
    return fmt::format("{}; {}. {}", kLimit, settledBy(rule), leaveOut(rule, fieldsBeside(rule.settled->side)));
  }
  return fmt::format("{}. {} {}", kLimit, leaveOut(rule, kSourceFields), leaveOut(rule, kDestinationFields, kOr));
}

std::string onSideConflict(const Situation& rule) {
  constexpr std::string_view kLimit = "All rules of an ACL match the same side";
  if (!rule.settled) return fmt::format("{}: write this one for that of the rules before it.", kLimit);
  return fmt::format(
      "{}; {}. {} Or put the rule into an ACL of its own, attached {}: a filter takes one ACL of a type.", kLimit,
      settledBy(rule), leaveOut(rule, fieldsBeside(rule.settled->side)), elsewhere(rule));
}

std::string onProtocolAddress(const Situation& rule) {
  const std::string text =
      "ARP and LLDP are permitted or denied for the whole filter, whatever the address. " + leaveOut(rule, kSides);
  // With an address, and without the EtherType, the rule takes a slot, and a side.
  const bool isOnOtherSide = rule.settled && fieldsBeside(rule.settled->side).areIn(rule.fields);
  return rule.freeSlots == 0 || isOnOtherSide ? text : text + " " + leaveOut(rule, {Match::etherType}, kOr);
}

std::string onNoSlot(const Situation& acl) {
  if (acl.slots == 0) return "The filter has no slots: its ACLs can only permit or deny everything.";
  return fmt::format(
      "The filter has {} slots, and the rules of this ACL take {}. Merge rules for adjacent networks, or "
      "leave out those that only repeat the verdict of the last one: any other changes what is permitted.",
      acl.slots, acl.neededSlots);
}

std::string onNoIngress(const Situation&) {
  return "This device has no ingress rule slots. Attach the ACL to egress, where it filters what the interface sends; "
         "its rules are looked at only there.";
}

std::string onAclType(const Situation&) {
  return "The hardware filters by ipv4-acl-type and eth-acl-type only. Remove the ACL and the ACL sets that name it, "
         "or "
         "write what it says of IPv4 and of Ethernet as ACLs of those types, whose rules are then looked at.";
}

std::string onTypeConflict(const Situation& acl) {
  return fmt::format(
      "A filter holds the rules of an IPv4 ACL or of a MAC ACL. Attach one of them {}, or leave the rules "
      "with addresses out of the MAC ACL: those for ARP, LLDP and everything share a filter.",
      elsewhere(acl));
}

std::string onUnreached(const Situation& rule) {
  return fmt::format("ACE \"{}\" before it matches everything, so no packet reaches this rule: remove it.",
                     rule.endedBy);
}

std::string onTheUnknown(const Situation&) { return "The traces tell more: --trace 6."; }

// --- Reasons ---------------------------------------------------------------------------------------------------------

struct Advice {
  Refusal reason;
  Matches about;  // The fields that it is about.
  std::string_view code;
  std::string (*remedy)(const Situation&);
};

// In the order of Kestrix::kRefusals.
constexpr Advice kRefusalAdvice[] = {
    {Refusal::none, kNone, "refused", onTheUnknown},  // Refused, and the library does not say why.
    {Refusal::noIngress, kNone, "no-ingress", onNoIngress},
    {Refusal::aclType, {Match::aclType}, "acl-type", onAclType},
    {Refusal::ipLength, {Match::length}, "ip-length", onLength},
    {Refusal::portRange, kPortRanges, "port-range", onRange},
    {Refusal::ipProtocol, {Match::protocol}, "ip-protocol", onProtocol},
    {Refusal::ipBothSides, kSides, "both-sides", onBothSides},
    {Refusal::etherType, {Match::etherType}, "ethertype", onEtherType},
    {Refusal::macBothSides, kSides, "both-sides", onBothSides},
    {Refusal::protocolAddress,
     {Match::etherType, Match::sourceAddress, Match::destinationAddress},
     "protocol-address",
     onProtocolAddress},
    {Refusal::sourceInDestinationAcl, kSourceFields, "side-conflict", onSideConflict},
    {Refusal::destinationInSourceAcl, kDestinationFields, "side-conflict", onSideConflict},
    {Refusal::noSlot, kNone, "no-slot", onNoSlot},
    {Refusal::tooManyRules, kNone, "no-slot", onNoSlot},
    {Refusal::typeConflict, {Match::otherAcl}, "type-conflict", onTypeConflict},
};

struct OwnAdvice {
  OwnReason reason;
  std::string_view code;
  std::string_view remedy;
};

// In the order of kOwnReasons.
constexpr OwnAdvice kOwnAdvice[] = {
    {OwnReason::notAttached, "not-attached", "Name the ACL in an ACL set of attachment-points to apply it."},
    {OwnReason::writeFailed, "write-failed",
     "The filter may hold a part of the ACL: find out why the bus fails, and apply again."},
    {OwnReason::dropped, "dropped", "Apply the configuration again; the traces tell more: --trace 6."},
};

// Whether each row of `reasons` has its advice, at the same position.
constexpr bool adviseOn(const auto& advice, const auto& reasons) {
  return std::ranges::equal(advice, reasons, [](const auto& a, const auto& b) { return a.reason == b.reason; });
}
static_assert(adviseOn(kRefusalAdvice, Kestrix::kRefusals), "a reason of the library has no advice here");
static_assert(adviseOn(kOwnAdvice, kOwnReasons), "a reason of the simulator has no advice here");

const Advice& adviceOn(Refusal reason) { return kRefusalAdvice[static_cast<size_t>(reason)]; }

Explanation explanationOf(const Reason& reason, const Kestrix::Refused& refused) {
  const auto& [_, about, code, remedy] = adviceOn(refused.reason);
  Explanation explanation{code, reason.text(), about.in(reason.situation.fields),
                          reason.situation.endedBy.empty() ? remedy(reason.situation) : onUnreached(reason.situation)};
  if (!explanation.fields.empty()) explanation.message += fmt::format(" ({})", listOf(explanation.fields));
  return explanation;
}

Explanation explanationOf(const Reason& reason, OwnReason own) {
  const auto& [_, code, remedy] = kOwnAdvice[static_cast<size_t>(own)];
  return {code, reason.text(), {}, std::string(remedy)};
}

}  // namespace

Explanation explain(const Reason& reason) {
  return std::visit([&](const auto& cause) { return explanationOf(reason, cause); }, reason.cause);
}

std::vector<Reason> reasonsAfter(const Reason& reason) {
  std::vector<Reason> reasons;
  for (const Obstacle& next : reason.situation.next) {
    reasons.push_back({reason.culprit, next.refused, reason.situation});
    reasons.back().situation.fields = next.fields;
    reasons.back().situation.next.clear();
  }
  return reasons;
}

std::optional<uint64_t> portsOf(const Reason& reason) {
  const auto* refused = std::get_if<Kestrix::Refused>(&reason.cause);
  if (refused == nullptr || refused->reason != Refusal::portRange) return {};
  return portsOf(reason.situation.fields);
}

}  // namespace Sim
