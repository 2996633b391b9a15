#include "verdict/Classifier.h"

#include <algorithm>
#include <utility>

namespace Sim {
namespace {

constexpr FieldPlace placeOf(Field field) { return kFieldPlaces[static_cast<size_t>(field)]; }

constexpr uint64_t maskOf(Field field) { return ((uint64_t{1} << widthOf(field)) - 1) << placeOf(field).shift; }

void add(PacketWords& words, const PacketWords& more) {
  for (size_t i = 0; i < words.size(); ++i) words[i] |= more[i];
}

std::vector<PacketSet> setsOf(const auto& verdicts) {
  std::vector<PacketSet> sets;
  sets.reserve(verdicts.size());
  for (const auto& each : verdicts) sets.push_back(each.matched);
  return sets;
}

}  // namespace

PacketWords knownBits(FieldSet unknown) {
  PacketWords known;
  known.fill(~uint64_t{0});
  for (const FieldRow& row : kFields) {
    if (unknown.contains(row.field)) known[placeOf(row.field).word] &= ~maskOf(row.field);
  }
  return known;
}

// Makes tests of the diagram of one set.
class Compiler {
 public:
  // Packets that are not in the set go on at `otherwise`.
  Compiler(const PacketSet& set, uint32_t number, int32_t otherwise, std::vector<Program::Test>& tests)
      : diagram_(set.diagram()),
        isIn_(~static_cast<int32_t>(number)),
        otherwise_(otherwise),
        known_(diagram_.nodes.size()),
        tests_(tests) {}

  int32_t start() { return compile(diagram_.start); }

 private:
  // Nodes, one after the other, that all leave to the same place unless their bits of one word have the value.
  struct Chain {
    Program::Test test;
    int32_t next = 0;   // In the diagram,
    int32_t other = 0;  // as well.
    size_t length = 0;
  };

  Chain chainOf(int32_t at, int32_t other) const {
    Chain chain{.test = {.word = placeOf(diagram_.nodes[at].field).word}, .next = at, .other = other};
    while (chain.next >= 0) {
      const PacketSet::Node& node = diagram_.nodes[chain.next];
      const auto [word, shift] = placeOf(node.field);
      if (word != chain.test.word || (node.ifClear != other && node.ifSet != other)) break;
      const uint64_t bit = uint64_t{1} << (shift + node.bit);
      chain.test.mask |= bit;
      if (node.ifClear == other) chain.test.value |= bit;
      chain.next = node.ifClear == other ? node.ifSet : node.ifClear;
      ++chain.length;
    }
    return chain;
  }

  int32_t compile(int32_t at) {
    if (at == PacketSet::kEach) return isIn_;
    if (at == PacketSet::kNone) return otherwise_;
    if (known_[at]) return *known_[at];
    const PacketSet::Node& node = diagram_.nodes[at];
    const Chain one = chainOf(at, node.ifClear), two = chainOf(at, node.ifSet);
    Chain longer = one.length >= two.length ? one : two;
    longer.test.next = compile(longer.next);
    longer.test.other = compile(longer.other);
    tests_.push_back(longer.test);
    return *(known_[at] = static_cast<int32_t>(tests_.size()) - 1);
  }

  PacketSet::Diagram diagram_;
  int32_t isIn_;
  int32_t otherwise_;
  std::vector<std::optional<int32_t>> known_;  // Of each node, the test that begins there.
  std::vector<Program::Test>& tests_;
};

Program::Program(const std::vector<PacketSet>& sets) {
  // The last one first: those before it go on there.
  for (size_t i = sets.size(); i-- > 0;) start_ = Compiler(sets[i], static_cast<uint32_t>(i), start_, tests_).start();
}

std::optional<uint32_t> Program::first(const PacketWords& packet, const PacketWords& known) const {
  int32_t at = start_;
  while (at >= 0) {
    const Test& test = tests_[static_cast<size_t>(at)];
    const uint64_t otherBits = (packet[test.word] ^ test.value) & test.mask;
    if ((otherBits & known[test.word]) != 0) {
      at = test.other;
    } else if ((test.mask & ~known[test.word]) != 0) {
      return {};
    } else {
      at = test.next;
    }
  }
  return static_cast<uint32_t>(~at);
}

PacketWords Program::compared() const {
  PacketWords words{};
  for (const Test& test : tests_) words[test.word] |= test.mask;
  return words;
}

Classifier::AclProgram Classifier::programOf(const AclConfiguration& acl, const Readings& readings) {
  const auto verdicts = verdictsOf(acl, readings);
  std::vector<bool> permits;
  for (const AceVerdict& each : verdicts) {
    if (each.ace != nullptr) permits.push_back(each.permits);
  }
  permits.push_back(false);
  return {&acl, permits, Program(setsOf(verdicts))};
}

Classifier::Classifier(const FilterDump& filter, Acls acls, const Readings& readings)
    : isByFrame_(acls.size() > 1 && readings.isOther(Reading::twoAcls)), filter_(setsOf(verdictsOf(filter, readings))) {
  for (const AclConfiguration* const& acl : acls) acls_.push_back(programOf(*acl, readings));
  const auto verdicts = verdictsOf(filter, readings);
  for (const FilterVerdict& each : verdicts) parts_.push_back({each.permits, each.part, each.slot});
}

bool Classifier::classify(const PacketWords& packet, const PacketWords& known, Found& found) const {
  constexpr FieldPlace kType = placeOf(Field::etherType);
  constexpr uint64_t kTypeMask = maskOf(Field::etherType);
  const bool isIpv4 = (packet[kType.word] & kTypeMask) == uint64_t{kIpv4Frame} << kType.shift;
  if (isByFrame_ && (known[kType.word] & kTypeMask) != kTypeMask) return false;
  bool isDenied = false;
  for (const auto& [acl, permits, program] : acls_) {
    const bool isForOthers = isByFrame_ && (acl->type == Acl::AclType::ipv4) != isIpv4;
    if (isDenied || isForOthers) {
      found.push_back(kNotShown);
      continue;
    }
    const auto first = program.first(packet, known);
    if (!first) return false;
    // Of an IPv4 ACL, the verdict between those of its ACEs and the implicit deny is for other frames.
    const bool isOther = acl->type == Acl::AclType::ipv4 && *first == acl->aces.size();
    const auto position = static_cast<uint32_t>(std::min<size_t>(*first, acl->aces.size()));
    isDenied = !isOther && !permits[position];
    found.push_back(isOther ? kUnspoken : position);
  }
  const auto part = filter_.first(packet, known);
  if (part) found.push_back(*part);
  return part.has_value();
}

Judgement Classifier::judgement(const uint32_t* found) const {
  Judgement judgement{{}, programmed(found)};
  for (size_t i = 0; i < acls_.size(); ++i) {
    const auto& [acl, permits, program] = acls_[i];
    if (found[i] >= permits.size()) continue;
    judgement.configured = {permits[found[i]], acl, found[i] < acl->aces.size() ? &acl->aces[found[i]] : nullptr};
  }
  return judgement;
}

PacketWords Classifier::compared() const {
  PacketWords words = filter_.compared();
  for (const AclProgram& each : acls_) add(words, each.program.compared());
  // By frame, it is asked whether it is IPv4.
  if (isByFrame_) words[placeOf(Field::etherType).word] |= maskOf(Field::etherType);
  return words;
}

}  // namespace Sim
