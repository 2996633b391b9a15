// Decides many packets by the same ACLs and the same filter, as decide() does, and fast.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "verdict/CapturedPacket.h"
#include "verdict/Comparison.h"
#include "verdict/Packet.h"
#include "verdict/PacketSet.h"
#include "verdict/Readings.h"

namespace Sim {

// Where a field is among the words of a packet.
struct FieldPlace {
  uint8_t word = 0;
  uint8_t shift = 0;
};

// Fields that follow one another share a word where they fit.
constexpr std::array<FieldPlace, kFields.size()> fieldPlaces() {
  std::array<FieldPlace, kFields.size()> places{};
  unsigned word = 0, used = 0;
  for (size_t i = 0; i < kFields.size(); ++i) {
    if (used + kFields[i].width > 64) ++word, used = 0;
    places[i] = {static_cast<uint8_t>(word), static_cast<uint8_t>(used)};
    used += kFields[i].width;
  }
  return places;
}
inline constexpr auto kFieldPlaces = fieldPlaces();

// All fields of a packet, or a mask for them.
using PacketWords = std::array<uint64_t, kFieldPlaces.back().word + 1>;

constexpr PacketWords wordsOf(const Packet& packet) {
  PacketWords words{};
  for (size_t i = 0; i < kFields.size(); ++i) words[kFieldPlaces[i].word] |= packet.values[i] << kFieldPlaces[i].shift;
  return words;
}
// All bits but those of `unknown`.
PacketWords knownBits(FieldSet unknown);

// Finds the first of some sets that a packet is in: all of their diagrams, merged, as one list of comparisons.
class Program {
 public:
  // The last of the sets holds every packet. They may not depend on choices.
  explicit Program(const std::vector<PacketSet>& sets);

  // The position of the set.
  uint32_t first(const PacketWords& packet) const;
  // The same; none where that takes a bit that is not known.
  std::optional<uint32_t> first(const PacketWords& packet, const PacketWords& known) const;
  // All bits that are compared.
  PacketWords compared() const;
  size_t size() const { return tests_.size(); }

 private:
  friend class Compiler;

  // Goes on with `next` where the masked word has the value. A negative number is that of a set, from ~0 on.
  struct Test {
    uint64_t mask = 0;
    uint64_t value = 0;
    uint32_t word = 0;
    int32_t next = 0;
    int32_t other = 0;
  };

  std::vector<Test> tests_;
  int32_t start_ = 0;
};

// Refers to the ACLs. `decide` in Comparison.h says what it finds.
class Classifier {
 public:
  // `readings`, of which none may be open.
  Classifier(const FilterDump& filter, Acls acls, const Readings& readings);

  // What decides a packet: of each ACL the position of an ACE, that behind the last ACE for the implicit deny, or one
  // of those below; and last, that of a verdict of the filter.
  using Found = std::vector<uint32_t>;
  static constexpr uint32_t kNotShown = UINT32_MAX;      // To the ACL: another one denies it, or decides such frames.
  static constexpr uint32_t kUnspoken = UINT32_MAX - 1;  // The ACL does not speak of such frames.

  // Adds to `found`. `known` are the bits that are known, null for all. False where some of it depends on others.
  bool classify(const PacketWords& packet, const PacketWords* known, Found& found) const;
  // How many numbers that are.
  size_t size() const { return acls_.size() + 1; }
  // Who decides, by what was found.
  Judgement judgement(const uint32_t* found) const;
  FilterDecision programmed(const uint32_t* found) const { return parts_[found[acls_.size()]]; }
  // All bits of a packet that make a difference.
  PacketWords compared() const;

 private:
  struct AclProgram {
    const AclConfiguration* acl;
    std::vector<bool> permits;  // Of each ACE and the implicit deny.
    Program program;
  };

  static AclProgram programOf(const AclConfiguration& acl, const Readings& readings);

  bool isByFrame_;  // The ACLs: each for frames of its own.
  std::vector<AclProgram> acls_;
  std::vector<FilterDecision> parts_;
  Program filter_;
};

}  // namespace Sim
