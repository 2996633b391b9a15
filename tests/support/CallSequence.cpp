#include "support/CallSequence.h"

#include <charconv>
#include <memory>

#include "hw/FilterRegisters.h"
#include "instance/AclHelperInstanceConfigSm.h"

namespace Kestrix::Test {
namespace {

// ACLs of one type that meet, and of the other; in the other direction; of a type that is not supported; and one whose
// key differs from another's, but not in the name.
const AclKey kKeys[kAcls] = {{"a", kIpv4, kOut}, {"m", kMac, kOut},  {"b", kIpv4, kOut},   {"n", kMac, kOut},
                             {"a", kIpv4, kIn},  {"s", kIpv6, kOut}, {"a", kIpv4, kOut, 1}};
constexpr uint8_t limitOf(bool isIn) { return isIn ? 3 : 2; }  // Rules of a filter.

// --- The states of an interface of an ACL, and what each event makes of them ---

constexpr uint8_t kApplying = 1, kActive = 2, kDeleting = 4, kErrored = 8, kAny = 15;

struct Event {
  uint8_t leaves, enters;
};
constexpr Event kAttached{0, kApplying};
constexpr Event kPrecreated{kActive | kErrored, kApplying};
constexpr Event kPrecreatedButHeld{kActive | kErrored, 0};
constexpr Event kRefused{kApplying, kErrored};  // By translation, or by the filter.
constexpr Event kWritten{kApplying, kActive};   // An older error stays.
constexpr Event kWriteFailed{kApplying, kErrored};
constexpr Event kHandedOver{kActive | kApplying, 0};
constexpr Event kDetached{0, kDeleting};
constexpr Event kNothingToClear{kApplying | kDeleting, 0};
constexpr Event kFilterOfAnother{kAny, 0};
constexpr Event kCleared{kAny, 0};
constexpr Event kClearFailed{kApplying | kDeleting, kErrored};

// --- What the reference knows, and what is read from the library to compare ---

using Rules = Platform::ValueMap<uint8_t, AclRule>;

struct Content {
  AclKey key;
  bool isIp = true, l4 = false;
  Rules rules = {};
  std::string side = "";
  std::optional<bool> permitAny = {}, permitArp = {};
};
struct RefAcl {
  bool exists = false, isFinal = false;
  std::shared_ptr<Content> content;
  uint8_t states[kIntfs] = {};
  int errors[kIntfs] = {};
};
struct Filter {
  bool exists = true, isIp = false, delay = false, permitAny = false;
  Rules rules = {};
  std::string side = "";
  std::shared_ptr<Content> ip = {}, mac = {};
  bool isExact = true, isEnableExact = true;  // The registers are the image.
};
using Acls = std::array<RefAcl, kAcls>;
using Filters = std::array<std::array<Filter, kIntfs>, 2>;  // Output, input.

struct Inconsistent {
  const char *operation, *message;
};

std::string textOf(const Rules& rules) {
  std::string text;
  for (const auto& [key, rule] : rules) text += fmt::format("{}={} ", key, rule);
  return text;
}
std::string textOf(const std::shared_ptr<Content>& content) {
  if (!content) return "-";
  const auto& [key, isIp, l4, rules, side, permitAny, permitArp] = *content;
  return fmt::format("[{} {} {} {}{} {} {}]", key, isIp, l4, textOf(rules), side, textOr(permitAny), textOr(permitArp));
}
std::string textOf(const Acls& acls, const Filters& filters, bool flag) {
  std::string text;
  for (size_t a = 0; a < kAcls; ++a) {
    const auto& [exists, isFinal, content, states, errors] = acls[a];
    if (!exists) continue;
    text += fmt::format("\n{} {} {}", kKeys[a], isFinal, textOf(content));
    for (size_t i = 0; i < kIntfs; ++i) text += fmt::format(" {}:{}", states[i], states[i] & kErrored ? errors[i] : 0);
  }
  for (const auto& of : filters) {
    for (const Filter& f : of) {
      text += fmt::format("\n{} {} {} {} {} {} {} {}", f.exists, f.isIp, f.delay, f.permitAny, textOf(f.rules), f.side,
                          textOf(f.ip), textOf(f.mac));
    }
  }
  return text + (flag ? "\nflag" : "");
}

std::shared_ptr<Content> seen(const Ptr<BaseAcl>& acl) {
  if (!acl) return nullptr;
  const auto* ip = dynamic_cast<const IpAcl*>(acl.get());
  const auto* mac = dynamic_cast<const MacAcl*>(acl.get());
  return std::make_shared<Content>(Content{acl->key(), ip != nullptr, ip && ip->l4(), acl->rule(),
                                           textOr(acl->srcOrDst()), acl->permitAny(),
                                           mac && mac->arp() ? mac->permitArp() : std::nullopt});
}

// --- The machine ---

struct Machine : Rig {
  Machine() {
    build(limitOf(true), limitOf(false));
    for (const IntfId intf : intfs) vcsd->intfIs(intf, true);
    for (const AclKey& key : kKeys) data.push_back(make<AclData>(key)), data.back()->activeIntfIs(e1);
    for (const auto d : {kIn, kOut}) helper->shadowFilters(d)->shadowFilterDelAll();
    reactor = aclHelperInstanceConfigSmFactory(config, make<Platform::InstanceStatus>(), vcsd, helper);
    taken();
  }

