// Counts what becomes of packets, as fast as they can be read from a file.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include "verdict/CapturedPacket.h"
#include "verdict/Classifier.h"
#include "verdict/Comparison.h"
#include "verdict/Readings.h"
#include "verdict/Traffic.h"

namespace Sim {

// What decides packets at an interface in a direction.
struct Checkpoint {
  const FilterDump& filter;
  Acls acls;                    // Those that can be decided.
  bool isBlocked = false;       // The interface: it passes no traffic.
  bool areAclsUnknown = false;  // There are ACLs, and none of them can be decided.
};

// Needs the same memory for any number of packets.
class TrafficCounter {
 public:
  // `before` is the checkpoint as it was before the last configuration; null if there was none. By `readings`, of which
  // none may be open. What the checkpoints refer to must live as long as this.
  TrafficCounter(const Checkpoint& last, const Checkpoint* before, const Readings& readings);

  void add(const CapturedPacket& packet);
  uint64_t packets() const { return traffic_.all.packets; }
  // Of all packets so far. Refers to the ACLs.
  Traffic traffic();

 private:
  static constexpr uint32_t kNothing = UINT32_MAX;

  // Packets that the same verdicts decide.
  struct Group {
    Classifier::Found found;  // By the last checkpoint, before, and, where it matters, by the other reading.
    Judgement judgement;
    Judgement before;
    bool isMore = false;
    bool isLess = false;
    bool isNewlyPermitted = false;
    bool isNewlyDenied = false;
    bool isOtherwiseByFragments = false;
    Count count = {};
  };
  // What was found of packets that are alike in all that is compared.
  struct Remembered {
    PacketWords words{};
    uint32_t group = kNothing;
    uint32_t differing = kNothing;  // Where it is in the lists of the traffic.
    uint32_t turned = kNothing;
  };

  // A packet whose place in the memory is on its way to the processor.
  struct Pending {
    Packet packet;
    uint64_t number = 0;  // In the capture.
    uint64_t bytes = 0;
    PacketWords words{};
    Remembered* entry = nullptr;  // Null where there is none.
  };

  struct FoundHash {
    size_t operator()(const Classifier::Found& found) const {
      size_t hash = 0;
      for (const uint32_t each : found) hash = (hash ^ each) * 0x9E37'79B1;
      return hash;
    }
  };

  static Readings withOtherFragments(Readings readings);

  void addKind(const CapturedPacket& packet);
  // What is found of the packet, whose words are masked; none where too little is known of it.
  std::optional<Remembered> lookUp(const Packet& packet, uint64_t number, const PacketWords& words,
                                   const PacketWords* known);
  void addPartial(const CapturedPacket& packet, const PacketWords& words);
  void settle(Pending& pending);
  uint32_t groupOfFound();
  Group groupBy(const Classifier::Found& found) const;
  void count(const Remembered& entry, const Count& one);

  bool isBlocked_;
  bool areAclsUnknown_;
  bool wasBlocked_;
  Classifier last_;
  Classifier byOtherFragments_;  // The last filter, alone.
  std::optional<Classifier> before_;
  std::vector<const AclConfiguration*> acls_;
  PacketWords compared_;

  std::vector<Remembered> memory_;
  std::array<Pending, 8> pending_{};  // The next one to be settled is at `next_`.
  size_t next_ = 0;
  Classifier::Found found_;
  std::vector<Group> groups_;
  std::unordered_map<Classifier::Found, uint32_t, FoundHash> groupNumbers_;
  std::map<PacketWords, uint32_t> differing_;  // Positions in the lists of the traffic.
  std::map<PacketWords, uint32_t> turned_;
  Traffic traffic_;
};

}  // namespace Sim
