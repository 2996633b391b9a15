#include "support/CallSequence.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

namespace rc {
template <>
struct Arbitrary<Kestrix::Test::Call> {
  static Gen<Kestrix::Test::Call> arbitrary() {
    using namespace Kestrix::Test;
    const auto below = [](uint8_t end) { return gen::inRange<uint8_t>(0, end); };
    const auto usually = [](size_t weight, Gen<uint8_t> usual, Gen<uint8_t> rest) {
      return gen::weightedOneOf<uint8_t>({{weight, std::move(usual)}, {1, std::move(rest)}});
    };
    const auto one = [](uint8_t number) { return gen::just(number); };
    return gen::build<Call>(
        // What brings an ACL onto an interface more often, what takes all of it away less.
        gen::set(&Call::operation,
                 gen::weightedOneOf<uint8_t>({{6, gen::element<uint8_t>(kAttach, kPrecreate, kRule, kRule, kFinish)},
                                              {1, gen::element<uint8_t>(kDetach, kVerdict, kDropDelay, kDeleteRule)},
                                              {4, below(kOperationCount)}})),
        // Most calls are about a few ACLs on one interface, so that they meet; two of them have the same name.
        gen::set(&Call::acl, usually(3, gen::oneOf(below(3), one(6)), below(kAcls))),
        gen::set(&Call::intf, usually(2, one(0), below(kIntfs))), gen::set(&Call::argument, gen::arbitrary<uint8_t>()),
        gen::set(&Call::busFails, gen::weightedElement<bool>({{5, false}, {1, true}})),
        gen::set(&Call::isOrderly, gen::weightedElement<bool>({{2, false}, {3, true}})));
  }
};
template <>
struct Arbitrary<Kestrix::Test::Slots> {
  static Gen<Kestrix::Test::Slots> arbitrary() {
    return gen::weightedElement<Kestrix::Test::Slots>({{10, {3, 2}}, {10, {5, 4}}, {3, {0, 2}}, {1, {24, 23}}});
  }
};
}  // namespace rc