  static bool isIn(size_t a) { return kKeys[a].direction == kIn; }
  bool isSupported(size_t a) const { return kKeys[a].type != kIpv6 && (isIngressSupported || !isIn(a)); }
  bool has(size_t a, size_t i, uint8_t states) const { return (ref[a].states[i] & states) != 0; }
  void occurs(Event event, size_t a, size_t i, int error = 0) {
    ref[a].states[i] = uint8_t((ref[a].states[i] & ~event.leaves) | event.enters);
    if ((event.enters & kErrored) != 0) ref[a].errors[i] = error;
  }
  void raise(int error) {
    expected.insert(expected.end(), {"publish Kestrix true", fmt::format("unitError Kestrix {}", error)});
  }
  RefAcl& known(size_t a, const char* operation, const char* message = "ACL config should always exist") {
    if (!ref[a].exists) throw Inconsistent{operation, message};
    return ref[a];
  }
  // Whether a number of accesses to what belongs to an interface succeed.
  bool succeeds(const Call& call, size_t i, size_t count) {
    const auto first = failAt.lower_bound(accesses);
    accesses += count;
    return !(first != failAt.end() && *first < accesses) && !(call.busFails && call.intf == i);
  }
  // Whether a write of a filter is reported as done.
  bool writes(const Call& call, size_t i, size_t count) {
    const bool isDone = succeeds(call, i, count);
    return !std::exchange(flag, false) && isDone;
  }

  // The interfaces of a set in the order in which a pass visits them, once `added` are in it.
  Platform::Set<IntfId> with(Platform::Set<IntfId> set, const std::vector<IntfId>& added) const {
    for (const IntfId intf : added) set.insert(intf);
    return set;
  }
  size_t indexOf(IntfId intf) const { return size_t(std::find(intfs.begin(), intfs.end(), intf) - intfs.begin()); }

  // An error of an interface and why the interface, and not a rule of its ACL, was refused.
  static int withReason(int error, Refusal reason) { return error + 100 * int(reason); }

  int refused(size_t a, int error) {
    for (size_t i = 0; i < kIntfs; ++i) {
      if (has(a, i, kApplying)) occurs(kRefused, a, i, error);
    }
    expected.push_back("dirty true"), raise(error);
    return error;
  }

  int precreated(size_t a) {
    if (!isSupported(a)) return 13;
    RefAcl& mine = known(a, "precreateAcl", "ACL not attached to any interfaces, but there are active interfaces");
    mine.isFinal = false;
    mine.content = std::make_shared<Content>(Content{.key = kKeys[a], .isIp = kKeys[a].type == kIpv4});
    for (size_t i = 0; i < kIntfs; ++i) {
      if (!has(a, i, kActive | kErrored)) continue;
      const Filter& filter = filters[isIn(a)][i];
      const auto& slot = mine.content->isIp ? filter.ip : filter.mac;
      occurs(slot && slot->key.name != kKeys[a].name ? kPrecreatedButHeld : kPrecreated, a, i);
    }
    return 0;
  }

