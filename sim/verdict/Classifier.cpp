#include "verdict/Classifier.h"

#include <algorithm>
#include <bit>
#include <unordered_map>
#include <utility>

namespace Sim {
namespace {

constexpr FieldPlace placeOf(Field field) { return kFieldPlaces[static_cast<size_t>(field)]; }

constexpr uint64_t maskOf(Field field) { return ((uint64_t{1} << widthOf(field)) - 1) << placeOf(field).shift; }

constexpr uint64_t hashOf(uint64_t value, uint64_t before = 0) {
  return (std::rotl(before, 23) ^ value) * 0x9E37'79B9'7F4A'7C15;
}

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

// Merges the diagrams of sets to one whose ends are the numbers of the sets, and makes tests of that.
class Compiler {
 public:
  explicit Compiler(std::vector<Program::Test>& tests) : tests_(tests) {}

  // Lets packets of the set end with `number`, and those that are not in it go on as before.
  void add(const PacketSet& set, uint32_t number) {
    added_ = set.diagram();
    merged_.clear();
    start_ = merge(added_.start, ~static_cast<int32_t>(number), start_);
    // One that has grown large is cut off, so that the next ones are not merged with all of it.
    constexpr size_t kMostNodes = 10'000;
    if (nodes_.size() > kMostNodes) cutOff();
  }
  // Where to begin.
  int32_t finish() {
    cutOff();
    return otherwise_;
  }

 private:
  static constexpr int32_t kOtherwise = INT32_MIN;  // The end of what is in no set: goes on with what was cut off.

  struct Node {
    Field field = {};
    uint8_t bit = 0;
    int32_t ifClear = kOtherwise;
    int32_t ifSet = kOtherwise;

    // Its place in the order of all bits, in which diagrams look at them.
    int level() const { return static_cast<int>(field) * 64 + (63 - bit); }
    bool operator==(const Node&) const = default;
  };
  struct NodeHash {
    size_t operator()(const Node& node) const {
      return hashOf(static_cast<uint64_t>(node.level()), hashOf(pairOf(node.ifClear, node.ifSet)));
    }
  };

  static constexpr uint64_t pairOf(int32_t one, int32_t two) {
    return uint64_t{static_cast<uint32_t>(one)} << 32 | static_cast<uint32_t>(two);
  }

  int32_t nodeOf(const Node& node) {
    if (node.ifClear == node.ifSet) return node.ifClear;
    const auto [place, isNew] = numbers_.try_emplace(node, static_cast<int32_t>(nodes_.size()));
    if (isNew) nodes_.push_back(node);
    return place->second;
  }

  // What is in the added set, from its node `at` on, ends with `end`; the rest goes on at `rest`.
  int32_t merge(int32_t at, int32_t end, int32_t rest) {
    if (at == PacketSet::kEach) return end;
    if (at == PacketSet::kNone) return rest;
    const uint64_t key = pairOf(at, rest);
    if (const auto known = merged_.find(key); known != merged_.end()) return known->second;
    const auto& [field, bit, ifClear, ifSet] = added_.nodes[static_cast<size_t>(at)];
    const Node ofSet{field, bit, ifClear, ifSet};
    const Node ofRest = rest >= 0 ? nodes_[static_cast<size_t>(rest)] : Node{ofSet.field, ofSet.bit, rest, rest};
    Node node = ofSet.level() <= ofRest.level() ? ofSet : ofRest;
    const auto side = [&](int32_t Node::* where) {
      return merge(ofSet.level() == node.level() ? ofSet.*where : at, end,
                   ofRest.level() == node.level() ? ofRest.*where : rest);
    };
    const int32_t clear = side(&Node::ifClear), set = side(&Node::ifSet);
    node.ifClear = clear;
    node.ifSet = set;
    return merged_[key] = nodeOf(node);
  }

