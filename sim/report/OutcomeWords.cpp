#include "report/OutcomeWords.h"

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