namespace Kestrix::Test {

static void showValue(const Call& call, std::ostream& os) { os << textOf(call); }
static void showValue(const Slots& slots, std::ostream& os) {
  os << +slots.in << " slots in, " << +slots.out << " out";
}

RC_GTEST_PROP(CallSequence, OfAFrameworkDoesWhatTheReferenceDoes, (const std::vector<Call>& calls, Slots slots)) {
  RC_ASSERT(faultsOf(calls, {.isHostile = false, .slots = slots}) == "");
}
RC_GTEST_PROP(CallSequence, OfAnyOrderStopsWhereTheReferenceStops, (const std::vector<Call>& calls, Slots slots)) {
  RC_ASSERT(faultsOf(calls, {.slots = slots}) == "");
}

namespace {

const std::string kA = "a(ipv4,out)", kB = "b(ipv4,out)", kM = "m(mac,out)", kIngress = "a(ipv4,in)",
                  kNamesake = "a(ipv4,out,1)", kDetachA = "detach a(ipv4,out) from e1; ",
                  kLoseFilter = "lose the filter of e1 in the direction of a(ipv4,out); ";

// The texts of calls, as callsOf reads them, each with "; " behind it.
std::string attaching(const std::string& acl, const std::vector<const char*>& intfs = {"e1"}) {
  std::string text;
  for (const char* intf : intfs) text += fmt::format("attach {} to {}; ", acl, intf);
  return text;
}
std::string ruling(const std::string& acl, size_t rules = 1, const char* rule = "deny source") {
  std::string text = fmt::format("precreate {}; ", acl);
  for (size_t k = 0; k < rules; ++k) text += fmt::format("rule of {}: {}; ", acl, rule);
  return text;
}
std::string finishing(const std::string& acl) { return fmt::format("final rule of {}; ", acl); }
// With one rule, or, of a MAC ACL, with one verdict.
std::string applying(const std::string& acl, const std::vector<const char*>& intfs = {"e1"}) {
  return attaching(acl, intfs) + ruling(acl, 1, acl == kM ? "permit UDP or LLDP" : "deny source") + finishing(acl);
}
std::string applyingMacRules(const std::vector<const char*>& intfs = {"e1"}) {
  return attaching(kM, intfs) + ruling(kM) + finishing(kM);
}

// What random sequences seldom meet, or only in a state where a mistake does not show.
struct RareRow {
  Event event;
  std::string calls;
  Slots slots = {};
};
const RareRow kRare[] = {
    {Event::alreadyActive, applying(kA) + attaching(kA)},
    {Event::precreated, applying(kA) + ruling(kA)},
    {Event::precreatedButHeld, applying(kA) + applying(kB) + ruling(kA)},
    {Event::nameIsShared, applying(kA) + applying(kNamesake) + ruling(kA)},
    {Event::filterOfAnother, applying(kA) + applying(kB) + kDetachA},
    {Event::filterOfAnother, applying(kA) + applying(kNamesake) + kDetachA},
    {Event::ruleRefused, attaching(kA) + ruling(kA) + "rule of a(ipv4,out) that does not fit"},
    {Event::ruleDropped, attaching(kA) + ruling(kA) + "last rule of a(ipv4,out): permit all; " + ruling(kA) +
                             "last rule of a(ipv4,out): deny all; rule of a(ipv4,out): permit"},
    {Event::gapFilled,
     attaching(kA) + ruling(kA, 4) + "rule 2 of a(ipv4,out) deleted by name; " +
         "rule of a(ipv4,out): permit source; " + finishing(kA),
     {24, 23}},
    {Event::written, attaching(kIngress) + ruling(kIngress, 23) + finishing(kIngress), {24, 23}},
    {Event::written, attaching(kIngress) + ruling(kIngress, 24) + finishing(kIngress), {24, 23}},
    {Event::noSlotLeft, attaching(kIngress) + ruling(kIngress, 25) + finishing(kIngress), {24, 23}},
    {Event::noSlotLeft, attaching(kA) + ruling(kA, 24) + finishing(kA), {24, 23}},
    {Event::hasTooManyRules,
     attaching(kA, {"e1", "e2"}) + ruling(kA) + "too many rules of a(ipv4,out), set by name; " + finishing(kA)},
    {Event::conflictsInType, applyingMacRules() + applying(kA)},
    {Event::conflictsInType, applying(kA) + applyingMacRules()},
    {Event::errorsDiffer, applyingMacRules() + attaching(kA, {"e1", "e2"}) + ruling(kA) +
                              "final rule of a(ipv4,out), and the bus of e2 fails"},
    {Event::errorsDiffer, applyingMacRules({"e2"}) + attaching(kA, {"e1", "e2"}) + ruling(kA) +
                              "final rule of a(ipv4,out), and the bus of e1 fails"},
    {Event::joinsRules, applying(kA) + applying(kM) + ruling(kA) + finishing(kA)},
    {Event::leavesTheOther, applying(kA) + applying(kM) + "detach m(mac,out) from e1"},
    {Event::leavesTheOther, applying(kA) + applying(kM) + kDetachA},
    {Event::leavesTheOther, applying(kA) + applying(kM) + "rule of m(mac,out): deny source; " + kDetachA},
    {Event::handedOver, applying(kA) + "detach a(ipv4,out) from e1, which belongs to another"},
    {Event::nothingToClear, attaching(kA) + kDetachA},
    {Event::cleared, applying(kA, {"e1", "e2", "e3"}) + "clean up a(ipv4,out)"},
    {Event::clearFailed, applying(kA, {"e1", "e2"}) + "clean up a(ipv4,out), and the bus of e1 fails"},
    {Event::writeFailed, applying(kA) + "attach a(ipv4,out) to e2, and the bus of e2 fails"},
    {Event::filterLost,
     applying(kA) + "detach a(ipv4,out) from e1, and the bus of e1 fails; " + kLoseFilter + kDetachA},
    {Event::delayFailed, "drop delay on, and the bus of e1 fails"},
    {Event::delayMakesFilter,
     "lose the filter of every interface in the direction of a(ipv4,in); drop delay on; drop delay off"},
    {Event::errorReportedLate, "block e1 on, and the bus of e1 fails; " + applying(kA, {"e2"})},
    {Event::fragmentsOfUnknown, "fragment rule of s(ipv6,out): deny"},
    {Event::detachOfUnknown, kDetachA},
    {Event::ipRuleOfUnknown, "rule of a(ipv4,out): permit"},
    {Event::macRuleOfUnknown, "rule of m(mac,out): permit"},
    {Event::finalOfUnknown, finishing(kA)},
    {Event::destroyOfUnknown, "destroy a(ipv4,out)"},
    {Event::precreateOfUnknown, "precreate a(ipv4,out)"},
    {Event::cleanUpOfUnknown, "clean up a(ipv4,out)"},
    {Event::ipRuleOfMac, attaching(kM) + "precreate m(mac,out); rule of m(mac,out), of the other type"},
    {Event::macRuleOfIp, attaching(kA) + "precreate a(ipv4,out); rule of a(ipv4,out), of the other type"},
    {Event::finalWithoutPrecreate, attaching(kA) + finishing(kA)},
    {Event::writeWithoutFilter, kLoseFilter + applying(kA)},
    {Event::clearWithoutFilter, applying(kA) + kLoseFilter + kDetachA},
};

}  // namespace

TEST(CallSequence, MeetsEveryEventOfTheReference) {
  Census met{};
  for (const auto& [event, calls, slots] : kRare) {
    SCOPED_TRACE(fmt::format("{}: {}", rowOf(event).name, calls));
    const size_t before = met[size_t(event)];
    EXPECT_EQ(faultsOf(callsOf(calls), {.slots = slots, .census = &met}), "");
    EXPECT_GT(met[size_t(event)], before) << "does not happen";
  }
  for (size_t k = 0; k < kEventCount; ++k) EXPECT_GT(met[k], 0u) << "is met by no row: " << rowOf(Event(k)).name;
}

// Fails every access, and every two in a row, of a call that reaches the bus: all accesses are still made, the outcome
// is the reference's, and the calls after it mend the device.
TEST(CallSequence, KeepsItsWordAtEveryFailureOfTheBus) {
  const std::vector<const char*> all{"e1", "e2", "e3"};
  const std::string made = applying(kA, all), shared = made + applying(kM, all);
  const struct {
    std::string before, probed, mends;
  } scenarios[] = {
      {attaching(kA) + ruling(kA), finishing(kA), attaching(kA)},
      {attaching(kA, all) + ruling(kA), finishing(kA), attaching(kA, all)},
      {attaching(kIngress, all) + ruling(kIngress), finishing(kIngress), attaching(kIngress, all)},
      {applying(kA), "attach a(ipv4,out) to e3", "attach a(ipv4,out) to e3"},
      {made + attaching(kM, all) + ruling(kM, 1, "permit UDP or LLDP"), finishing(kM), attaching(kM, all)},
      {shared + ruling(kA), finishing(kA), attaching(kA, all)},
      {made, "detach a(ipv4,out) from e2", "detach a(ipv4,out) from e2"},
      {shared, "detach a(ipv4,out) from e3", "detach a(ipv4,out) from e3"},
      {made, "clean up a(ipv4,out)", applyingMacRules(all)},
      {made, "drop delay on", "drop delay on"},
      {made, "block e1 on", "detach a(ipv4,out) from e1; detach a(ipv4,out) from e1"},
  };
  for (const auto& [before, probed, mends] : scenarios) {
    SCOPED_TRACE(before + probed);
    std::vector<Call> calls = callsOf(before);
    Probe good{.call = calls.size()};
    for (const std::string& more : {probed, mends}) std::ranges::copy(callsOf(more), std::back_inserter(calls));
    ASSERT_EQ(faultsOf(calls, {.isHostile = false, .probe = &good}), "");
    ASSERT_FALSE(good.accesses.empty());
    for (size_t k = 0; k < good.accesses.size(); ++k) {
      for (const std::set<size_t>& failAt : {std::set{k}, std::set{k, k + 1}}) {
        SCOPED_TRACE(fmt::format("from access {} on: {}", k, failAt.size()));
        Probe probe{.call = good.call, .failAt = failAt};
        ASSERT_EQ(faultsOf(calls, {.isHostile = false, .probe = &probe}), "");
        ASSERT_EQ(probe.accesses, good.accesses);
        ASSERT_TRUE(probe.isMended);
      }
    }
  }
}

}  // namespace Kestrix::Test
