#include "verdict/PacketSet.h"

#include <algorithm>
#include <new>
#include <unordered_map>
#include <utility>

namespace Sim {
namespace {

// The choices come first, then the fields, the highest bit of each first.
constexpr std::array<int, kFields.size()> firstVariables() {
  std::array<int, kFields.size()> first{};
  int next = kChoices;
  for (size_t i = 0; i < kFields.size(); ++i) {
    first[i] = next;
    next += kFields[i].width;
  }
  return first;
}
constexpr auto kFirstVariable = firstVariables();
constexpr int kVariables = kFirstVariable.back() + kFields.back().width;

// The variable of a bit of a field, counted from the lowest.
int variableOf(Field field, unsigned bit) {
  return kFirstVariable[static_cast<size_t>(field)] + static_cast<int>(widthOf(field) - 1 - bit);
}

// One that looks at the bit that a variable stands for.
PacketSet::Node nodeOf(int variable) {
  const auto next = std::ranges::upper_bound(kFirstVariable, variable);
  const FieldRow& row = kFields[static_cast<size_t>(next - kFirstVariable.begin()) - 1];
  return {row.field, static_cast<uint8_t>(row.width - 1 - (variable - *(next - 1)))};
}

void throwBadAlloc(int /*error*/) { throw std::bad_alloc(); }

// The library has one table of nodes for the whole process, which is made at first use and lives as long as it.
bool startLibrary() {
  // The nodes at first; more would only be slower to reach. The caches keep their size: when it changes, BuDDy reads
  // entries that nobody has written.
  constexpr int kNodes = 40'000, kCache = 10'000;
  bdd_init(kNodes, kCache);
  bdd_setvarnum(kVariables);
  bdd_setmaxincrease(1'000'000);
  bdd_gbc_hook(nullptr);
  bdd_resize_hook(nullptr);
  bdd_error_hook(throwBadAlloc);
  return true;
}

void requireLibrary() { [[maybe_unused]] static const bool isStarted = startLibrary(); }

bdd literal(int variable, bool isSet) { return isSet ? bdd_ithvar(variable) : bdd_nithvar(variable); }

bool bitOf(uint64_t value, unsigned bit) { return (value >> bit & 1) != 0; }

// The values of all variables: of the choices, and of a packet.
using Assignment = std::array<bool, kVariables>;

Assignment assignmentOf(const Packet& packet) {
  Assignment values{};
  for (const auto& [field, width] : kFields) {
    for (unsigned bit = 0; bit < width; ++bit)
      values[static_cast<size_t>(variableOf(field, bit))] = bitOf(packet[field], bit);
  }
  return values;
}

// Those of the set that come first in the order of the variables when each is as in `liking` where it can be.
Assignment closestTo(const Assignment& liking, bdd set) {
  Assignment values = liking;
  while (set != bddtrue) {
    const int variable = bdd_var(set);
    bool& value = values[static_cast<size_t>(variable)];
    if ((value ? bdd_high(set) : bdd_low(set)) == bddfalse) value = !value;
    set = value ? bdd_high(set) : bdd_low(set);
  }
  return values;
}

PacketSet allFrames() {
  const PacketSet ipv4 = PacketSet::where(Field::etherType, kIpv4Frame);
  const PacketSet hasPorts =
      (PacketSet::where(Field::protocol, kTcpNumber) | PacketSet::where(Field::protocol, kUdpNumber)) &
      PacketSet::where(Field::laterFragment, 0);
  const auto onlyIf = [](const PacketSet& condition, Field field) { return condition | PacketSet::where(field, 0); };
  PacketSet all = ~PacketSet();
  for (const Field port : {Field::sourcePort, Field::destinationPort}) all = all & onlyIf(hasPorts, port);
  for (const Field field : {Field::laterFragment, Field::moreFragments, Field::protocol, Field::sourcePort,
                            Field::destinationPort, Field::sourceIp, Field::destinationIp, Field::ipLength}) {
    all = all & onlyIf(ipv4, field);
  }
  return all;
}

}  // namespace

PacketSet::PacketSet() {
  requireLibrary();
  set_ = bddfalse;
}

PacketSet PacketSet::all() {
  requireLibrary();
  // Never destroyed, as the library's own data may go first.
  static const PacketSet& frames = *new PacketSet(allFrames());
  return frames;
}

PacketSet PacketSet::where(Field field, uint64_t value, uint64_t wildcard) {
  requireLibrary();
  bdd set = bddtrue;
  for (unsigned bit = 0; bit < widthOf(field); ++bit) {
    if (!bitOf(wildcard, bit)) set = literal(variableOf(field, bit), bitOf(value, bit)) & set;
  }
  return PacketSet(set);
}

PacketSet PacketSet::between(Field field, uint64_t low, uint64_t high) {
  requireLibrary();
  bdd notBelow = bddtrue, notAbove = bddtrue;  // By the bits up to this one.
  for (unsigned bit = 0; bit < widthOf(field); ++bit) {
    const bdd isSet = literal(variableOf(field, bit), true);
    notBelow = bitOf(low, bit) ? isSet & notBelow : isSet | notBelow;
    notAbove = bitOf(high, bit) ? (!isSet) | notAbove : (!isSet) & notAbove;
  }
  return PacketSet(notBelow & notAbove);
}

PacketSet PacketSet::ifChosen(size_t choice, bool taken) {
  requireLibrary();
  return PacketSet(literal(static_cast<int>(choice), taken));
}

PacketSet PacketSet::choose(const PacketSet& taken, const PacketSet& other) const {
  return PacketSet(bdd_ite(set_, taken.set_, other.set_));
}

bool PacketSet::isEmpty() const { return (set_ == bddfalse) != 0; }

bool PacketSet::contains(const Packet& packet) const {
  const Assignment values = assignmentOf(packet);
  bdd set = set_;
  while (set != bddtrue && set != bddfalse)
    set = values[static_cast<size_t>(bdd_var(set))] ? bdd_high(set) : bdd_low(set);
  return (set == bddtrue) != 0;
}

PacketSet PacketSet::given(size_t choice, bool taken) const {
  return PacketSet(bdd_restrict(set_, literal(static_cast<int>(choice), taken)));
}

Packet PacketSet::example(const Packet& liking) const {
  const Assignment values = closestTo(assignmentOf(liking), set_);
  Packet packet;
  for (const auto& [field, width] : kFields) {
    for (unsigned bit = 0; bit < width; ++bit) {
      if (values[static_cast<size_t>(variableOf(field, bit))]) packet[field] |= uint64_t{1} << bit;
    }
  }
  return packet;
}

std::array<bool, kChoices> PacketSet::someChoices(const std::array<bool, kChoices>& liking) const {
  Assignment wanted{};
  std::ranges::copy(liking, wanted.begin());
  const Assignment values = closestTo(wanted, set_);
  std::array<bool, kChoices> choices{};
  std::copy_n(values.begin(), kChoices, choices.begin());
  return choices;
}

PacketSet::Diagram PacketSet::diagram() const {
  Diagram diagram;
  std::unordered_map<int, int32_t> positions{{bddfalse.id(), kNone}, {bddtrue.id(), kEach}};
  const auto add = [&](const auto& self, const bdd& set) -> int32_t {
    if (const auto known = positions.find(set.id()); known != positions.end()) return known->second;
    Node node = nodeOf(bdd_var(set));
    node.ifClear = self(self, bdd_low(set));
    node.ifSet = self(self, bdd_high(set));
    diagram.nodes.push_back(node);
    return positions[set.id()] = static_cast<int32_t>(diagram.nodes.size()) - 1;
  };
  diagram.start = add(add, set_);
  return diagram;
}

size_t PacketSet::nodes() const { return static_cast<size_t>(bdd_nodecount(set_)); }

}  // namespace Sim
