// Sets of packets, exact: binary decision diagrams over what a verdict can depend on.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include <bdd.h>

#include "verdict/Packet.h"

namespace Sim {

// How many choices, apart from the packet, a set may depend on.
inline constexpr size_t kChoices = 16;

// A set of packets. Where it depends on choices, too, it is the set of all pairs of a packet and the choices made.
// Operations run out of memory as std::bad_alloc.
class PacketSet {
 public:
  // The empty set.
  PacketSet();
  // Every packet that there can be: fields that a frame does not have are 0.
  static PacketSet all();
  // Those whose field is `value`; the set bits of `wildcard` are not compared.
  static PacketSet where(Field field, uint64_t value, uint64_t wildcard = 0);
  // Those whose field is from `low` to `high`, both included.
  static PacketSet between(Field field, uint64_t low, uint64_t high);
  // Every packet, as long as the choice is `taken`.
  static PacketSet ifChosen(size_t choice, bool taken);

  PacketSet operator&(const PacketSet& other) const { return PacketSet(set_ & other.set_); }
  PacketSet operator|(const PacketSet& other) const { return PacketSet(set_ | other.set_); }
  // Those in one of the two only.
  PacketSet operator^(const PacketSet& other) const { return PacketSet(set_ ^ other.set_); }
  PacketSet operator-(const PacketSet& other) const { return PacketSet(set_ - other.set_); }
  // All others.
  PacketSet operator~() const { return PacketSet(!set_); }
  // Those of `taken` that are in this set, and those of `other` that are not.
  PacketSet choose(const PacketSet& taken, const PacketSet& other) const;
  bool operator==(const PacketSet& other) const { return (set_ == other.set_) != 0; }
  // Whether it holds no packet, whatever is chosen.
  bool isEmpty() const;
  bool contains(const Packet& packet) const;

  // Those that are in it when the choice is made.
  PacketSet given(size_t choice, bool taken) const;
  // One that is as much as can be like `liking`, its first fields first. Not of an empty set.
  Packet example(const Packet& liking) const;
  // Choices by which it is not empty, as in `liking` where that can be. Not of an empty set.
  std::array<bool, kChoices> someChoices(const std::array<bool, kChoices>& liking) const;
  // How many nodes its diagram has.
  size_t nodes() const;

  // Where a diagram ends: no packet that comes there is in the set, or each is.
  static constexpr int32_t kNone = -1, kEach = -2;
  // Looks at a bit of a field. Where it goes on is an end, or a position among the nodes.
  struct Node {
    Field field = {};
    uint8_t bit = 0;  // From the lowest.
    int32_t ifClear = kNone;
    int32_t ifSet = kNone;
  };
  struct Diagram {
    std::vector<Node> nodes;
    int32_t start = kNone;
  };
  // How it is found out whether a packet is in it. Not of a set that depends on choices.
  Diagram diagram() const;

 private:
  explicit PacketSet(const bdd& set) : set_(set) {}

  bdd set_;
};

}  // namespace Sim