  // What a rule on a side, or on none, becomes.
  AclRule ruleOf(const Content& content, const std::string& side, bool isPermit) const {
    RuleFields rule{.key = uint8_t(content.rules.size()), .action = isPermit ? kPermit : kDeny};
    const std::string ip = fmt::format("10.0.0.{}/0.0.0.0", mark);
    const std::string mac = fmt::format("02:00:00:00:00:{:02x}/00:00:00:00:00:00", mark);
    if (!content.isIp) rule.mac = mac.c_str();
    if (content.isIp) rule.ip = side.empty() ? "0.0.0.0/255.255.255.255" : ip.c_str(), rule.tcp = true;
    if (content.isIp && !side.empty()) rule.port = mark, rule.udp = true;
    return aRule(rule);
  }
  // A rule on a side, or on none: TCP, or ARP.
  int translated(size_t a, bool isIp, const std::string& side, bool isRefused, bool isVerdict, bool isPermit) {
    const char* operation = isIp ? "createIpAclSubrule" : "createMacAclRule";
    RefAcl& mine = known(a, operation);
    if (!isSupported(a)) return refused(a, 13);
    if (!mine.content || mine.content->isIp != isIp) {
      throw Inconsistent{operation, isIp ? "In createIpAclSubrule, the ACL should be an IP ACL"
                                         : "In create MacAclRule, the shadow ACL should always be a MAC ACL"};
    }
    if (isRefused) return refused(a, 13);
    Content& content = *mine.content;
    const bool isWrongSide = !side.empty() && !content.side.empty() && side != content.side;
    if (isWrongSide && (isIp || !content.permitAny)) return refused(a, 13);
    if (content.permitAny) return 0;
    for (auto& of : filters) {  // A filter shows what its ACLs are now, its registers what they were.
      for (Filter& f : of) {
        if (f.ip == mine.content || f.mac == mine.content) f.isExact = f.isEnableExact = false;
      }
    }
    if (isVerdict) return (content.permitAny = isPermit), 0;
    if (!isIp && side.empty()) return (content.permitArp = content.permitArp.value_or(isPermit)), 0;
    if (content.rules.size() >= limitOf(isIn(a))) return refused(a, 15);
    const AclRule rule = ruleOf(content, side, isPermit);
    content.rules.insert_or_assign(rule.ruleKey(), rule);
    content.l4 = content.l4 || rule.port() != 0;
    if (!side.empty()) content.side = side;
    return 0;
  }

  int written(const Call& call, const Platform::Set<IntfId>& order) {
    const size_t a = call.acl;
    if (!ref[a].isFinal) return 0;
    const Content& content = *ref[a].content;
    const bool hasRules = !content.rules.empty();
    int result = 0;
    for (const IntfId intf : order) {
      const size_t i = indexOf(intf);
      Filter& filter = filters[isIn(a)][i];
      const Filter old = filter;
      if (!old.exists) throw Inconsistent{"writeAclToIntfs", "The shadow filter should always exist"};
      const bool isConflict = old.isIp != content.isIp && (old.isIp ? hasRules : !old.rules.empty());
      const bool isOverfull = content.rules.size() > limitOf(isIn(a));
      if (isOverfull || isConflict) {
        const Refusal reason = isOverfull ? Refusal::tooManyRules : Refusal::typeConflict;
        result = isOverfull ? 15 : 13;
        occurs(kRefused, a, i, withReason(result, reason)), raise(result);
        continue;
      }
      if (old.isIp == content.isIp || hasRules) {
        filter.isIp = content.isIp, filter.rules = content.rules, filter.side = content.side;
      } else {
        filter.isIp = !old.rules.empty() || content.isIp;
      }
      if (!old.isIp || content.isIp) filter.permitAny = content.permitAny.value_or(false);
      (content.isIp ? filter.ip : filter.mac) = ref[a].content;
      filter.isExact = filter.isEnableExact = writes(call, i, 4 + 4 * limitOf(isIn(a)));
      occurs(filter.isExact ? kWritten : kWriteFailed, a, i, 15);
      if (!filter.isExact) result = 15;
    }
    expected.push_back(fmt::format("status {} {}", kKeys[a], result));
    return result;
  }

