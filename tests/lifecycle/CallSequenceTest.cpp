#include "support/CallSequence.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

namespace rc {
template <>
struct Arbitrary<Kestrix::Test::Call> {
  static Gen<Kestrix::Test::Call> arbitrary() {
    using Kestrix::Test::Call;
    const auto below = [](uint8_t end) { return gen::inRange<uint8_t>(0, end); };
    // Most calls are about a few ACLs on one interface, so that they meet.
    return gen::build<Call>(
        gen::set(&Call::operation, below(Kestrix::Test::kOperationCount)),
        gen::set(&Call::acl, gen::weightedOneOf<uint8_t>({{3, below(3)}, {1, below(Kestrix::Test::kAcls)}})),
        gen::set(&Call::intf,
                 gen::weightedOneOf<uint8_t>({{1, gen::just<uint8_t>(0)}, {1, below(Kestrix::Test::kIntfs)}})),
        gen::set(&Call::argument, below(6)),
        gen::set(&Call::busFails, gen::weightedElement<bool>({{5, false}, {1, true}})),
        gen::set(&Call::isOrderly, gen::weightedElement<bool>({{1, false}, {3, true}})));
  }
};
}  // namespace rc

namespace Kestrix::Test {

static void showValue(const Call& call, std::ostream& os) { os << textOf(call); }

RC_GTEST_PROP(CallSequence, OfAFrameworkDoesWhatTheReferenceDoes, (const std::vector<Call>& calls)) {
  RC_ASSERT(faultsOf(calls, {.isHostile = false}) == "");
}
RC_GTEST_PROP(CallSequence, OfAnyOrderStopsWhereTheReferenceStops, (const std::vector<Call>& calls)) {
  RC_ASSERT(faultsOf(calls, {}) == "");
}

// Fails every access, and every two in a row, of a call that reaches the bus: all accesses are still made, the outcome
// is the reference's, and the calls after it mend the device.
TEST(CallSequence, KeepsItsWordAtEveryFailureOfTheBus) {
  const uint8_t a = 0, m = 1, in = 4;
  const auto joined = [](std::vector<Call> calls, const std::vector<Call>& more) {
    calls.insert(calls.end(), more.begin(), more.end());
    return calls;
  };
  const auto onAll = [](uint8_t operation, uint8_t acl) {
    return std::vector<Call>{{operation, acl, 0}, {operation, acl, 1}, {operation, acl, 2}};
  };
  const auto rulesOf = [](uint8_t acl) { return std::vector<Call>{{kPrecreate, acl}, {kRule, acl, 0, 1}}; };
  const auto ready = [&](uint8_t acl) { return joined(onAll(kAttach, acl), rulesOf(acl)); };
  const auto made = [&](uint8_t acl) { return joined(ready(acl), {{kFinish, acl}}); };
  const auto verdict = joined(joined(made(a), onAll(kAttach, m)), {{kPrecreate, m}, {kVerdict, m}});
  const auto shared = joined(verdict, {{kFinish, m}});
  const struct {
    const char* name;
    std::vector<Call> before;
    Call probed;
    std::vector<Call> mends;
  } scenarios[] = {
      {"attach one", joined({{kAttach, a}}, rulesOf(a)), {kFinish, a}, {{kAttach, a}}},
      {"attach several", ready(a), {kFinish, a}, onAll(kAttach, a)},
      {"ingress", ready(in), {kFinish, in}, onAll(kAttach, in)},
      {"attach to one more",
       joined(joined({{kAttach, a}}, rulesOf(a)), {{kFinish, a}}),
       {kAttach, a, 2},
       {{kAttach, a, 2}}},
      {"share", verdict, {kFinish, m}, onAll(kAttach, m)},
      {"change", joined(shared, rulesOf(a)), {kFinish, a}, onAll(kAttach, a)},
      {"detach", made(a), {kDetach, a, 1}, {{kDetach, a, 1}}},
      {"leave to the other", shared, {kDetach, a, 2}, {{kDetach, a, 2}}},
      {"clean up", made(a), {kCleanUp, a}, made(m)},
      {"drop delay", made(a), {kDropDelay}, {{kDropDelay}}},
      {"block", made(a), {kBlock}, {{kDetach, a}, {kDetach, a}}},
  };
  for (const auto& [name, before, probed, mends] : scenarios) {
    const auto calls = joined(joined(before, {probed}), mends);
    Probe good{.call = before.size()};
    ASSERT_EQ(faultsOf(calls, {.isHostile = false, .probe = &good}), "") << name;
    ASSERT_FALSE(good.accesses.empty()) << name;
    for (size_t k = 0; k < good.accesses.size(); ++k) {
      for (const std::set<size_t>& failAt : {std::set{k}, std::set{k, k + 1}}) {
        SCOPED_TRACE(fmt::format("{}, from access {} on: {}", name, k, failAt.size()));
        Probe probe{.call = before.size(), .failAt = failAt};
        ASSERT_EQ(faultsOf(calls, {.isHostile = false, .probe = &probe}), "");
        ASSERT_EQ(probe.accesses, good.accesses);
        ASSERT_TRUE(probe.isMended);
      }
    }
  }
}

}  // namespace Kestrix::Test
