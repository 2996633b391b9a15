#include "support/CallSequence.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <memory>
#include <ranges>

#include "hw/FilterRegisters.h"
#include "instance/AclHelperInstanceConfigSm.h"

namespace Kestrix::Test {
namespace {

std::shared_ptr<Content> contentOf(const Ptr<BaseAcl>& acl) {
  if (!acl) return nullptr;
  const auto content = std::make_shared<Content>(Content{
      .key = acl->key(), .isIp = false, .rules = acl->rule(), .side = acl->srcOrDst(), .permitAny = acl->permitAny()});
  if (const auto* ip = dynamic_cast<const IpAcl*>(acl.get())) {
    content->isIp = true;
    content->l4 = ip->l4();
  }
  if (const auto* mac = dynamic_cast<const MacAcl*>(acl.get())) {
    if (mac->arp()) content->permitArp = mac->permitArp();
    if (mac->lldp()) content->permitLldp = mac->permitLldp();
  }
  return content;
}

// The library on its rig, beside the reference.
struct Machine : Rig {
  Machine(Slots slots, Census& census) : must(slots, census) {
    build(slots.in, slots.out);
    for (const IntfId intf : intfs) vcsd->intfIs(intf, true);
    for (const IntfId intf : {e1, e2}) status->downstreamIntfStatusIs(intf);
    for (const AclKey& key : kKeys) {
      data.push_back(make<AclData>(key));
      data.back()->activeIntfIs(e1);
    }
    for (const auto direction : {kIn, kOut}) helper->shadowFilters(direction)->shadowFilterDelAll();
    reactor = aclHelperInstanceConfigSmFactory(config, status, vcsd, helper);
    log.clear();
    transport->onAccess = [this] { shows(log.back().substr(0, log.back().find('/', log.back().find('/') + 1))); };
    listener->onCall = [this](const std::string& call) { shows(call); };
    onTrace = [this] {
      if (log.back().starts_with("0 ")) shows(log.back());
    };
  }

  // --- What is read from the library ---

  void shows(const std::string& what) {
    is.add(what, [this] {
      Moment now;
      for (size_t a = 0; a < kAcls; ++a) {
        for (size_t i = 0; i < kIntfs; ++i) now.states[a][i] = statesOf(helper->allShadowAcl(kKeys[a]), i);
      }
      now.delays = {status->downstreamIntfStatus(e1)->aclDropDelay(), status->downstreamIntfStatus(e2)->aclDropDelay(),
                    false, status->aclDropDelay()};
      return now;
    });
  }
  uint8_t statesOf(const Ptr<ShadowAcl>& shadow, size_t i) const {
    if (!shadow) return 0;
    return uint8_t(shadow->applyingIntf(intfs[i]) * kApplying + shadow->activeIntf(intfs[i]) * kActive +
                   shadow->deletingIntf(intfs[i]) * kDeleting + shadow->errorIntf().contains(intfs[i]) * kErrored);
  }
  Ptr<ShadowFilter> filterOf(bool in, size_t i) const {
    const auto& filters = helper->shadowFilters(in ? kIn : kOut);
    return filters ? filters->shadowFilter(intfs[i]) : nullptr;
  }
  Everything everything() const {
    Everything seen{.flag = transport->error().error()};
    for (size_t a = 0; a < kAcls; ++a) {
      const auto shadow = helper->allShadowAcl(kKeys[a]);
      if (!shadow) continue;
      AclState& state = seen.acls[a];
      state = {.exists = true, .isFinal = shadow->aclRulesFinalized(), .content = contentOf(shadow->acl().base())};
      for (size_t i = 0; i < kIntfs; ++i) {
        state.states[i] = statesOf(shadow, i);
        state.errors[i] = {shadow->errorIntf(intfs[i]).value_or(kNoError), shadow->intfRefusal(intfs[i])};
      }
    }
    for (const bool in : {false, true}) {
      for (size_t i = 0; i < kIntfs; ++i) {
        const auto filter = filterOf(in, i);
        seen.filters[in][i] = {.exists = filter != nullptr};
        if (!filter) continue;
        seen.filters[in][i] = {.isIp = filter->ruleType() == kIpv4,
                               .delay = filter->delay(),
                               .permitAny = filter->permitAny(),
                               .rules = filter->rule(),
                               .side = filter->srcOrDst(),
                               .ip = contentOf(filter->ipAcl()),
                               .mac = contentOf(filter->macAcl())};
      }
    }
    return seen;
  }