  int cleared(const Call& call, const Platform::Set<IntfId>& order) {
    const size_t a = call.acl;
    const bool isIp = !ref[a].content || ref[a].content->isIp;
    int result = 0;
    for (const IntfId intf : order) {
      const size_t i = indexOf(intf);
      Filter& filter = filters[isIn(a)][i];
      const Filter old = filter;
      const auto &own = isIp ? old.ip : old.mac, &other = isIp ? old.mac : old.ip;
      if (has(a, i, kActive) && !has(a, i, kErrored) && !old.exists) {
        throw Inconsistent{"clearAclFromIntfs", "Interface with no shadow filter must be ACL errored"};
      }
      if (!has(a, i, kActive | kErrored) || !old.exists) {
        occurs(kNothingToClear, a, i);
      } else if (own && !(own->key == kKeys[a])) {
        occurs(kFilterOfAnother, a, i);
      } else {
        filter = {.isIp = !isIp && old.isIp, .delay = old.delay};
        filter.isExact = filter.isEnableExact = writes(call, i, 4 + 4 * limitOf(isIn(a)));
        if (other) {
          (isIp ? filter.mac : filter.ip) = other;
          filter.permitAny = other->permitAny.value_or(false), filter.rules = other->rules;
          if (!isIp || !other->rules.empty()) filter.side = isIp ? other->side : old.side;
        }
        occurs(filter.isExact ? kCleared : kClearFailed, a, i, 15);
        if (!filter.isExact) result = 15;
      }
    }
    expected.push_back(fmt::format("status {} {}", kKeys[a], result));
    return 0;
  }

  int cleanedUp(const Call& call) {
    const size_t a = call.acl;
    if (isDestroying || !known(a, "cleanupAcl", "The shadow ACL to be cleaned no longer exists").isFinal) return 0;
    const auto shadow = helper->allShadowAcl(kKeys[a]);
    Platform::Set<IntfId> order = shadow->deletingIntf();
    order = with(order, {shadow->activeIntf().begin(), shadow->activeIntf().end()});
    order = with(order, {shadow->applyingIntf().begin(), shadow->applyingIntf().end()});
    for (const auto& [intf, error] : shadow->errorIntf()) order.insert(intf);
    for (const IntfId intf : order) occurs(kDetached, a, indexOf(intf));
    cleared(call, order);
    ref[a] = {};
    return 0;
  }

  int delayed(const Call& call, bool on) {
    for (const auto& [intf, value] : vcsd->intf()) {
      for (const bool in : {false, true}) {
        if (in && !isIngressSupported) continue;
        Filter& filter = filters[in][indexOf(intf)];
        if (!filter.exists) filter = {.isExact = false};
        filter.delay = on;
        filter.isEnableExact = writes(call, indexOf(intf), 1);
        if (!filter.isEnableExact) {
          expected.push_back(
              fmt::format("0 AclHelperInstanceConfigSm::handleAclDropDelay: Failed to write registers for "
                          "already set {}filter",
                          in ? "input " : ""));
        }
      }
    }
    return 0;
  }

  // --- The library ---

  int makesRule(const Call& call, bool isIp, std::string_view side, bool isRefused, bool isVerdict) {
    const auto action = call.argument % 2 == 0 ? kPermit : kDeny;
    const std::string ipAddr = fmt::format("10.0.0.{}/255.255.255.255", mark);
    const std::string macAddr = fmt::format("02:00:00:00:00:{:02x}/ff:ff:ff:ff:ff:ff", mark);
    SubruleFields ip{.action = action, .proto = uint8_t(isRefused ? 1 : side.empty() && !isVerdict ? 6 : 0)};
    MacFields mac{.action = action, .ethType = isRefused ? 1u : side.empty() && !isVerdict ? 0x0806u : 0u};
    if (side == "source") ip.src = ipAddr.c_str(), ip.srcPort = mark, mac.src = macAddr.c_str();
    if (side == "destination") ip.dst = ipAddr.c_str(), ip.dstPort = mark, mac.dst = macAddr.c_str();
    return int(isIp ? translate(data[call.acl], ip) : translateMac(data[call.acl], mac));
  }
  Ptr<ShadowFilter> seenFilter(Acl::AclDirection direction, size_t i) const {
    const auto held = helper->shadowFilters(direction);
    return held ? held->shadowFilter(intfs[i]) : nullptr;
  }
  std::string seenText() const {
    Acls acls;
    Filters seenFilters;
    for (size_t a = 0; a < kAcls; ++a) {
      const auto shadow = helper->allShadowAcl(kKeys[a]);
      if (!shadow) continue;
      acls[a] = {.exists = true, .isFinal = shadow->aclRulesFinalized(), .content = seen(shadow->acl().base())};
      for (size_t i = 0; i < kIntfs; ++i) {
        const auto error = shadow->errorIntf(intfs[i]);
        acls[a].states[i] =
            uint8_t(shadow->applyingIntf(intfs[i]) * kApplying + shadow->activeIntf(intfs[i]) * kActive +
                    shadow->deletingIntf(intfs[i]) * kDeleting + error.has_value() * kErrored);
        acls[a].errors[i] = error ? withReason(int(*error), shadow->intfRefusal(intfs[i])) : 0;
      }
    }
    for (const bool in : {false, true}) {
      for (size_t i = 0; i < kIntfs; ++i) {
        const auto f = seenFilter(in ? kIn : kOut, i);
        seenFilters[in][i] = !f ? Filter{.exists = false}
                                : Filter{true,      f->ruleType() == kIpv4, f->delay(),       f->permitAny(),
                                         f->rule(), textOr(f->srcOrDst()),  seen(f->ipAcl()), seen(f->macAcl())};
      }
    }
    return textOf(acls, seenFilters, transport->error().error());
  }