  void cutOff() {
    tested_.assign(nodes_.size(), std::nullopt);
    otherwise_ = compile(start_);
    nodes_.clear();
    numbers_.clear();
    start_ = kOtherwise;
  }

  // Nodes, one after the other, that all leave to the same place unless their bits of one word have the value.
  struct Chain {
    Program::Test test;
    int32_t next = 0;
    size_t length = 0;
  };

  Chain chainOf(int32_t at, int32_t other) const {
    Chain chain{.test = {.word = placeOf(nodes_[static_cast<size_t>(at)].field).word}, .next = at};
    while (chain.next >= 0) {
      const Node& node = nodes_[static_cast<size_t>(chain.next)];
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
    if (at == kOtherwise) return otherwise_;
    if (at < 0) return at;
    std::optional<int32_t>& known = tested_[static_cast<size_t>(at)];
    if (known) return *known;
    const auto [field, bit, ifClear, ifSet] = nodes_[static_cast<size_t>(at)];
    const Chain one = chainOf(at, ifClear), two = chainOf(at, ifSet);
    const bool isOne = one.length >= two.length;
    Program::Test test = isOne ? one.test : two.test;
    test.next = compile(isOne ? one.next : two.next);
    test.other = compile(isOne ? ifClear : ifSet);
    tests_.push_back(test);
    return *(known = static_cast<int32_t>(tests_.size()) - 1);
  }

  std::vector<Program::Test>& tests_;
  PacketSet::Diagram added_;
  std::unordered_map<uint64_t, int32_t> merged_;  // By the node of the added set, and the one of the rest.
  std::vector<Node> nodes_;
  std::unordered_map<Node, int32_t, NodeHash> numbers_;
  int32_t start_ = kOtherwise;
  std::vector<std::optional<int32_t>> tested_;  // Of each node, the test that begins there.
  int32_t otherwise_ = ~0;                      // Where what was cut off begins. There is no such place at first.
};

Program::Program(const std::vector<PacketSet>& sets) {
  // The last one first: those before it are merged with it.
  Compiler compiler(tests_);
  for (size_t i = sets.size(); i-- > 0;) compiler.add(sets[i], static_cast<uint32_t>(i));
  start_ = compiler.finish();
}

uint32_t Program::first(const PacketWords& packet) const {
  int32_t at = start_;
  while (at >= 0) {
    const Test& test = tests_[static_cast<size_t>(at)];
    at = (packet[test.word] & test.mask) == test.value ? test.next : test.other;
  }
  return static_cast<uint32_t>(~at);
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

bool Classifier::classify(const PacketWords& packet, const PacketWords* known, Found& found) const {
  const auto firstOf = [&](const Program& program) {
    return known == nullptr ? std::optional(program.first(packet)) : program.first(packet, *known);
  };
  constexpr FieldPlace kType = placeOf(Field::etherType);
  constexpr uint64_t kTypeMask = maskOf(Field::etherType);
  const bool isIpv4 = (packet[kType.word] & kTypeMask) == uint64_t{kIpv4Frame} << kType.shift;
  if (isByFrame_ && known != nullptr && ((*known)[kType.word] & kTypeMask) != kTypeMask) return false;
  bool isDenied = false;
  for (const auto& [acl, permits, program] : acls_) {
    const bool isForOthers = isByFrame_ && (acl->type == Acl::AclType::ipv4) != isIpv4;
    if (isDenied || isForOthers) {
      found.push_back(kNotShown);
      continue;
    }
    const auto first = firstOf(program);
    if (!first) return false;
    // Of an IPv4 ACL, the verdict between those of its ACEs and the implicit deny is for other frames.
    const bool isOther = acl->type == Acl::AclType::ipv4 && *first == acl->aces.size();
    const auto position = static_cast<uint32_t>(std::min<size_t>(*first, acl->aces.size()));
    isDenied = !isOther && !permits[position];
    found.push_back(isOther ? kUnspoken : position);
  }
  const auto part = firstOf(filter_);
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
