// The reference machine: what each call of the framework, the agent or a stranger must do, known independently of the
// library.
#pragma once

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/Rig.h"

namespace Kestrix::Test {

inline constexpr uint8_t kAcls = 7, kIntfs = 3;

// ACLs of one type that meet, and of the other; in the other direction; of a type that is not supported; and one whose
// key differs from another's, but not in the name.
inline const AclKey kKeys[kAcls] = {{"a", kIpv4, kOut}, {"m", kMac, kOut},  {"b", kIpv4, kOut},   {"n", kMac, kOut},
                                    {"a", kIpv4, kIn},  {"s", kIpv6, kOut}, {"a", kIpv4, kOut, 1}};
inline bool isIn(size_t acl) { return kKeys[acl].direction == kIn; }
inline bool isIp(size_t acl) { return kKeys[acl].type == kIpv4; }

// A filter's, in each direction.
struct Slots {
  uint8_t in = 3, out = 2;
  uint8_t of(size_t acl) const { return isIn(acl) ? in : out; }
};

// --- The rules that the framework asks for ---

// A rule as given, with its mask, and as stored, with its wildcard, both with a place for the rule's number. Not
// stored: a verdict, or refused.
struct Shape {
  struct Ip {
    const char *given = "0.0.0.0/0.0.0.0", *stored = nullptr;
    uint8_t proto = 0;
    bool hasPort = false;
  };
  struct Mac {
    uint32_t ethType = 0;
    const char *given = kAnyMac, *stored = nullptr;
  };
  const char* name;
  std::optional<SrcOrDst> side = {};  // Of what is stored.
  Ip ip = {};
  Mac mac = {};
};
// clang-format off
inline constexpr Shape kShapes[] = {
    {"source", SrcOrDst::source, {"10.0.0.{}/255.255.255.255", "10.0.0.{}/0.0.0.0", 0, true},
     {0, "02:00:00:00:00:{:02x}/ff:ff:ff:ff:ff:ff", "02:00:00:00:00:{:02x}/00:00:00:00:00:00"}},
    {"destination", SrcOrDst::destination, {"10.0.0.{}/255.255.255.255", "10.0.0.{}/0.0.0.0", 0, true},
     {0, "02:00:00:00:00:{:02x}/ff:ff:ff:ff:ff:ff", "02:00:00:00:00:{:02x}/00:00:00:00:00:00"}},
    {"", {}, {"0.0.0.0/0.0.0.0", "0.0.0.0/255.255.255.255", 6}, {0x0806}},
    {"UDP or LLDP", {}, {"0.0.0.0/255.0.0.0", "0.0.0.0/255.255.255.255", 17}, {0x88CC}},
    {"source network", SrcOrDst::source, {"10.{}.0.0/255.255.0.0", "10.{}.0.0/0.0.255.255", 6},
     {0xFFFFFFFF, "02:00:{:02x}:00:00:00/ff:ff:ff:00:00:00", "02:00:{:02x}:00:00:00/00:00:00:ff:ff:ff"}},
    {"destination wildcard", SrcOrDst::destination, {"10.0.{}.0/255.0.255.0", "10.0.{}.0/0.255.0.255", 17, true},
     {0, "02:00:00:{:02x}:00:00/ff:f0:ff:ff:00:ff", "02:00:00:{:02x}:00:00/00:0f:00:00:ff:00"}},
    {"source port", SrcOrDst::source, {"0.0.0.0/255.0.0.0", "0.0.0.0/0.255.255.255", 6, true},
     {0, "00:00:00:00:00:00/ff:ff:ff:ff:ff:ff"}},
};
// clang-format on
inline constexpr Shape kVerdictShape{"all"}, kRefusedShape{.name = "", .ip = {.proto = 1}, .mac = {.ethType = 1}};

// --- What may happen ---

// The states of an interface of an ACL: the collections of the ShadowAcl that it is in.
inline constexpr uint8_t kApplying = 1, kActive = 2, kDeleting = 4, kErrored = 8, kAnyState = 15;

// To an interface of an ACL; in a call; and the consistency failures.
// clang-format off
enum class Event : uint8_t {
  attached, precreated, precreatedButHeld, ruleRefused, hasTooManyRules, conflictsInType, written, writeFailed, handedOver,
  detached, nothingToClear, filterLost, filterOfAnother, cleared, clearFailed,
  errorsDiffer, alreadyActive, nameIsShared, ruleDropped, noSlotLeft, gapFilled, joinsRules, leavesTheOther, delayFailed,
  delayMakesFilter, errorReportedLate,
  fragmentsOfUnknown, detachOfUnknown, ipRuleOfUnknown, macRuleOfUnknown, finalOfUnknown, destroyOfUnknown,
  precreateOfUnknown, cleanUpOfUnknown, ipRuleOfMac, macRuleOfIp, finalWithoutPrecreate, writeWithoutFilter,
  clearWithoutFilter,
  count
};
// clang-format on
struct EventRow {
  Event event;
  const char* name;                // Of a consistency failure, the operation that traces it.
  uint8_t leaves = 0, enters = 0;  // Of an interface: states.
  const char* failure = nullptr;   // As it is traced and raised.
};
inline constexpr size_t kEventCount = size_t(Event::count);
inline constexpr const char *kUnknownAcl = "ACL config should always exist", *kIpRule = "createIpAclSubrule",
                            *kMacRule = "createMacAclRule";
inline constexpr EventRow kEvents[] = {
    {Event::attached, "attached", 0, kApplying},
    {Event::precreated, "precreated", kActive | kErrored, kApplying},
    {Event::precreatedButHeld, "precreated, but the filter is another's", kActive | kErrored, 0},
    {Event::ruleRefused, "a rule is refused", kApplying, kErrored},
    {Event::hasTooManyRules, "the filter has not enough slots", kApplying, kErrored},
    {Event::conflictsInType, "the filter has rules of the other type", kApplying, kErrored},
    {Event::written, "written", kApplying, kActive},  // An older error stays.
    {Event::writeFailed, "a write fails", kApplying, kErrored},
    {Event::handedOver, "handed over", kActive | kApplying, 0},
    {Event::detached, "detached", 0, kDeleting},
    {Event::nothingToClear, "nothing to clear", kApplying | kDeleting, 0},
    {Event::filterLost, "nothing to clear, as the filter is lost", kApplying | kDeleting, 0},
    {Event::filterOfAnother, "the filter to clear is another's", kAnyState, 0},
    {Event::cleared, "cleared", kAnyState, 0},
    {Event::clearFailed, "clearing fails", kApplying | kDeleting, kErrored},
    {Event::errorsDiffer, "the errors of a pass differ"},
    {Event::alreadyActive, "attached where it is active"},
    {Event::nameIsShared, "precreated where an ACL of the same name has the filter"},
    {Event::ruleDropped, "a rule after the verdict"},
    {Event::noSlotLeft, "no slot is left"},
    {Event::gapFilled, "a rule fills the gap that a deletion has left"},
    {Event::joinsRules, "verdicts join the rules of the other type"},
    {Event::leavesTheOther, "cleared beside an ACL of the other type"},
    {Event::delayFailed, "a write of the drop delay fails"},
    {Event::delayMakesFilter, "the drop delay makes a filter"},
    {Event::errorReportedLate, "a failed access to block is reported with a filter"},
    {Event::fragmentsOfUnknown, "createIpFragRule", 0, 0, kUnknownAcl},
    {Event::detachOfUnknown, "removeIntfFromAcl", 0, 0, kUnknownAcl},
    {Event::ipRuleOfUnknown, kIpRule, 0, 0, kUnknownAcl},
    {Event::macRuleOfUnknown, kMacRule, 0, 0, kUnknownAcl},
    {Event::finalOfUnknown, "createFinalAclRule", 0, 0, kUnknownAcl},
    {Event::destroyOfUnknown, "destroyAcl", 0, 0, "The shadow ACL has disappeared before cleanupAcl"},
    {Event::precreateOfUnknown, "precreateAcl", 0, 0,
     "ACL not attached to any interfaces, but there are active interfaces"},
    {Event::cleanUpOfUnknown, "cleanupAcl", 0, 0, "The shadow ACL to be cleaned no longer exists"},
    {Event::ipRuleOfMac, kIpRule, 0, 0, "In createIpAclSubrule, the ACL should be an IP ACL"},
    {Event::macRuleOfIp, kMacRule, 0, 0, "In create MacAclRule, the shadow ACL should always be a MAC ACL"},
    {Event::finalWithoutPrecreate, "createFinalAclRule", 0, 0, "The shadow ACL should always exist"},
    {Event::writeWithoutFilter, "writeAclToIntfs", 0, 0, "The shadow filter should always exist"},
    {Event::clearWithoutFilter, "clearAclFromIntfs", 0, 0, "Interface with no shadow filter must be ACL errored"},
};
static_assert(std::size(kEvents) == kEventCount);
static_assert(std::ranges::is_sorted(kEvents, std::ranges::less_equal(), &EventRow::event));
inline const EventRow& rowOf(Event event) { return kEvents[size_t(event)]; }
using Census = std::array<size_t, kEventCount>;  // How often each event has happened.

// --- What is compared ---

using Rules = Platform::ValueMap<uint8_t, AclRule>;

// The rules of an ACL, as translated since it was pre-created.
struct Content {
  AclKey key;
  bool isIp = true, l4 = false;
  Rules rules = {};
  std::optional<SrcOrDst> side = {};
  std::optional<bool> permitAny = {}, permitArp = {}, permitLldp = {};
};
struct AclState {
  bool exists = false, isFinal = false;
  std::shared_ptr<Content> content = {};
  std::array<uint8_t, kIntfs> states{};
  std::array<std::pair<AclCreateError, Refusal>, kIntfs> errors{};
};
struct FilterState {
  bool exists = true, isIp = false, delay = false, permitAny = false;
  Rules rules = {};
  std::optional<SrcOrDst> side = {};
  std::shared_ptr<Content> ip = {}, mac = {};
  bool isExact = true, isEnableExact = true;  // The registers are the image.
};
struct Everything {
  std::array<AclState, kAcls> acls{};
  std::array<std::array<FilterState, kIntfs>, 2> filters{};  // Output, input.
  bool flag = false;                                         // Of the transport: an access has failed.
};

// What shows at the moment of an access or a call: the states of the interfaces of each ACL, and the drop delay that
// the statuses of the interfaces, and of the instance, publish.
struct Moment {
  std::array<std::array<uint8_t, kIntfs>, kAcls> states{};
  std::array<bool, kIntfs + 1> delays{};
  bool operator==(const Moment&) const = default;
};
struct TranscriptLine {
  std::string what;  // A call of the listener, a trace of a failure, or the filter or port that is accessed.
  size_t times = 1;  // Accesses in a row.
  Moment at{};       // The first of them.
  bool operator==(const TranscriptLine&) const = default;
};
// What leaves the library in a call, in its order.
struct Transcript {
  template <class Now>
  void add(const std::string& what, Now now) {
    if (!lines.empty() && lines.back().what == what && what.starts_with("msp")) {
      ++lines.back().times;
    } else {
      lines.push_back({what, 1, now()});
    }
  }
  std::vector<TranscriptLine> lines;
};

// --- As text ---

// Of the interfaces, by output and input.
inline constexpr const char* kFilterNames[2][kIntfs] = {
    {"msp_return[0]/filter[3]", "msp_return[0]/filter[4]", "msp_return[1]/filter[5]"},
    {"msp_send[0]/i_filter[3]", "msp_send[0]/i_filter[4]", "msp_send[1]/i_filter[5]"}};
inline constexpr const char* kPortNames[kIntfs] = {"msp_send[0]/rx[3]", "msp_send[0]/rx[4]", "msp_send[1]/rx[5]"};

inline std::string textOf(const std::shared_ptr<Content>& content) {
  if (!content) return "-";
  std::string text = fmt::format("[{} {}", content->key, content->isIp ? "ipv4" : "mac");
  if (content->l4) text += " l4";
  for (const auto& [key, rule] : content->rules) text += fmt::format(" {}={}", key, rule);
  return text + fmt::format(" side={} any={} arp={} lldp={}]", textOr(content->side), textOr(content->permitAny),
                            textOr(content->permitArp), textOr(content->permitLldp));
}
inline std::string textOfStates(uint8_t states) {
  std::string text;
  if ((states & kApplying) != 0) text += " applying";
  if ((states & kActive) != 0) text += " active";
  if ((states & kDeleting) != 0) text += " deleting";
  if ((states & kErrored) != 0) text += " in error";
  return text;
}

inline std::string textOf(const Everything& everything) {
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

inline std::string textOf(const Transcript& transcript) {
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

// --- The machine ---

// Raised by the machine where the library must raise ConsistencyError with the message of the row.
struct Inconsistent {
  Event event;
};

struct Reference : Everything {
  using Order = std::vector<size_t>;  // Of the interfaces that a pass visits.

  Reference(Slots slotsOfFilters, Census& eventsMet)
      : slots(slotsOfFilters), census(eventsMet), isIngressSupported(slots.in != 0) {
    for (FilterState& filter : filters[true]) filter.exists = isIngressSupported;
  }

  bool isSupported(size_t acl) const { return kKeys[acl].type != kIpv6 && (isIngressSupported || !isIn(acl)); }
  bool has(size_t acl, size_t intf, uint8_t states) const { return (acls[acl].states[intf] & states) != 0; }

  // --- What all calls share ---

  void happens(Event event) { ++census[size_t(event)]; }
  void happens(Event event, size_t acl, size_t intf, AclCreateError error = kNoError, Refusal reason = Refusal::none) {
    happens(event);
    uint8_t& states = acls[acl].states[intf];
    states = uint8_t((states & ~rowOf(event).leaves) | rowOf(event).enters);
    if ((rowOf(event).enters & kErrored) != 0) acls[acl].errors[intf] = {error, reason};
  }

  [[noreturn]] void breaks(Event event) {
    happens(event);
    shows(fmt::format("0 {}: {}", rowOf(event).name, rowOf(event).failure));
    throw Inconsistent{event};
  }

  AclState& known(size_t acl, Event otherwise) {
    if (!acls[acl].exists) breaks(otherwise);
    return acls[acl];
  }

  void shows(const std::string& what) {
    transcript.add(what, [this] {
      Moment now{.delays = delays};
      for (size_t a = 0; a < kAcls; ++a) now.states[a] = acls[a].states;
      return now;
    });
  }

  AclCreateError raise(AclCreateError error) {
    shows("publish Kestrix true");
    shows(fmt::format("unitError Kestrix {}", int(error)));
    return error;
  }

  AclCreateError tellStatus(size_t acl, AclCreateError result) {
    shows(fmt::format("status {} {}", kKeys[acl], int(result)));
    return result;
  }

  // Whether a number of accesses to what belongs to an interface succeed.
  bool accessed(const char* what, size_t intf, size_t count) {
    for (size_t k = 0; k < count; ++k) shows(what);
    const auto firstFailure = failAt.lower_bound(accesses);
    accesses += count;
    const bool isHit = firstFailure != failAt.end() && *firstFailure < accesses;
    return !isHit && failingIntf != intf;
  }

  // Whether a write of a filter is reported as done: an earlier failed access that nobody has reported counts, too.
  bool reported(bool isDone) {
    if (flag && isDone) happens(Event::errorReportedLate);
    return !std::exchange(flag, false) && isDone;
  }

  // Whether the write of the whole filter is reported as done.
  bool written(size_t acl, size_t intf) {
    const bool in = isIn(acl);
    const bool isDone = reported(accessed(kFilterNames[in][intf], intf, 4 + 4 * size_t{slots.of(acl)}));
    filters[in][intf].isExact = filters[in][intf].isEnableExact = isDone;
    return isDone;
  }

  bool isMended() const {
    bool isExact = !flag;
    for (const auto& ofDirection : filters) {
      for (const FilterState& filter : ofDirection) isExact = isExact && filter.isExact && filter.isEnableExact;
    }
    return isExact;
  }

  // --- Rules ---

  AclCreateError precreate(size_t acl) {
    if (!isSupported(acl)) return kNotSupported;
    AclState& mine = known(acl, Event::precreateOfUnknown);
    mine.isFinal = false;
    mine.content = std::make_shared<Content>(Content{.key = kKeys[acl], .isIp = isIp(acl)});
    for (size_t i = 0; i < kIntfs; ++i) {
      if (!has(acl, i, kActive | kErrored)) continue;
      const FilterState& filter = filters[isIn(acl)][i];
      const auto& holder = isIp(acl) ? filter.ip : filter.mac;
      const bool isOfThisName = !holder || holder->key.name == kKeys[acl].name;
      if (holder && isOfThisName && holder->key != kKeys[acl]) happens(Event::nameIsShared);
      happens(isOfThisName ? Event::precreated : Event::precreatedButHeld, acl, i);
    }
    return kNoError;
  }

  AclCreateError refuseRule(size_t acl, AclCreateError error) {
    for (size_t i = 0; i < kIntfs; ++i) {
      if (has(acl, i, kApplying)) happens(Event::ruleRefused, acl, i, error);
    }
    shows("dirty true");
    return raise(error);
  }

  // A filter shows what its ACLs are now, its registers what they were.
  void changes(const std::shared_ptr<Content>& content) {
    for (auto& ofDirection : filters) {
      for (FilterState& filter : ofDirection) {
        if (filter.ip == content || filter.mac == content) filter.isExact = filter.isEnableExact = false;
      }
    }
  }

  // The first rule is number 0. Later ones get the first number from 1 on that is free.
  static uint8_t nextSlot(const Content& content) {
    if (content.rules.empty()) return 0;
    uint8_t slot = 1;
    while (content.rules.contains(slot)) ++slot;
    return slot;
  }

  AclRule ruleOf(uint8_t slot, bool isIpRule, const Shape& shape, bool isPermit) const {
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

  AclCreateError addRule(size_t acl, bool isIpRule, const Shape& shape, bool isPermit) {
    const auto& [exists, isFinal, content, states, errors] =
        known(acl, isIpRule ? Event::ipRuleOfUnknown : Event::macRuleOfUnknown);
    if (!isSupported(acl)) return refuseRule(acl, kNotSupported);
    if (!content || content->isIp != isIpRule) breaks(isIpRule ? Event::ipRuleOfMac : Event::macRuleOfIp);
    const bool isRefused = isIpRule ? shape.ip.proto == 1 : shape.mac.ethType == 1;
    const bool isStored = (isIpRule ? shape.ip.stored : shape.mac.stored) != nullptr;
    if (isRefused) return refuseRule(acl, kNotSupported);
    const bool isWrongSide = isStored && shape.side && content->side && shape.side != content->side;
    if (isWrongSide && (isIpRule || !content->permitAny)) return refuseRule(acl, kNotSupported);
    if (content->permitAny) {
      happens(Event::ruleDropped);
      return kNoError;
    }
    const uint8_t slot = nextSlot(*content);
    if (isStored && slot >= slots.of(acl)) {
      happens(Event::noSlotLeft);
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
    if (content->rules.size() > slot) happens(Event::gapFilled);
    const AclRule rule = ruleOf(slot, isIpRule, shape, isPermit);
    content->rules.insert_or_assign(slot, rule);
    if (shape.side) content->side = shape.side;
    if (rule.port() != 0) content->l4 = true;
    return kNoError;
  }

  AclCreateError addFragments(size_t acl, bool isPermit) {
    if (isPermit || isSupported(acl)) return kNoError;
    known(acl, Event::fragmentsOfUnknown);
    return refuseRule(acl, kNotSupported);
  }

  void overfill(size_t acl) {
    if (!acls[acl].content) return;
    for (uint8_t key = 0; key <= slots.of(acl); ++key) acls[acl].content->rules.insert_or_assign(key, AclRule(key));
  }

  void deleteRule(size_t acl, uint8_t slot) {
    if (acls[acl].content) acls[acl].content->rules.erase(slot);
  }

  // --- Onto interfaces ---

  void attach(size_t acl, size_t intf, const Order& order) {
    acls[acl].exists = true;
    if (has(acl, intf, kActive)) return happens(Event::alreadyActive);
    happens(Event::attached, acl, intf);
    write(acl, order);
  }

  AclCreateError finish(size_t acl, const Order& order) {
    if (!isSupported(acl)) return kNoError;
    if (!known(acl, Event::finalOfUnknown).content) breaks(Event::finalWithoutPrecreate);
    acls[acl].isFinal = true;
    return write(acl, order);
  }

  AclCreateError write(size_t acl, const Order& order) {
    if (!acls[acl].isFinal) return kNoError;
    AclCreateError result = kNoError;
    for (const size_t intf : order) {
      const AclCreateError error = writeOne(acl, intf);
      if (error == kNoError) continue;
      if (result != kNoError && result != error) happens(Event::errorsDiffer);
      result = error;
    }
    return tellStatus(acl, result);
  }

  AclCreateError writeOne(size_t acl, size_t intf) {
    const Content& content = *acls[acl].content;
    FilterState& filter = filters[isIn(acl)][intf];
    const FilterState old = filter;
    if (!old.exists) breaks(Event::writeWithoutFilter);
    const bool hasRules = !content.rules.empty();
    if (content.rules.size() > slots.of(acl)) {
      happens(Event::hasTooManyRules, acl, intf, kHardwareFailure, Refusal::tooManyRules);
      return raise(kHardwareFailure);
    }
    if (old.isIp != content.isIp && (old.isIp ? hasRules : !old.rules.empty())) {
      happens(Event::conflictsInType, acl, intf, kNotSupported, Refusal::typeConflict);
      return raise(kNotSupported);
    }
    if (old.isIp == content.isIp || hasRules) {
      filter.isIp = content.isIp;
      filter.rules = content.rules;
      filter.side = content.side;
    } else {
      if (!old.rules.empty()) happens(Event::joinsRules);
      filter.isIp = !old.rules.empty() || content.isIp;
    }
    if (!old.isIp || content.isIp) filter.permitAny = content.permitAny.value_or(false);
    (content.isIp ? filter.ip : filter.mac) = acls[acl].content;
    const bool isDone = written(acl, intf);
    happens(isDone ? Event::written : Event::writeFailed, acl, intf, kHardwareFailure);
    return isDone ? kNoError : kHardwareFailure;
  }

  // --- Off interfaces ---

  void detach(size_t acl, size_t intf, const Order& order) {
    if (isDestroying) return;
    known(acl, Event::detachOfUnknown);
    happens(Event::detached, acl, intf);
    clear(acl, order);
  }

  void handOver(size_t acl, size_t intf) {
    if (isDestroying) return;
    known(acl, Event::detachOfUnknown);
    happens(Event::handedOver, acl, intf);
  }

  void destroy(size_t acl) {
    if (isSupported(acl)) known(acl, Event::destroyOfUnknown);
  }

  void cleanUp(size_t acl, const Order& order) {
    if (isDestroying || !known(acl, Event::cleanUpOfUnknown).isFinal) return;
    for (const size_t intf : order) happens(Event::detached, acl, intf);
    clear(acl, order);
    acls[acl] = {};
  }

  AclCreateError clear(size_t acl, const Order& order) {
    AclCreateError result = kNoError;
    for (const size_t intf : order) {
      const AclCreateError error = clearOne(acl, intf);
      if (error != kNoError) result = error;
    }
    return tellStatus(acl, result);
  }

  AclCreateError clearOne(size_t acl, size_t intf) {
    FilterState& filter = filters[isIn(acl)][intf];
    const FilterState old = filter;
    // An ACL that was never pre-created counts as one for IPv4.
    const bool isIpAcl = !acls[acl].content || acls[acl].content->isIp;
    const auto &holder = isIpAcl ? old.ip : old.mac, &other = isIpAcl ? old.mac : old.ip;
    if (!old.exists && has(acl, intf, kActive) && !has(acl, intf, kErrored)) breaks(Event::clearWithoutFilter);
    const bool isAnothers = holder && holder->key != kKeys[acl];
    if (!has(acl, intf, kActive | kErrored) || !old.exists || isAnothers) {
      const bool isClear = !has(acl, intf, kActive | kErrored);
      happens(isClear ? Event::nothingToClear : isAnothers ? Event::filterOfAnother : Event::filterLost, acl, intf);
      return kNoError;
    }
    filter = {.isIp = !isIpAcl && old.isIp, .delay = old.delay};
    if (other) {
      happens(Event::leavesTheOther);
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
    happens(isDone ? Event::cleared : Event::clearFailed, acl, intf, kHardwareFailure);
    return isDone ? kNoError : kHardwareFailure;
  }

  // --- The agent ---

  void delayOne(size_t intf, bool in, bool on) {
    FilterState& filter = filters[in][intf];
    if (!filter.exists) {
      happens(Event::delayMakesFilter);
      filter = {.isExact = false};
    }
    filter.delay = on;
    filter.isEnableExact = reported(accessed(kFilterNames[in][intf], intf, 1));
    if (filter.isEnableExact) return;
    happens(Event::delayFailed);
    shows(fmt::format(
        "0 AclHelperInstanceConfigSm::handleAclDropDelay: Failed to write registers for already set {}filter",
        in ? "input " : ""));
  }

  void delay(bool on, const Order& order) {
    for (const size_t intf : order) {
      delayOne(intf, false, on);
      if (isIngressSupported) delayOne(intf, true, on);
      if (intf != 2) delays[intf] = on;  // The third one has no status.
    }
    delays[kIntfs] = on;
  }

  void block(size_t intf, bool on) {
    if (!accessed(kPortNames[intf], intf, 2)) flag = true;
    shows(fmt::format("blocked e{} {}", intf + 1, on));
  }

  // --- What it knows ---

  const Slots slots;
  Census& census;
  bool isDestroying = false, isIngressSupported;
  std::array<bool, kIntfs + 1> delays{};
  // Of this call:
  std::set<size_t> failAt;            // The accesses that fail, by number,
  std::optional<size_t> failingIntf;  // and those to what belongs to the interface.
  size_t accesses = 0;
  uint16_t mark = 0;  // The number of the rule that it makes.
  Transcript transcript;
};

}  // namespace Kestrix::Test