  // A register of the device that is not as the shadow filter has it, where no write has failed since.
  std::string wrongRegister() const {
    Lines unused;
    const auto image = make<FakeTransport>(unused);
    const auto writer = aclHelperFactory(image, helper->intfMap(), limitOf(true), limitOf(false), vcsd);
    for (const bool in : {false, true}) {
      for (size_t i = 0; i < kIntfs; ++i) {
        const auto direction = in ? kIn : kOut;
        const auto filter = seenFilter(direction, i);
        image->registers.clear();
        if (filter && filter->maxRules() != limitOf(in)) return "\nwrong: maxRules";
        if (filter) writer->regWriteHelper(filter->genRegisters(), intfs[i], direction, false);
        for (const auto& [name, value] : image->registers) {
          if (!(name.ends_with("/enable") ? filters[in][i].isEnableExact : filters[in][i].isExact)) continue;
          const auto found = transport->registers.find(name);
          if ((found == transport->registers.end() ? 0 : found->second) != value) return "\nwrong: " + name;
        }
      }
    }
    return "";
  }
  // In a framework's order, the filter of an active interface holds the ACL.
  std::string wronglyActive() const {
    for (size_t a = 0; a < kAcls; ++a) {
      for (size_t i = 0; i < kIntfs; ++i) {
        if (!has(a, i, kActive) || has(a, i, kErrored)) continue;
        const auto f = seenFilter(kKeys[a].direction, i);
        const auto content = helper->allShadowAcl(kKeys[a])->acl().base();
        const bool hasRules = content->rule().empty() || content->rule() == f->rule();
        if (f->aclOf(ref[a].content->isIp ? kIpv4 : kMac) != content || !hasRules)
          return "\nnot held: " + textOf(ref[a].content);
      }
    }
    return "";
  }

  std::string faultsOf(const Call& call, bool hostile, Probe* probe, bool isProbed);

  // What outlives the helper, though nothing needs it.
  std::string leftovers() {
    std::set<Ptr<Platform::Entity>> owners, contents;
    for (const auto& [key, shadow] : helper->allShadowAcl())
      owners.insert(shadow), contents.insert(shadow->acl().base());
    for (size_t k = 0; k < 2 * kIntfs; ++k) {
      const auto f = seenFilter(k % 2 == 0 ? kIn : kOut, k / 2);
      if (f) owners.insert(f), contents.insert({f->ipAcl(), f->macAcl()});
    }
    reactor = nullptr;
    if (helper->use_count() != 1) return "left: the helper";
    helper = nullptr;
    for (auto* nodes : {&owners, &contents}) {
      for (const auto& node : *nodes) {
        if (node && node->use_count() != 1) return "left: " + node->reference();
      }
      nodes->clear();
    }
    return transport->use_count() + vcsd->use_count() + listener->use_count() == 3 ? "" : "left: a reference";
  }

  // Whether nothing is left of a failure.
  bool isMended() const {
    bool isExact = !flag;
    for (const auto& of : filters) {
      for (const Filter& filter : of) isExact = isExact && filter.isExact && filter.isEnableExact;
    }
    return isExact;
  }

  const std::vector<IntfId> intfs{e1, e2, e3};
  std::vector<Ptr<AclData>> data;
  const Ptr<Platform::InstanceConfig> config = make<Platform::InstanceConfig>();
  Ptr<AclHelperInstanceConfigSm> reactor;

