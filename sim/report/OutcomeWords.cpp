#include "report/OutcomeWords.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include <fmt/format.h>

#include "report/Explanations.h"

namespace Sim {
namespace {

std::string verdictWords(const AceOutcome& ace, const AclOutcome& acl, const StepReport& step) {
  constexpr std::string_view kWhat[] = {"", "everything that no slot matches", "ARP", "LLDP"};
  std::string words =
      fmt::format("no slot: {} {}", ace.permits ? "permits" : "denies", kWhat[static_cast<size_t>(ace.verdict)]);
  const auto overruled = overruledOn(ace, acl, step);
  if (overruled.empty()) return words;
  std::string intfs;
  for (const Platform::IntfId intf : overruled) intfs += (intfs.empty() ? "" : ", ") + intf.toText();
  return fmt::format("{}; not on {}, where the other ACL of the filter decides it", words, intfs);
}

// What takes all packets from an ACE.
std::string coverWords(const IdleAce& idle) {
  if (idle.coveredBy.empty()) return "no packet is like that";
  std::string covers;
  for (const Ace* each : idle.coveredBy) covers += fmt::format("{}\"{}\"", covers.empty() ? "" : ", ", each->name);
  return idle.coveredBy.size() == 1 ? fmt::format("ACE {} covers all that it matches", covers)
                                    : fmt::format("ACEs {} together cover all that it matches", covers);
}

// What of an ACL is overruled on some interface.
std::string overruledWords(const AclOutcome& acl) {
  return fmt::format("its {} of what no slot matches is overruled", permitsUnmatched(acl) ? "permit" : "deny");
}

// In what an ACL that is in force on an interface is not as configured.
std::string oddWords(const IntfOutcome& intf, const AclOutcome& acl, const StepReport& step) {
  if (isOverruled(intf, acl, step)) return overruledWords(acl);
  if (!differs(intf, acl, step)) return {};
  const auto& differences = differencesOf(intf, acl, step);
  const auto permits = [](const Difference& each) { return each.programmed.permits; };
  if (std::ranges::none_of(differences, permits)) return "lets through less";
  return std::ranges::all_of(differences, permits) ? "lets through more" : "lets through more, and less";
}

// Others can come and go so that an ACE has its number still.
std::string moveWords(const AceChange& change) {
  const size_t before = change.before.value_or(0);
  const size_t after = change.after.value_or(0);
  return before == after ? fmt::format(" moved past others, still number {}", after)
                         : fmt::format(" moved from number {} to {}", before, after);
}

}  // namespace

std::string aceWords(const AceOutcome& ace, const AclOutcome& acl, const StepReport& step, const FilterDump* holder) {
  const std::string_view notApplied =
      step.isApplied() ? "fits, but the ACL is not applied" : "fits, but the ACL would not be applied";
  const IdleAce* const idle = idleAce(ace, acl, step);
  const std::string idleWords = idle == nullptr ? "" : "; decides no packet: " + coverWords(*idle);
  switch (ace.state) {
    case AceState::programmed:
      return (holder != nullptr ? fmt::format("slot {}: {}", *ace.slot, holder->slotWords(holder->slots.at(*ace.slot)))
                                : std::string(notApplied)) +
             idleWords;
    case AceState::verdict:
      return (holder != nullptr ? verdictWords(ace, acl, step) : std::string(notApplied)) + idleWords;
    case AceState::notReached:
      return "never reached: " + (idle == nullptr ? "an earlier rule decides all that it matches" : coverWords(*idle));
    case AceState::notEnforced:
      return "accepted, not enforced: the hardware does not tell fragments apart";
    case AceState::refused:
      return "refused: " + explain(ace.reason).message;
    case AceState::inError:
      return "in error: holds no slot here";
  }
  return {};
}

std::string aclWords(const AclOutcome& acl, const StepReport& step) {
  const std::string start = step.isApplied() ? "" : acl.isAttached ? "would be " : "would, if it were attached, be ";
  const std::string end = acl.hasErrors ? "; its slots may change once its errors are mended" : "";
  switch (acl.state) {
    case AclState::applied:
      return start + (differs(acl, step) ? "differs" : "applied") + end;
    case AclState::notAttached:
      return "not attached to any interface, nothing to program" + end;
    case AclState::refused:
      return start + (acl.aces.empty() ? "refused: " + explain(acl.reason).message : "refused") +
             (acl.keepsPrevious ? "; its previous version stays in force" : ", nothing of it is programmed") + end;
    case AclState::failed:
      return fmt::format("{}failed: {}: {}{}", step.isApplied() ? "" : "would have ", acl.reason.culprit,
                         explain(acl.reason).message, end);
  }
  return {};
}

StateWords stateWords(const IntfOutcome& intf, const AclOutcome& acl, const StepReport& step) {
  const bool isActive = intf.state == IntfState::active;
  const bool isOther = differs(intf, acl, step);
  const std::string odd = isActive ? oddWords(intf, acl, step) : std::string();
  return {isOther ? std::string("differs")
                  : fmt::format("{}{}", step.isApplied() ? "" : "would be ", Platform::nameOf(intf.state)),
          isActive ? odd : intf.reason.words(),
          !isActive || isOther ? Style::bad
          : odd.empty()        ? Style::good
                               : Style::odd};
}

std::string standInWords(const StepReport& step, const Device& device) {
  const auto isStandIn = [&](const IntfOutcome& each) { return device.find(each.intf.toText()) == nullptr; };
  const auto& intfs = step.outcome.intfs;
  const auto first = std::ranges::find_if(intfs, isStandIn);
  if (step.isApplied() || first == intfs.end()) return {};
  return fmt::format("{} {} for an interface that no ACL set names, or not without an error", first->intf,
                     std::ranges::count_if(intfs, isStandIn) == 1 ? "stands" : "and the like stand");
}

std::string wastedWords(size_t slots) {
  return slots == 1 ? "1 slot is wasted: its ACE decides no packet"
                    : fmt::format("{} slots are wasted: their ACEs decide no packet", slots);
}

Style styleOf(const AclOutcome& acl, const StepReport& step) {
  switch (acl.state) {
    case AclState::applied:
      return differs(acl, step) ? Style::bad : Style::good;
    case AclState::notAttached:
      return Style::odd;
    case AclState::refused:
    case AclState::failed:
      return Style::bad;
  }
  return Style::plain;
}

Style styleOf(AceState state) {
  switch (state) {
    case AceState::programmed:
    case AceState::verdict:
      return Style::plain;
    case AceState::notReached:
    case AceState::notEnforced:
      return Style::odd;
    case AceState::refused:
    case AceState::inError:
      return Style::bad;
  }
  return Style::plain;
}

// What the state of an ACL leaves out: where it is applied, but not as a whole.
std::string exceptionWords(const AclOutcome& acl, const StepReport& step) {
  std::string intfs;
  for (const IntfOutcome& intf : step.outcome.intfsOf(acl)) {
    if (isOverruled(intf, acl, step)) intfs += (intfs.empty() ? "" : ", ") + intf.intf.toText();
  }
  if (acl.state != AclState::applied || intfs.empty()) return {};
  return fmt::format("{}{} on {}", differs(acl, step) ? ": " : ", but ", overruledWords(acl), intfs);
}

bool isAboutWholeAcl(const AclOutcome& acl) {
  return acl.state != AclState::applied && (acl.aces.empty() || acl.state == AclState::failed);
}

std::string changeWords(const Change& change) {
  const std::string direction = change.direction ? fmt::format(" ({})", directionName(*change.direction)) : "";
  if (change.acl.empty()) return fmt::format("{}{} {}", change.intf, direction, change.kind);
  if (change.intf.empty()) return fmt::format("ACL {}{} {}", change.acl, direction, change.kind);
  switch (change.kind) {
    case ChangeKind::attached:
      return fmt::format("ACL {}{} attached to {}", change.acl, direction, change.intf);
    case ChangeKind::moved:
      return fmt::format("{} moved from ACL {} to {}{}", change.intf, change.acl, change.to, direction);
    case ChangeKind::retried:
      return fmt::format("ACL {}{} tried again on {}", change.acl, direction, change.intf);
    default:
      return fmt::format("ACL {}{} {} from {}", change.acl, direction, change.kind, change.intf);
  }
}

std::string aceChangeWords(const AceChange& change) {
  const std::string ace = fmt::format("ACE \"{}\"", change.name);
  switch (change.kind) {
    case AceChangeKind::added:
      return fmt::format("{} added as number {}", ace, change.after.value_or(0));
    case AceChangeKind::removed:
      return fmt::format("{} removed, was number {}", ace, change.before.value_or(0));
    case AceChangeKind::changed:
      return ace + " changed";
    case AceChangeKind::moved:
      return ace + moveWords(change);
    case AceChangeKind::movedAndChanged:
      return ace + moveWords(change) + ", and changed";
  }
  return {};
}

}  // namespace Sim
