// The reference machine: what each call of the framework, the agent or a stranger must do, known independently of the
// library.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
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
  const char* name;
  uint8_t leaves = 0, enters = 0;                       // Of an interface: states.
  const char *operation = nullptr, *message = nullptr;  // Of a consistency failure, as it is traced and raised.
};
inline constexpr size_t kEventCount = size_t(Event::count);
const EventRow& rowOf(Event event);
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
std::string textOf(const Everything& everything);

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
std::string textOf(const Transcript& transcript);

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

  // The calls. Each returns what the library must return, or raises Inconsistent; `order` has all that it may visit.
  AclCreateError attach(size_t acl, size_t intf, const Order& order);
  AclCreateError precreate(size_t acl);
  AclCreateError addRule(size_t acl, bool isIpRule, const Shape& shape, bool isPermit);
  AclCreateError addFragments(size_t acl, bool isPermit);
  AclCreateError finish(size_t acl, const Order& order);
  AclCreateError detach(size_t acl, size_t intf, const Order& order);
  AclCreateError handOver(size_t acl, size_t intf);
  AclCreateError destroy(size_t acl);
  AclCreateError cleanUp(size_t acl, const Order& order);
  AclCreateError delay(bool on, const Order& order);
  AclCreateError block(size_t intf, bool on);
  // Those of a stranger, by name.
  AclCreateError overfill(size_t acl);
  AclCreateError deleteRule(size_t acl, uint8_t slot);

  // Nothing is left of a failed access.
  bool isMended() const;

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

 private:
  void happens(Event event) { ++census[size_t(event)]; }
  void happens(Event event, size_t acl, size_t intf, AclCreateError error = kNoError, Refusal reason = Refusal::none);
  [[noreturn]] void breaks(Event event);
  AclState& known(size_t acl, Event otherwise);
  void shows(const std::string& what);
  void raise(AclCreateError error);
  AclCreateError tellStatus(size_t acl, AclCreateError result);

  bool accessed(const char* what, size_t intf, size_t count);
  bool written(size_t acl, size_t intf);
  bool reported(bool isDone);

  AclCreateError refuseRule(size_t acl, AclCreateError error);
  AclRule ruleOf(uint8_t slot, bool isIpRule, const Shape& shape, bool isPermit) const;
  static uint8_t nextSlot(const Content& content);
  void changes(const std::shared_ptr<Content>& content);

  AclCreateError write(size_t acl, const Order& order);
  AclCreateError writeOne(size_t acl, size_t intf);
  AclCreateError clear(size_t acl, const Order& order);
  AclCreateError clearOne(size_t acl, size_t intf);
  void delayOne(size_t intf, bool in, bool on);
};

}  // namespace Kestrix::Test
