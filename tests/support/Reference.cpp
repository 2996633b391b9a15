#include "support/Reference.h"

#include <algorithm>
#include <utility>

namespace Kestrix::Test {
namespace {

using E = Event;
constexpr const char *kUnknownAcl = "ACL config should always exist", *kIpRule = "createIpAclSubrule",
                     *kMacRule = "createMacAclRule";
constexpr EventRow kEvents[] = {
    {E::attached, "attached", 0, kApplying},
    {E::precreated, "precreated", kActive | kErrored, kApplying},
    {E::precreatedButHeld, "precreated, but the filter is another's", kActive | kErrored, 0},
    {E::ruleRefused, "a rule is refused", kApplying, kErrored},
    {E::hasTooManyRules, "the filter has not enough slots", kApplying, kErrored},
    {E::conflictsInType, "the filter has rules of the other type", kApplying, kErrored},
    {E::written, "written", kApplying, kActive},  // An older error stays.
    {E::writeFailed, "a write fails", kApplying, kErrored},
    {E::handedOver, "handed over", kActive | kApplying, 0},
    {E::detached, "detached", 0, kDeleting},
    {E::nothingToClear, "nothing to clear", kApplying | kDeleting, 0},
    {E::filterLost, "nothing to clear, as the filter is lost", kApplying | kDeleting, 0},
    {E::filterOfAnother, "the filter to clear is another's", kAnyState, 0},
    {E::cleared, "cleared", kAnyState, 0},
    {E::clearFailed, "clearing fails", kApplying | kDeleting, kErrored},
    {E::errorsDiffer, "the errors of a pass differ"},
    {E::alreadyActive, "attached where it is active"},
    {E::nameIsShared, "precreated where an ACL of the same name has the filter"},
    {E::ruleDropped, "a rule after the verdict"},
    {E::noSlotLeft, "no slot is left"},
    {E::gapFilled, "a rule fills the gap that a deletion has left"},
    {E::joinsRules, "verdicts join the rules of the other type"},
    {E::leavesTheOther, "cleared beside an ACL of the other type"},
    {E::delayFailed, "a write of the drop delay fails"},
    {E::delayMakesFilter, "the drop delay makes a filter"},
    {E::errorReportedLate, "a failed access to block is reported with a filter"},
    {E::fragmentsOfUnknown, "fragments of an unknown ACL", 0, 0, "createIpFragRule", kUnknownAcl},
    {E::detachOfUnknown, "an unknown ACL is detached", 0, 0, "removeIntfFromAcl", kUnknownAcl},
    {E::ipRuleOfUnknown, "an IPv4 rule of an unknown ACL", 0, 0, kIpRule, kUnknownAcl},
    {E::macRuleOfUnknown, "a MAC rule of an unknown ACL", 0, 0, kMacRule, kUnknownAcl},
    {E::finalOfUnknown, "the end of an unknown ACL", 0, 0, "createFinalAclRule", kUnknownAcl},
    {E::destroyOfUnknown, "an unknown ACL is destroyed", 0, 0, "destroyAcl",
     "The shadow ACL has disappeared before cleanupAcl"},
    {E::precreateOfUnknown, "an unknown ACL is precreated", 0, 0, "precreateAcl",
     "ACL not attached to any interfaces, but there are active interfaces"},
    {E::cleanUpOfUnknown, "an unknown ACL is cleaned up", 0, 0, "cleanupAcl",
     "The shadow ACL to be cleaned no longer exists"},
    {E::ipRuleOfMac, "an IPv4 rule of a MAC ACL", 0, 0, kIpRule, "In createIpAclSubrule, the ACL should be an IP ACL"},
    {E::macRuleOfIp, "a MAC rule of an IPv4 ACL", 0, 0, kMacRule,
     "In create MacAclRule, the shadow ACL should always be a MAC ACL"},
    {E::finalWithoutPrecreate, "the end of an ACL that was never precreated", 0, 0, "createFinalAclRule",
     "The shadow ACL should always exist"},
    {E::writeWithoutFilter, "no filter to write", 0, 0, "writeAclToIntfs", "The shadow filter should always exist"},
    {E::clearWithoutFilter, "no filter to clear", 0, 0, "clearAclFromIntfs",
     "Interface with no shadow filter must be ACL errored"},
};
static_assert(std::size(kEvents) == kEventCount);
static_assert(std::ranges::is_sorted(kEvents, std::ranges::less_equal(), &EventRow::event));

// Of the interfaces, by output and input.
constexpr const char* kFilterNames[2][kIntfs] = {
    {"msp_return[0]/filter[3]", "msp_return[0]/filter[4]", "msp_return[1]/filter[5]"},
    {"msp_send[0]/i_filter[3]", "msp_send[0]/i_filter[4]", "msp_send[1]/i_filter[5]"}};
constexpr const char* kPortNames[kIntfs] = {"msp_send[0]/rx[3]", "msp_send[0]/rx[4]", "msp_send[1]/rx[5]"};

std::string textOf(const std::shared_ptr<Content>& content) {
  if (!content) return "-";
  std::string text = fmt::format("[{} {}", content->key, content->isIp ? "ipv4" : "mac");
  if (content->l4) text += " l4";
  for (const auto& [key, rule] : content->rules) text += fmt::format(" {}={}", key, rule);
  return text + fmt::format(" side={} any={} arp={} lldp={}]", textOr(content->side), textOr(content->permitAny),
                            textOr(content->permitArp), textOr(content->permitLldp));
}
std::string textOfStates(uint8_t states) {
  std::string text;
  if ((states & kApplying) != 0) text += " applying";
  if ((states & kActive) != 0) text += " active";
  if ((states & kDeleting) != 0) text += " deleting";
  if ((states & kErrored) != 0) text += " in error";
  return text;
}

}  // namespace

const EventRow& rowOf(Event event) { return kEvents[size_t(event)]; }

std::string textOf(const Everything& everything) {
  std::string text;
  for (size_t a = 0; a < kAcls; ++a) {
    const AclState& acl = everything.acls[a];
    if (!acl.exists) continue;
    text += fmt::format("\n{} final={} {}", kKeys[a], acl.isFinal, textOf(acl.content));
    for (size_t i = 0; i < kIntfs; ++i) {
      text += fmt::format(" e{}:{}", i + 1, textOfStates(acl.states[i]));
      if ((acl.states[i] & kErrored) != 0) {
        text += fmt::format(" {} by refusal {}", int(acl.errors[i].first), int(acl.errors[i].second));
      }
    }
  }
  for (const bool in : {false, true}) {
    for (size_t i = 0; i < kIntfs; ++i) {
      const FilterState& filter = everything.filters[in][i];
      text += fmt::format("\n{}: ", kFilterNames[in][i]);
      text += !filter.exists ? "none" : filter.isIp ? "ipv4" : "mac";
      text += fmt::format(" delay={} any={} side={}", filter.delay, filter.permitAny, textOr(filter.side));
      for (const auto& [key, rule] : filter.rules) text += fmt::format(" {}={}", key, rule);
      text += " of " + textOf(filter.ip) + textOf(filter.mac);
    }
  }
  if (everything.flag) text += "\nan access has failed";
  return text;
}

std::string textOf(const Transcript& transcript) {
  std::string text;
  for (const auto& [what, times, at] : transcript.lines) {
    text += "\n  " + what;
    if (times != 1) text += fmt::format(" {} times", times);
    text += fmt::format(", delays {}", fmt::join(at.delays, " "));
    for (size_t a = 0; a < kAcls; ++a) {
      for (size_t i = 0; i < kIntfs; ++i) {
        const std::string states = textOfStates(at.states[a][i]);
        if (!states.empty()) text += fmt::format(", {} on e{}:{}", kKeys[a], i + 1, states);
      }
    }
  }
  return text;
}

// --- What all calls share ---

void Reference::happens(Event event, size_t acl, size_t intf, AclCreateError error, Refusal reason) {
  happens(event);
  uint8_t& states = acls[acl].states[intf];
  states = uint8_t((states & ~rowOf(event).leaves) | rowOf(event).enters);
  if ((rowOf(event).enters & kErrored) != 0) acls[acl].errors[intf] = {error, reason};
}

void Reference::breaks(Event event) {
  happens(event);
  shows(fmt::format("0 {}: {}", rowOf(event).operation, rowOf(event).message));
  throw Inconsistent{event};
}

AclState& Reference::known(size_t acl, Event otherwise) {
  if (!acls[acl].exists) breaks(otherwise);
  return acls[acl];
}

void Reference::shows(const std::string& what) {
  transcript.add(what, [this] {
    Moment now{.delays = delays};
    for (size_t a = 0; a < kAcls; ++a) now.states[a] = acls[a].states;
    return now;
  });
}

void Reference::raise(AclCreateError error) {
  shows("publish Kestrix true");
  shows(fmt::format("unitError Kestrix {}", int(error)));
}

AclCreateError Reference::tellStatus(size_t acl, AclCreateError result) {
  shows(fmt::format("status {} {}", kKeys[acl], int(result)));
  return result;
}

// Whether a number of accesses to what belongs to an interface succeed.
bool Reference::accessed(const char* what, size_t intf, size_t count) {
  for (size_t k = 0; k < count; ++k) shows(what);
  const auto firstFailure = failAt.lower_bound(accesses);
  accesses += count;
  const bool isHit = firstFailure != failAt.end() && *firstFailure < accesses;
  return !isHit && failingIntf != intf;
}

// Whether a write of a filter is reported as done: an earlier failed access that nobody has reported counts, too.
bool Reference::reported(bool isDone) {
  if (flag && isDone) happens(E::errorReportedLate);
  return !std::exchange(flag, false) && isDone;
}

// Whether the write of the whole filter is reported as done.
bool Reference::written(size_t acl, size_t intf) {
  const bool in = isIn(acl);
  const bool isDone = reported(accessed(kFilterNames[in][intf], intf, 4 + 4 * size_t{slots.of(acl)}));
  filters[in][intf].isExact = filters[in][intf].isEnableExact = isDone;
  return isDone;
}

bool Reference::isMended() const {
  bool isExact = !flag;
  for (const auto& ofDirection : filters) {
    for (const FilterState& filter : ofDirection) isExact = isExact && filter.isExact && filter.isEnableExact;
  }
  return isExact;
}

// --- Rules ---

AclCreateError Reference::precreate(size_t acl) {
  if (!isSupported(acl)) return kNotSupported;
  AclState& mine = known(acl, E::precreateOfUnknown);
  mine.isFinal = false;
  mine.content = std::make_shared<Content>(Content{.key = kKeys[acl], .isIp = isIp(acl)});
  for (size_t i = 0; i < kIntfs; ++i) {
    if (!has(acl, i, kActive | kErrored)) continue;
    const FilterState& filter = filters[isIn(acl)][i];
    const auto& holder = isIp(acl) ? filter.ip : filter.mac;
    const bool isOfThisName = !holder || holder->key.name == kKeys[acl].name;
    if (holder && isOfThisName && holder->key != kKeys[acl]) happens(E::nameIsShared);
    happens(isOfThisName ? E::precreated : E::precreatedButHeld, acl, i);
  }
  return kNoError;
}

AclCreateError Reference::refuseRule(size_t acl, AclCreateError error) {
  for (size_t i = 0; i < kIntfs; ++i) {
    if (has(acl, i, kApplying)) happens(E::ruleRefused, acl, i, error);
  }
  shows("dirty true");
  raise(error);
  return error;
}

// A filter shows what its ACLs are now, its registers what they were.
void Reference::changes(const std::shared_ptr<Content>& content) {
  for (auto& ofDirection : filters) {
    for (FilterState& filter : ofDirection) {
      if (filter.ip == content || filter.mac == content) filter.isExact = filter.isEnableExact = false;
    }
  }
}

// The first rule is number 0. Later ones get the first number from 1 on that is free.
uint8_t Reference::nextSlot(const Content& content) {
  if (content.rules.empty()) return 0;
  uint8_t slot = 1;
  while (content.rules.contains(slot)) ++slot;
  return slot;
}

AclRule Reference::ruleOf(uint8_t slot, bool isIpRule, const Shape& shape, bool isPermit) const {
  const auto numbered = [this](const char* text) { return fmt::format(fmt::runtime(text), mark); };
  RuleFields rule{.key = slot, .action = isPermit ? kPermit : kDeny};
  const std::string stored = numbered(isIpRule ? shape.ip.stored : shape.mac.stored);
  if (!isIpRule) {
    rule.mac = stored.c_str();
    return aRule(rule);
  }
  rule.ip = stored.c_str();
  rule.port = shape.ip.hasPort ? mark : uint16_t{0};
  rule.tcp = shape.ip.proto != 17;
  rule.udp = shape.ip.proto != 6;
  return aRule(rule);
}

AclCreateError Reference::addRule(size_t acl, bool isIpRule, const Shape& shape, bool isPermit) {
  const auto& [exists, isFinal, content, states, errors] =
      known(acl, isIpRule ? E::ipRuleOfUnknown : E::macRuleOfUnknown);
  if (!isSupported(acl)) return refuseRule(acl, kNotSupported);
  if (!content || content->isIp != isIpRule) breaks(isIpRule ? E::ipRuleOfMac : E::macRuleOfIp);
  const bool isRefused = isIpRule ? shape.ip.proto == 1 : shape.mac.ethType == 1;
  const bool isStored = (isIpRule ? shape.ip.stored : shape.mac.stored) != nullptr;
  if (isRefused) return refuseRule(acl, kNotSupported);
  const bool isWrongSide = isStored && shape.side && content->side && shape.side != content->side;
  if (isWrongSide && (isIpRule || !content->permitAny)) return refuseRule(acl, kNotSupported);
  if (content->permitAny) {
    happens(E::ruleDropped);
    return kNoError;
  }
  const uint8_t slot = nextSlot(*content);
  if (isStored && slot >= slots.of(acl)) {
    happens(E::noSlotLeft);
    return refuseRule(acl, kHardwareFailure);
  }
  changes(content);
  if (!isStored) {
    auto& verdict = isIpRule                      ? content->permitAny
                    : shape.mac.ethType == 0x0806 ? content->permitArp
                    : shape.mac.ethType == 0x88CC ? content->permitLldp
                                                  : content->permitAny;
    if (!verdict) verdict = isPermit;  // The first rule decides.
    return kNoError;
  }
  if (content->rules.size() > slot) happens(E::gapFilled);
  const AclRule rule = ruleOf(slot, isIpRule, shape, isPermit);
  content->rules.insert_or_assign(slot, rule);
  if (shape.side) content->side = shape.side;
  if (rule.port() != 0) content->l4 = true;
  return kNoError;
}

AclCreateError Reference::addFragments(size_t acl, bool isPermit) {
  if (isPermit || isSupported(acl)) return kNoError;
  known(acl, E::fragmentsOfUnknown);
  return refuseRule(acl, kNotSupported);
}

AclCreateError Reference::overfill(size_t acl) {
  if (!acls[acl].content) return kNoError;
  for (uint8_t key = 0; key <= slots.of(acl); ++key) acls[acl].content->rules.insert_or_assign(key, AclRule(key));
  return kNoError;
}

AclCreateError Reference::deleteRule(size_t acl, uint8_t slot) {
  if (acls[acl].content) acls[acl].content->rules.erase(slot);
  return kNoError;
}

// --- Onto interfaces ---

AclCreateError Reference::attach(size_t acl, size_t intf, const Order& order) {
  acls[acl].exists = true;
  if (has(acl, intf, kActive)) {
    happens(E::alreadyActive);
    return kNoError;
  }
  happens(E::attached, acl, intf);
  write(acl, order);
  return kNoError;
}

AclCreateError Reference::finish(size_t acl, const Order& order) {
  if (!isSupported(acl)) return kNoError;
  if (!known(acl, E::finalOfUnknown).content) breaks(E::finalWithoutPrecreate);
  acls[acl].isFinal = true;
  return write(acl, order);
}

AclCreateError Reference::write(size_t acl, const Order& order) {
  if (!acls[acl].isFinal) return kNoError;
  AclCreateError result = kNoError;
  for (const size_t intf : order) {
    const AclCreateError error = writeOne(acl, intf);
    if (error == kNoError) continue;
    if (result != kNoError && result != error) happens(E::errorsDiffer);
    result = error;
  }
  return tellStatus(acl, result);
}

AclCreateError Reference::writeOne(size_t acl, size_t intf) {
  const Content& content = *acls[acl].content;
  FilterState& filter = filters[isIn(acl)][intf];
  const FilterState old = filter;
  if (!old.exists) breaks(E::writeWithoutFilter);
  const bool hasRules = !content.rules.empty();
  if (content.rules.size() > slots.of(acl)) {
    happens(E::hasTooManyRules, acl, intf, kHardwareFailure, Refusal::tooManyRules);
    raise(kHardwareFailure);
    return kHardwareFailure;
  }
  if (old.isIp != content.isIp && (old.isIp ? hasRules : !old.rules.empty())) {
    happens(E::conflictsInType, acl, intf, kNotSupported, Refusal::typeConflict);
    raise(kNotSupported);
    return kNotSupported;
  }
  if (old.isIp == content.isIp || hasRules) {
    filter.isIp = content.isIp;
    filter.rules = content.rules;
    filter.side = content.side;
  } else {
    if (!old.rules.empty()) happens(E::joinsRules);
    filter.isIp = !old.rules.empty() || content.isIp;
  }
  if (!old.isIp || content.isIp) filter.permitAny = content.permitAny.value_or(false);
  (content.isIp ? filter.ip : filter.mac) = acls[acl].content;
  const bool isDone = written(acl, intf);
  happens(isDone ? E::written : E::writeFailed, acl, intf, kHardwareFailure);
  return isDone ? kNoError : kHardwareFailure;
}

// --- Off interfaces ---

AclCreateError Reference::detach(size_t acl, size_t intf, const Order& order) {
  if (isDestroying) return kNoError;
  known(acl, E::detachOfUnknown);
  happens(E::detached, acl, intf);
  clear(acl, order);
  return kNoError;
}

AclCreateError Reference::handOver(size_t acl, size_t intf) {
  if (isDestroying) return kNoError;
  known(acl, E::detachOfUnknown);
  happens(E::handedOver, acl, intf);
  return kNoError;
}

AclCreateError Reference::destroy(size_t acl) {
  if (isSupported(acl)) known(acl, E::destroyOfUnknown);
  return kNoError;
}

AclCreateError Reference::cleanUp(size_t acl, const Order& order) {
  if (isDestroying || !known(acl, E::cleanUpOfUnknown).isFinal) return kNoError;
  for (const size_t intf : order) happens(E::detached, acl, intf);
  clear(acl, order);
  acls[acl] = {};
  return kNoError;
}

AclCreateError Reference::clear(size_t acl, const Order& order) {
  AclCreateError result = kNoError;
  for (const size_t intf : order) {
    const AclCreateError error = clearOne(acl, intf);
    if (error != kNoError) result = error;
  }
  return tellStatus(acl, result);
}

AclCreateError Reference::clearOne(size_t acl, size_t intf) {
  FilterState& filter = filters[isIn(acl)][intf];
  const FilterState old = filter;
  // An ACL that was never pre-created counts as one for IPv4.
  const bool isIpAcl = !acls[acl].content || acls[acl].content->isIp;
  const auto &holder = isIpAcl ? old.ip : old.mac, &other = isIpAcl ? old.mac : old.ip;
  if (!has(acl, intf, kActive | kErrored)) {
    happens(E::nothingToClear, acl, intf);
    return kNoError;
  }
  if (!old.exists) {
    if (!has(acl, intf, kErrored)) breaks(E::clearWithoutFilter);
    happens(E::filterLost, acl, intf);
    return kNoError;
  }
  if (holder && holder->key != kKeys[acl]) {
    happens(E::filterOfAnother, acl, intf);
    return kNoError;
  }
  filter = {.isIp = !isIpAcl && old.isIp, .delay = old.delay};
  if (other) {
    happens(E::leavesTheOther);
    (isIpAcl ? filter.mac : filter.ip) = other;
    filter.permitAny = other->permitAny.value_or(false);
    filter.rules = other->rules;
    if (!isIpAcl) {
      filter.side = old.side;
    } else if (!other->rules.empty()) {
      filter.side = other->side;
    }
  }
  const bool isDone = written(acl, intf);
  happens(isDone ? E::cleared : E::clearFailed, acl, intf, kHardwareFailure);
  return isDone ? kNoError : kHardwareFailure;
}

// --- The agent ---

void Reference::delayOne(size_t intf, bool in, bool on) {
  FilterState& filter = filters[in][intf];
  if (!filter.exists) {
    happens(E::delayMakesFilter);
    filter = {.isExact = false};
  }
  filter.delay = on;
  filter.isEnableExact = reported(accessed(kFilterNames[in][intf], intf, 1));
  if (filter.isEnableExact) return;
  happens(E::delayFailed);
  shows(
      fmt::format("0 AclHelperInstanceConfigSm::handleAclDropDelay: Failed to write registers for already set {}filter",
                  in ? "input " : ""));
}

AclCreateError Reference::delay(bool on, const Order& order) {
  for (const size_t intf : order) {
    delayOne(intf, false, on);
    if (isIngressSupported) delayOne(intf, true, on);
    if (intf != 2) delays[intf] = on;  // The third one has no status.
  }
  delays[kIntfs] = on;
  return kNoError;
}

AclCreateError Reference::block(size_t intf, bool on) {
  if (!accessed(kPortNames[intf], intf, 2)) flag = true;
  shows(fmt::format("blocked e{} {}", intf + 1, on));
  return kNoError;
}

}  // namespace Kestrix::Test
