#include "simulate/AceChanges.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "sim/Random.h"

namespace Sim {
namespace {

// An ACE for each character, by the name of its lower case; a rule that is in upper case is another one.
AclConfiguration aclOf(std::string_view aces) {
  AclConfiguration acl;
  for (const char c : aces) {
    const bool isUpper = c >= 'A' && c <= 'Z';
    acl.aces.push_back({std::string(1, isUpper ? static_cast<char>(c - 'A' + 'a') : c), ForeignRule()});
    if (isUpper) acl.aces.back().rule = UnreadRule();
  }
  return acl;
}

// A few ACEs of six, in any order.
std::string randomAces(Random& random) {
  std::string aces;
  for (const char c : std::string_view("abcdef")) {
    if (random.below(4) == 0) continue;
    const char cased = random.below(4) == 0 ? static_cast<char>(c - 'a' + 'A') : c;
    aces.insert(aces.begin() + static_cast<std::ptrdiff_t>(random.below(aces.size() + 1)), cased);
  }
  return aces;
}

// How many of the ACEs in both can stay at most, by trying all choices.
size_t mostThatStay(const AclConfiguration& before, const AclConfiguration& after) {
  size_t most = 0;
  for (unsigned chosen = 0; chosen < 1U << 6U; ++chosen) {
    std::string names[2];
    for (const Ace& ace : before.aces) names[0] += ace.name;
    for (const Ace& ace : after.aces) names[1] += ace.name;
    for (std::string& each : names)
      std::erase_if(each, [&](char c) { return (chosen >> static_cast<unsigned>(c - 'a') & 1U) == 0; });
    if (names[0] == names[1]) most = std::max(most, names[0].size());
  }
  return most;
}

TEST(AceChanges, LeadFromOneAclToTheOtherByTheFewestMoves) {
  using enum AceChangeKind;
  Random random(1);
  for (int i = 0; i < 2000; ++i) {
    const AclConfiguration before = aclOf(randomAces(random)), after = aclOf(randomAces(random));
    const auto changes = aceChanges(before, after);
    std::vector<Ace> aces = before.aces;
    size_t beforeLast = 0, afterLast = 0;  // They are told in the order of both ACLs.
    for (const AceChange& each : changes) {
      size_t& last = each.kind == removed ? beforeLast : afterLast;
      const size_t previous = std::exchange(last, *(each.kind == removed ? each.before : each.after));
      EXPECT_LT(previous, last);
      if (each.kind == changed) *std::ranges::find(aces, each.name, &Ace::name) = after.aces.at(*each.after - 1);
      if (each.kind == changed || each.kind == added) continue;
      EXPECT_EQ(std::erase(aces, before.aces.at(*each.before - 1)), 1u) << each.name;
    }
    EXPECT_EQ(aces.size(), mostThatStay(before, after));
    for (const AceChange& each : changes) {
      if (each.kind == removed || each.kind == changed) continue;
      const Ace& ace = each.kind == moved ? before.aces.at(*each.before - 1) : after.aces.at(*each.after - 1);
      aces.insert(aces.begin() + static_cast<std::ptrdiff_t>(*each.after - 1), ace);
    }
    EXPECT_EQ(aces, after.aces);
  }
}

}  // namespace
}  // namespace Sim