  // A register of the device that is not as the shadow filter has it, where no write has failed since.
  std::string wrongRegister() const {
    Lines unused;
    const auto image = make<FakeTransport>(unused);
    const auto writer = aclHelperFactory(image, helper->intfMap(), must.slots.in, must.slots.out, vcsd);
    for (const bool in : {false, true}) {
      for (size_t i = 0; i < kIntfs; ++i) {
        const auto filter = filterOf(in, i);
        if (!filter) continue;
        if (filter->maxRules() != (in ? must.slots.in : must.slots.out)) return "\nwrong: maxRules";
        image->registers.clear();
        writer->regWriteHelper(filter->genRegisters(), intfs[i], in ? kIn : kOut, false);
        const FilterState& known = must.filters[in][i];
        for (const auto& [name, value] : image->registers) {
          if (!(name.ends_with("/enable") ? known.isEnableExact : known.isExact)) continue;
          const auto found = transport->registers.find(name);
          if ((found == transport->registers.end() ? 0 : found->second) != value) return "\nwrong: " + name;
        }
      }
    }
    return "";
  }
  // What outlives the helper, though nothing needs it.
  std::string leftovers() {
    std::set<Ptr<Platform::Entity>> owners, contents;
    for (const auto& [key, shadow] : helper->allShadowAcl()) {
      owners.insert(shadow);
      contents.insert(shadow->acl().base());
    }
    for (const bool in : {false, true}) {
      for (size_t i = 0; i < kIntfs; ++i) {
        const auto filter = filterOf(in, i);
        if (!filter) continue;
        owners.insert(filter);
        contents.insert({filter->ipAcl(), filter->macAcl()});
      }
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

  // --- What calls are made of ---

  AclCreateError addRule(const Call& call, bool isIpRule, const Shape& shape, Acl::Action action) {
    const auto numbered = [this](const char* text) { return fmt::format(fmt::runtime(text), must.mark); };
    const std::string ip = numbered(shape.ip.given), mac = numbered(shape.mac.given);
    SubruleFields ipRule{.action = action, .proto = shape.ip.proto};
    MacFields macRule{.action = action, .ethType = shape.mac.ethType};
    const bool isSource = shape.side == SrcOrDst::source;
    (isSource ? ipRule.src : ipRule.dst) = ip.c_str();
    if (shape.ip.hasPort) (isSource ? ipRule.srcPort : ipRule.dstPort) = must.mark;
    (isSource ? macRule.src : macRule.dst) = mac.c_str();
    return isIpRule ? translate(data[call.acl], ipRule) : translateMac(data[call.acl], macRule);
  }
  Ptr<BaseAcl> contentOfAcl(const Call& call) const {
    const auto shadow = helper->allShadowAcl(kKeys[call.acl]);
    return shadow ? shadow->acl().base() : nullptr;
  }
  Platform::IntfPairKey pairOf(const Call& call) const { return {.intf = intfs[call.intf]}; }

  // --- The order in which a pass visits interfaces: that of the collection of the library ---

  template <class Collection>
  Reference::Order orderOf(const Collection& collection) const {
    Reference::Order order;
    for (const auto& intf : collection) order.push_back(size_t(std::ranges::find(intfs, intf) - intfs.begin()));
    return order;
  }
  // Of what `list` gives of the ACL, where it is known, once `also` is in it.
  Reference::Order orderOf(const Call& call, const Platform::Set<IntfId>& (ShadowAcl::*list)() const,
                           std::optional<IntfId> also = {}) const {
    const auto shadow = helper->allShadowAcl(kKeys[call.acl]);
    Platform::Set<IntfId> set;
    if (shadow) set = (shadow.get()->*list)();
    if (also) set.insert(*also);
    return orderOf(set);
  }
  Reference::Order cleanUpOrder(const Call& call) const {
    const auto shadow = helper->allShadowAcl(kKeys[call.acl]);
    if (!shadow) return {};
    Platform::Set<IntfId> all = shadow->deletingIntf();
    for (const IntfId intf : shadow->activeIntf()) all.insert(intf);
    for (const IntfId intf : shadow->applyingIntf()) all.insert(intf);
    for (const auto& [intf, error] : shadow->errorIntf()) all.insert(intf);
    return orderOf(all);
  }

  std::string faultsOf(const Call& call, const Setting& setting, bool isProbed);

  const std::vector<IntfId> intfs{e1, e2, e3};
  std::vector<Ptr<AclData>> data;
  const Ptr<Platform::InstanceConfig> config = make<Platform::InstanceConfig>();
  const Ptr<Platform::InstanceStatus> status = make<Platform::InstanceStatus>();
  Ptr<AclHelperInstanceConfigSm> reactor;
  Transcript is;
  Reference must;
};

// --- The calls ---

// When a framework makes a call.
enum class When : uint8_t { always, isUnclaimed, exists, isTranslating, isOnIntf, never };

// What an operation takes, in the order of the numbers of its arguments.
bool isOn(const Call& call) { return call.argument % 2 == 0; }
Acl::Action actionOf(const Call& call) { return call.argument % 2 == 0 ? kPermit : kDeny; }
bool isPermit(const Call& call) { return actionOf(call) == kPermit; }
const Shape& shapeOf(const Call& call) { return kShapes[call.argument / 2 % std::size(kShapes)]; }
bool losesAll(const Call& call) { return call.argument == 1; }
constexpr uint8_t kRules = 2 * std::size(kShapes);

using M = Machine;
using C = const Call&;
// What makes a call, and returns its result: noError where it has none.
struct CallStep {
  template <class Make>
  constexpr CallStep(Make)
      : make([](M& m, C call) {
          if constexpr (std::is_void_v<decltype(Make()(m, call))>) {
            Make()(m, call);
            return kNoError;
          } else {
            return Make()(m, call);
          }
        }) {}
  AclCreateError (*make)(M&, C);
};
struct OperationRow {
  const char* text;
  uint8_t arguments;  // How many there are.
  When when;
  CallStep reference, real;
};
const OperationRow kOperations[] = {
    {"attach {acl} to {intf}", 1, When::isUnclaimed,
     [](M& m, C c) { return m.must.attach(c.acl, c.intf, m.orderOf(c, &ShadowAcl::applyingIntf, m.intfs[c.intf])); },
     [](M& m, C c) { return m.helper->addIntfToAcl(m.pairOf(c), m.data[c.acl], nullptr); }},
    {"precreate {acl}", 1, When::exists, [](M& m, C c) { return m.must.precreate(c.acl); },
     [](M& m, C c) { return m.helper->precreateAcl(m.data[c.acl], nullptr); }},
    {"rule of {acl}: {action} {shape}", kRules, When::isTranslating,
     [](M& m, C c) { return m.must.addRule(c.acl, isIp(c.acl), shapeOf(c), isPermit(c)); },
     [](M& m, C c) { return m.addRule(c, isIp(c.acl), shapeOf(c), actionOf(c)); }},
    {"last rule of {acl}: {action} all", 2, When::isTranslating,
     [](M& m, C c) { return m.must.addRule(c.acl, isIp(c.acl), kVerdictShape, isPermit(c)); },
     [](M& m, C c) { return m.addRule(c, isIp(c.acl), kVerdictShape, actionOf(c)); }},
    {"fragment rule of {acl}: {action}", 2, When::isTranslating,
     [](M& m, C c) { return m.must.addFragments(c.acl, isPermit(c)); },
     [](M& m, C c) { return m.helper->createIpFragRule(m.data[c.acl], {actionOf(c), {}}, {}, 5, 6); }},
    {"rule of {acl} that does not fit", 1, When::isTranslating,
     [](M& m, C c) { return m.must.addRule(c.acl, isIp(c.acl), kRefusedShape, isPermit(c)); },
     [](M& m, C c) { return m.addRule(c, isIp(c.acl), kRefusedShape, actionOf(c)); }},
    {"final rule of {acl}", 1, When::isTranslating,
     [](M& m, C c) { return m.must.finish(c.acl, m.orderOf(c, &ShadowAcl::applyingIntf)); },
     [](M& m, C c) { return m.finish(m.data[c.acl]); }},
    {"detach {acl} from {intf}", 1, When::isOnIntf,
     [](M& m, C c) { return m.must.detach(c.acl, c.intf, m.orderOf(c, &ShadowAcl::deletingIntf, m.intfs[c.intf])); },
     [](M& m, C c) { return m.helper->removeIntfFromAcl(m.pairOf(c), m.data[c.acl], false); }},
    {"detach {acl} from {intf}, which belongs to another", 1, When::isOnIntf,
     [](M& m, C c) { return m.must.handOver(c.acl, c.intf); },
     [](M& m, C c) { return m.helper->removeIntfFromAcl(m.pairOf(c), m.data[c.acl], true); }},
    {"destroy {acl}", 1, When::exists, [](M& m, C c) { return m.must.destroy(c.acl); },
     [](M& m, C c) { m.helper->destroyAcl(m.data[c.acl]); }},
    {"clean up {acl}", 1, When::exists, [](M& m, C c) { return m.must.cleanUp(c.acl, m.cleanUpOrder(c)); },
     [](M& m, C c) { m.helper->cleanupAcl(m.data[c.acl]); }},
    {"drop delay {on}", 2, When::always,
     [](M& m, C c) { return m.must.delay(isOn(c), m.orderOf(std::views::keys(m.vcsd->intf()))); },
     [](M& m, C c) { m.config->aclDropDelayIs(isOn(c)); }},
    {"block {intf} {on}", 2, When::always, [](M& m, C c) { return m.must.block(c.intf, isOn(c)); },
     [](M& m, C c) { m.helper->blockIntf(m.intfs[c.intf], isOn(c), 0); }},
    // What no framework does.
    {"rule of {acl}, of the other type", 1, When::never,
     [](M& m, C c) { return m.must.addRule(c.acl, !isIp(c.acl), shapeOf(c), isPermit(c)); },
     [](M& m, C c) { return m.addRule(c, !isIp(c.acl), shapeOf(c), actionOf(c)); }},
    {"too many rules of {acl}, set by name", 1, When::never, [](M& m, C c) { return m.must.overfill(c.acl); },
     [](M& m, C c) {
       const auto content = m.contentOfAcl(c);
       for (uint8_t key = 0; content && key <= m.must.slots.of(c.acl); ++key) content->ruleIs(AclRule(key));
     }},
    {"rule {slot} of {acl} deleted by name", 3, When::never,
     [](M& m, C c) { return m.must.deleteRule(c.acl, c.argument); },
     [](M& m, C c) {
       if (const auto content = m.contentOfAcl(c)) content->ruleDel(c.argument);
     }},
    {"tear down {on}", 2, When::never, [](M& m, C c) { m.must.isDestroying = isOn(c); },
     [](M& m, C c) { byName(*m.helper).set("destroying", isOn(c)); }},
    {"switch ingress off {on}", 2, When::never, [](M& m, C c) { m.must.isIngressSupported = !isOn(c); },
     [](M& m, C c) { byName(*m.helper).set("ingressAclsSupported", !isOn(c)); }},
    {"lose the filter of {lost} in the direction of {acl}", 2, When::never,
     [](M& m, C c) {
       for (size_t i = 0; i < kIntfs; ++i) {
         if (losesAll(c) || i == c.intf) m.must.filters[isIn(c.acl)][i] = {.exists = false};
       }
     },
     [](M& m, C c) {
       const auto filters = m.helper->shadowFilters(kKeys[c.acl].direction);
       if (filters) filters->shadowFilterDel(m.intfs[c.intf]);
       if (losesAll(c)) isIn(c.acl) ? m.helper->inShadowFilterDel() : m.helper->outShadowFilterDel();
     }},
};
static_assert(std::size(kOperations) == kOperationCount);

// Whether a framework would make the call now.
bool isOrderly(const Reference& reference, const Call& call) {
  const AclState& acl = reference.acls[call.acl];
  switch (kOperations[call.operation].when) {
    case When::always:
      return true;
    case When::isUnclaimed:  // It keeps ACLs of one type and direction apart.
      for (size_t a = 0; a < kAcls; ++a) {
        const bool isRival = kKeys[a].type == kKeys[call.acl].type && isIn(a) == isIn(call.acl);
        if (a != call.acl && isRival && reference.has(a, call.intf, kAnyState)) return false;
      }
      return true;
    case When::exists:
      return acl.exists;
    case When::isTranslating:
      return acl.content && !acl.isFinal;
    case When::isOnIntf:
      return reference.has(call.acl, call.intf, kAnyState);
    case When::never:
      break;
  }
  return false;
}

// The call, or the next one that a framework would make now.
Call orderly(const Reference& reference, Call call) {
  for (int tries = 1; !isOrderly(reference, call); ++tries) {
    call.acl = uint8_t((call.acl + 1) % kAcls);
    if (tries % kAcls == 0) call.intf = uint8_t((call.intf + 1) % kIntfs);
    if (tries % (kAcls * kIntfs) == 0) call.operation = uint8_t((call.operation + 1) % kOperationCount);
  }
  return call;
}

std::string Machine::faultsOf(const Call& call, const Setting& setting, bool isProbed) {
  must.mark = uint16_t(must.mark % 99 + 1);
  must.failAt = isProbed ? setting.probe->failAt : std::set<size_t>();
  must.failingIntf.reset();
  if (call.busFails) must.failingIntf = call.intf;
  must.accesses = 0;
  must.transcript = is = {};
  transport->failAt = must.failAt;
  transport->fails = call.busFails ? fmt::format("[{}]", call.intf + 3) : "";
  transport->accesses = 0;
  log.clear();

  const auto outcomeOf = [&](const CallStep& step) {
    try {
      return fmt::format("result {}", int(step.make(*this, call)));
    } catch (const Inconsistent& failure) {
      return std::string(rowOf(failure.event).failure);
    } catch (const Platform::ConsistencyError& failure) {
      return std::string(failure.what());
    }
  };
  const OperationRow& operation = kOperations[call.operation];
  const std::string outcomeMust = outcomeOf(operation.reference), outcomeIs = outcomeOf(operation.real);

  if (Probe* const probe = setting.probe) {
    probe->log.push_back("> " + Test::textOf(call));
    probe->log.insert(probe->log.end(), log.begin(), log.end());
    if (isProbed) {
      std::ranges::copy_if(log, std::back_inserter(probe->accesses),
                           [](const std::string& line) { return line.starts_with("msp"); });
    }
  }
  const auto difference = [](const std::string& of, const std::string& isText, const std::string& mustText) {
    return isText == mustText ? "" : fmt::format("\n{} is: {}\n{} must be: {}", of, isText, of, mustText);
  };
  std::string faults = difference("outcome", outcomeIs, outcomeMust);
  if (is.lines != must.transcript.lines)
    faults += difference("accessed and told", Test::textOf(is), Test::textOf(must.transcript));
  faults += difference("state", Test::textOf(everything()), Test::textOf(static_cast<const Everything&>(must)));
  if (transport->accesses != 0) faults += wrongRegister();
  if (!setting.isHostile && !outcomeIs.starts_with("result")) faults += "\nfailed in a framework's order: " + outcomeIs;
  return faults.empty() ? "" : Test::textOf(call) + ":" + faults;
}

}  // namespace

std::string textOf(const Call& call) {
  const std::string intf = fmt::format("e{}", call.intf + 1);
  std::string text =
      fmt::format(fmt::runtime(kOperations[call.operation].text), fmt::arg("acl", kKeys[call.acl]),
                  fmt::arg("intf", intf), fmt::arg("shape", shapeOf(call).name),
                  fmt::arg("lost", losesAll(call) ? "every interface" : intf), fmt::arg("slot", call.argument),
                  fmt::arg("action", isPermit(call) ? "permit" : "deny"), fmt::arg("on", isOn(call) ? "on" : "off"));
  text.erase(text.find_last_not_of(' ') + 1);
  if (call.busFails) text += fmt::format(", and the bus of {} fails", intf);
  return text;
}

std::vector<Call> callsOf(const std::string& texts) {
  static const auto kCalls = [] {
    std::map<std::string, Call> calls;
    for (Call call; call.operation < kOperationCount; ++call.operation) {
      for (call.acl = 0; call.acl < kAcls; ++call.acl) {
        for (call.intf = 0; call.intf < kIntfs; ++call.intf) {
          for (call.argument = 0; call.argument < kOperations[call.operation].arguments; ++call.argument) {
            for (const bool fails : {false, true}) {
              call.busFails = fails;
              calls.emplace(textOf(call), call);
            }
          }
        }
      }
    }
    return calls;
  }();
  std::vector<Call> sequence;
  for (size_t begin = 0; begin < texts.size();) {
    const size_t end = std::min(texts.find("; ", begin), texts.size());
    sequence.push_back(kCalls.at(texts.substr(begin, end - begin)));
    begin = end + 2;
  }
  return sequence;
}

std::string faultsOf(const std::vector<Call>& calls, const Setting& setting) {
  Census unused{};
  Machine machine(setting.slots, setting.census != nullptr ? *setting.census : unused);
  Probe* const probe = setting.probe;
  if (probe != nullptr) machine.trace.levelIs(probe->traceLevel);
  for (size_t k = 0; k < calls.size(); ++k) {
    Call call = calls[k];
    if (call.isOrderly || !setting.isHostile) call = orderly(machine.must, call);
    call.argument = uint8_t(call.argument % kOperations[call.operation].arguments);
    std::string faults = machine.faultsOf(call, setting, probe != nullptr && k == probe->call);
    if (!faults.empty()) return faults;
  }
  if (probe != nullptr) probe->isMended = machine.must.isMended();
  return machine.leftovers();
}

}  // namespace Kestrix::Test