  Acls ref;
  Filters filters;
  bool flag = false, isDestroying = false, isIngressSupported = true;
  std::set<size_t> failAt;  // Of the accesses of this call,
  size_t accesses = 0;      // of which the reference has made so many.
  Lines expected;
  uint16_t mark = 0;  // Of a rule made by the call.
};

// When a framework makes a call.
enum class When : uint8_t { always, isUnclaimed, exists, isTranslating, isOnIntf, never };

struct OperationRow {
  const char* text;
  When when;
  int (*reference)(Machine&, const Call&);
  int (*real)(Machine&, const Call&);
};
using M = Machine;
using C = const Call&;
bool on(const Call& call) { return call.argument % 2 == 0; }
bool losesAll(const Call& call) { return call.argument == 5; }
bool isIp(const Call& call) { return kKeys[call.acl].type == kIpv4; }
std::string sideOf(const Call& call) { return std::array{"source", "destination", ""}[call.argument % 3]; }
Ptr<ShadowAcl> shadowOf(const Machine& m, const Call& call) { return m.helper->allShadowAcl(kKeys[call.acl]); }
template <class Get>
Platform::Set<IntfId> setOf(const Machine& m, const Call& call, Get get) {
  const auto shadow = shadowOf(m, call);
  return shadow ? get(*shadow) : Platform::Set<IntfId>();
}
constexpr auto kApplyingOf = [](const ShadowAcl& shadow) { return shadow.applyingIntf(); };
constexpr auto kDeletingOf = [](const ShadowAcl& shadow) { return shadow.deletingIntf(); };
Platform::IntfPairKey pairOf(const Machine& m, const Call& call) { return {.intf = m.intfs[call.intf]}; }

const OperationRow kOperations[] = {
    {"attach {acl} to {intf}", When::isUnclaimed,
     [](M& m, C c) {
       m.ref[c.acl].exists = true;
       if (m.has(c.acl, c.intf, kActive)) return 0;
       m.occurs(kAttached, c.acl, c.intf);
       m.written(c, m.with(setOf(m, c, kApplyingOf), {m.intfs[c.intf]}));
       return 0;
     },
     [](M& m, C c) { return int(m.helper->addIntfToAcl(pairOf(m, c), m.data[c.acl], nullptr)); }},
    {"precreate {acl}", When::exists, [](M& m, C c) { return m.precreated(c.acl); },
     [](M& m, C c) { return int(m.helper->precreateAcl(m.data[c.acl], nullptr)); }},
    {"rule of {acl}: {action} {side}", When::isTranslating,
     [](M& m, C c) { return m.translated(c.acl, isIp(c), sideOf(c), false, false, on(c)); },
     [](M& m, C c) { return m.makesRule(c, isIp(c), sideOf(c), false, false); }},
    {"last rule of {acl}: {action} all", When::isTranslating,
     [](M& m, C c) { return m.translated(c.acl, isIp(c), "", false, true, on(c)); },
     [](M& m, C c) { return m.makesRule(c, isIp(c), "", false, true); }},
    {"fragment rule of {acl}: {action}", When::isTranslating,
     [](M& m, C c) {
       if (on(c) || m.isSupported(c.acl)) return 0;
       return m.known(c.acl, "createIpFragRule"), m.refused(c.acl, 13);
     },
     [](M& m, C c) {
       const auto action = on(c) ? kPermit : kDeny;
       return int(m.helper->createIpFragRule(m.data[c.acl], {action, {}}, {}, 5, 6));
     }},
    {"rule of {acl} that does not fit", When::isTranslating,
     [](M& m, C c) { return m.translated(c.acl, isIp(c), "", true, false, on(c)); },
     [](M& m, C c) { return m.makesRule(c, isIp(c), "", true, false); }},
    {"final rule of {acl}", When::isTranslating,
     [](M& m, C c) {
       if (!m.isSupported(c.acl)) return 0;
       const char* operation = "createFinalAclRule";
       if (!m.known(c.acl, operation).content) throw Inconsistent{operation, "The shadow ACL should always exist"};
       m.ref[c.acl].isFinal = true;
       return m.written(c, setOf(m, c, kApplyingOf));
     },
     [](M& m, C c) { return int(m.finish(m.data[c.acl])); }},
    {"detach {acl} from {intf}", When::isOnIntf,
     [](M& m, C c) {
       if (m.isDestroying) return 0;
       m.known(c.acl, "removeIntfFromAcl"), m.occurs(kDetached, c.acl, c.intf);
       return m.cleared(c, m.with(setOf(m, c, kDeletingOf), {m.intfs[c.intf]}));
     },
     [](M& m, C c) { return int(m.helper->removeIntfFromAcl(pairOf(m, c), m.data[c.acl], false)); }},
    {"detach {acl} from {intf}, which belongs to another", When::isOnIntf,
     [](M& m, C c) {
       if (!m.isDestroying) m.known(c.acl, "removeIntfFromAcl"), m.occurs(kHandedOver, c.acl, c.intf);
       return 0;
     },
     [](M& m, C c) { return int(m.helper->removeIntfFromAcl(pairOf(m, c), m.data[c.acl], true)); }},
    {"destroy {acl}", When::exists,
     [](M& m, C c) {
       if (m.isSupported(c.acl)) m.known(c.acl, "destroyAcl", "The shadow ACL has disappeared before cleanupAcl");
       return 0;
     },
     [](M& m, C c) { return m.helper->destroyAcl(m.data[c.acl]), 0; }},
    {"clean up {acl}", When::exists, [](M& m, C c) { return m.cleanedUp(c); },
     [](M& m, C c) { return m.helper->cleanupAcl(m.data[c.acl]), 0; }},
    {"drop delay {on}", When::always, [](M& m, C c) { return m.delayed(c, on(c)); },
     [](M& m, C c) { return m.config->aclDropDelayIs(on(c)), 0; }},
    {"block {intf} {on}", When::always,
     [](M& m, C c) {
       m.expected.push_back(fmt::format("blocked e{} {}", c.intf + 1, on(c)));
       return (m.flag |= !m.succeeds(c, c.intf, 2)), 0;
     },
     [](M& m, C c) { return m.helper->blockIntf(m.intfs[c.intf], on(c), 0), 0; }},
    // What no framework does.
    {"rule of {acl}, of the other type", When::never,
     [](M& m, C c) { return m.translated(c.acl, !isIp(c), "", false, false, on(c)); },
     [](M& m, C c) { return m.makesRule(c, !isIp(c), "", false, false); }},
    {"too many rules of {acl}, set by name", When::never,
     [](M& m, C c) {
       const auto& content = m.ref[c.acl].content;
       for (uint8_t key = 0; content && key <= limitOf(M::isIn(c.acl)); ++key)
         content->rules.insert_or_assign(key, AclRule(key));
       return 0;
     },
     [](M& m, C c) {
       const auto shadow = shadowOf(m, c);
       const auto content = shadow ? shadow->acl().base() : nullptr;
       for (uint8_t key = 0; content && key <= limitOf(M::isIn(c.acl)); ++key) content->ruleIs(AclRule(key));
       return 0;
     }},
    {"tear down {on}", When::never, [](M& m, C c) { return (m.isDestroying = on(c)), 0; },
     [](M& m, C c) { return byName(*m.helper).set("destroying", on(c)), 0; }},
    {"switch ingress off {on}", When::never, [](M& m, C c) { return (m.isIngressSupported = !on(c)), 0; },
     [](M& m, C c) { return byName(*m.helper).set("ingressAclsSupported", !on(c)), 0; }},
    {"lose the filter of {lost} in the direction of {acl}", When::never,
     [](M& m, C c) {
       for (size_t i = 0; i < kIntfs; ++i) {
         if (losesAll(c) || i == c.intf) m.filters[M::isIn(c.acl)][i] = {.exists = false};
       }
       return 0;
     },
     [](M& m, C c) {
       if (const auto filters = m.helper->shadowFilters(kKeys[c.acl].direction))
         filters->shadowFilterDel(m.intfs[c.intf]);
       if (losesAll(c)) M::isIn(c.acl) ? m.helper->inShadowFilterDel() : m.helper->outShadowFilterDel();
       return 0;
     }},
};
static_assert(std::size(kOperations) == kOperationCount);

// Whether a framework would make the call now.
bool isOrderly(const Machine& m, const Call& call) {
  const RefAcl& acl = m.ref[call.acl];
  switch (kOperations[call.operation].when) {
    case When::always:
      return true;
    case When::isUnclaimed:  // It keeps ACLs of one type and direction apart.
      for (size_t a = 0; a < kAcls; ++a) {
        const bool isRival = kKeys[a].type == kKeys[call.acl].type && M::isIn(a) == M::isIn(call.acl);
        if (a != call.acl && isRival && m.has(a, call.intf, kAny)) return false;
      }
      return true;
    case When::exists:
      return acl.exists;
    case When::isTranslating:
      return acl.content && !acl.isFinal;
    case When::isOnIntf:
      return m.has(call.acl, call.intf, kAny);
    case When::never:
      break;
  }
  return false;
}

std::string Machine::faultsOf(const Call& call, bool hostile, Probe* probe, bool isProbed) {
  const OperationRow& operation = kOperations[call.operation];
  const auto resultOf = [&](auto* step) {
    try {
      return fmt::format("result {}", step(*this, call));
    } catch (const Inconsistent& failure) {  // It is traced, too.
      expected.push_back(fmt::format("0 {}: {}", failure.operation, failure.message));
      return std::string(failure.message);
    } catch (const Platform::ConsistencyError& failure) {
      return std::string(failure.what());
    }
  };
  mark = uint16_t(mark % 99 + 1), expected.clear(), log.clear();
  transport->fails = call.busFails ? fmt::format("[{}]/", call.intf + 3) : "";
  failAt = transport->failAt = isProbed ? probe->failAt : std::set<size_t>();
  accesses = transport->accesses = 0;
  const std::string must = resultOf(operation.reference), is = resultOf(operation.real);
  Lines told, accessed;
  for (const std::string& line : log) {
    if (line.starts_with("msp")) accessed.push_back(line);
    if (line.starts_with("0 ") || (std::islower(line[0]) && !line.starts_with("msp"))) told.push_back(line);
  }
  if (probe != nullptr) {
    probe->log.push_back("> " + Test::textOf(call));
    probe->log.insert(probe->log.end(), log.begin(), log.end());
    if (isProbed) probe->accesses = accessed;
  }
  std::string faults;
  if (is != must) faults += fmt::format("\nis:   {}\nmust: {}", is, must);
  if (told != expected) faults += fmt::format("\ntold: {}\nmust: {}", fmt::join(told, ", "), fmt::join(expected, ", "));
  if (accessed.size() != accesses) faults += fmt::format("\n{} accesses, not {}", accessed.size(), accesses);
  const std::string seen = seenText(), known = textOf(ref, filters, flag);
  if (seen != known) faults += fmt::format("\nis:{}\nmust be:{}", seen, known);
  faults += wrongRegister();
  if (!hostile) faults += wronglyActive() + (is.starts_with("result") ? "" : "\n" + is);
  return faults.empty() ? "" : Test::textOf(call) + ":" + faults;
}

}  // namespace

std::string textOf(const Call& call) {
  std::string text =
      fmt::format(fmt::runtime(kOperations[call.operation].text), fmt::arg("acl", kKeys[call.acl]),
                  fmt::arg("intf", fmt::format("e{}", call.intf + 1)), fmt::arg("side", sideOf(call)),
                  fmt::arg("lost", losesAll(call) ? "every interface" : fmt::format("e{}", call.intf + 1)),
                  fmt::arg("action", on(call) ? "permit" : "deny"), fmt::arg("on", on(call) ? "on" : "off"));
  text.erase(text.find_last_not_of(' ') + 1);
  return text + (call.busFails ? fmt::format(", and the bus of e{} fails", call.intf + 1) : "");
}

std::string faultsOf(const std::vector<Call>& calls, bool hostile, Probe* probe) {
  Machine machine;
  if (probe != nullptr) machine.trace.levelIs(probe->traceLevel);
  for (size_t k = 0; k < calls.size(); ++k) {
    Call call = calls[k];
    for (int tries = 1; (call.isOrderly || !hostile) && !isOrderly(machine, call); ++tries) {
      call.acl = uint8_t((call.acl + 1) % kAcls);
      if (tries % kAcls == 0) call.intf = uint8_t((call.intf + 1) % kIntfs);
      if (tries % (kAcls * kIntfs) == 0) call.operation = uint8_t((call.operation + 1) % kOperationCount);
    }
    std::string faults = machine.faultsOf(call, hostile, probe, probe != nullptr && k == probe->call);
    if (!faults.empty()) return faults;
  }
  if (probe != nullptr) probe->isMended = machine.isMended();
  return machine.leftovers();
}

}  // namespace Kestrix::Test
