#include "verdict/Comparison.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Sim {
namespace {

// The first of `verdicts`, the last of which matches everything, that matches the packet.
template <class Verdict>
const Verdict& firstMatch(const std::vector<Verdict>& verdicts, const Packet& packet) {
  return *std::ranges::find_if(verdicts, [&](const Verdict& each) { return each.matched.contains(packet); });
}

// Whether the ACL says anything of the packet.
bool speaksOf(const AclConfiguration& acl, const Packet& packet, const Readings& readings) {
  return acl.type != Acl::AclType::ipv4 || packet.isIpv4() || readings.isOther(Reading::ipv4Acl);
}

// One packet of `difference`, and who decides it. None of an empty set.
std::optional<Difference> exampleOf(const PacketSet& difference, const FilterDump& filter, Acls acls,
                                    const Readings& readings) {
  if (difference.isEmpty()) return {};
  const Packet packet = telling(difference);
  return Difference{packet, decide(acls, packet, readings), decide(filter, packet, readings)};
}

// What a device does, and what it should do, by some readings.
struct Permitted {
  PacketSet programmed;
  PacketSet configured;

  // What is decided in another way.
  PacketSet difference() const {
    const PacketSet apart = programmed ^ configured;
    return apart.isEmpty() ? apart : apart & PacketSet::all();
  }
};

Permitted permitted(const FilterDump& filter, Acls acls, const Readings& readings) {
  return {permittedBy(filter, readings), permittedBy(acls, readings)};
}

// Of the other ACLs than that of `first`, those that deny what the device lets through.
std::vector<Difference> moreOfOthers(const PacketSet& more, const Difference& first, const FilterDump& filter,
                                     Acls acls, const Readings& readings) {
  std::vector<Difference> found;
  const PacketSet ipv4 = PacketSet::where(Field::etherType, kIpv4Frame);
  for (const AclConfiguration* const& acl : acls) {
    if (acl == first.configured.acl) continue;
    const PacketSet ofItsFrames = acl->type == Acl::AclType::ipv4 ? ipv4 : ~ipv4;
    const PacketSet decided = readings.isOther(Reading::twoAcls) ? more & ofItsFrames : more;
    if (const auto other = exampleOf(decided - permittedBy(Acls(&acl, 1), readings), filter, Acls(&acl, 1), readings))
      found.push_back(*other);
  }
  return found;
}

// An example each way of what is not as configured, among the packets in `where`.
Comparison comparisonOf(const FilterDump& filter, Acls acls, const Readings& readings, const PacketSet& where) {
  const auto [programmed, configured] = permitted(filter, acls, readings);
  const PacketSet more = (programmed - configured) & where;
  Comparison comparison;
  comparison.more = exampleOf(more, filter, acls, readings);
  comparison.less = exampleOf((configured - programmed) & where, filter, acls, readings);
  if (comparison.more && acls.size() > 1)
    comparison.moreOfOthers = moreOfOthers(more, *comparison.more, filter, acls, readings);
  return comparison;
}

// Readings, taken another way than by `taken`, by which there are packets in `set`.
std::vector<Reading> othersIn(const PacketSet& set, const Readings& taken) {
  std::array<bool, kChoices> liking{};
  for (const ReadingRow& row : kReadings) liking[static_cast<size_t>(row.reading)] = taken.isOther(row.reading);
  const auto choices = set.someChoices(liking);
  std::vector<Reading> others;
  for (const ReadingRow& row : kReadings) {
    if (choices[static_cast<size_t>(row.reading)] != taken.isOther(row.reading)) others.push_back(row.reading);
  }
  return others;
}

// Those of `earlier` that match all of the set: one that does alone, if there is one.
std::vector<const Ace*> coversOf(PacketSet uncovered, const std::vector<const AceVerdict*>& earlier) {
  std::vector<const Ace*> covers;
  if (uncovered.isEmpty()) return covers;
  const Packet any = uncovered.example(kFamiliarPackets.front());
  for (const AceVerdict* each : earlier) {
    if (each->matched.contains(any) && (uncovered - each->matched).isEmpty()) return {each->ace};
  }
  for (const AceVerdict* each : earlier) {
    if ((uncovered & each->matched).isEmpty()) continue;
    covers.push_back(each->ace);
    uncovered = uncovered - each->matched;
  }
  return covers;
}

}  // namespace

Decision decide(Acls acls, const Packet& packet, const Readings& readings) {
  const bool byFrame = acls.size() > 1 && readings.isOther(Reading::twoAcls);
  Decision decision;
  for (const AclConfiguration* acl : acls) {
    if (byFrame && (acl->type == Acl::AclType::ipv4) != packet.isIpv4()) continue;
    if (!speaksOf(*acl, packet, readings)) continue;
    const auto verdicts = verdictsOf(*acl, readings);
    const AceVerdict& verdict = firstMatch(verdicts, packet);
    decision = {verdict.permits, acl, verdict.ace};
    if (!decision.permits) break;
  }
  return decision;
}

FilterDecision decide(const FilterDump& filter, const Packet& packet, const Readings& readings) {
  const auto verdicts = verdictsOf(filter, readings);
  const FilterVerdict& verdict = firstMatch(verdicts, packet);
  return {verdict.permits, verdict.part, verdict.slot};
}

PacketSet permittedBy(const FilterDump& filter, const Readings& readings) {
  const auto verdicts = verdictsOf(filter, readings);
  PacketSet permitted;
  for (size_t i = verdicts.size(); i-- > 0;) {
    const PacketSet& matched = verdicts[i].matched;
    permitted = verdicts[i].permits ? permitted | matched : permitted - matched;
  }
  return permitted;
}

Packet telling(const PacketSet& set) {
  for (const Packet& liking : kFamiliarPackets) {
    const PacketSet alike = set & PacketSet::where(Field::etherType, liking[Field::etherType]) &
                            PacketSet::where(Field::protocol, liking[Field::protocol]);
    if (!alike.isEmpty()) return alike.example(liking);
  }
  return set.example(kFamiliarPackets.front());
}

Comparer::Key Comparer::keyOf(const FilterDump& filter, Acls acls) {
  Registers registers;
  for (const auto& row : Kestrix::Layout::kFilterRegisters) {
    const uint32_t delay = row.name == Kestrix::Layout::kEnable.name ? Kestrix::Layout::kDelay.mask : 0;
    registers.push_back(filter.value(row) & ~delay);
  }
  for (const SlotDump& slot : filter.slots) {
    if (filter.slotEnabled(slot.slot)) registers.insert(registers.end(), slot.values.begin(), slot.values.end());
  }
  return Key(std::move(registers), std::vector(acls.begin(), acls.end()));
}

const Comparison& Comparer::compare(const FilterDump& filter, Acls acls) {
  const auto [place, isNew] = known_.try_emplace(keyOf(filter, acls));
  if (isNew) place->second = compared(filter, acls);
  return place->second;
}

const std::vector<Turn>& Comparer::turns(const Guard& before, const Guard& after) {
  const auto [place, isNew] = turns_.try_emplace({keyOf(before.filter, before.acls), keyOf(after.filter, after.acls)});
  if (!isNew) return place->second;
  const PacketSet was = permittedBy(before.filter, readings_), is = permittedBy(after.filter, readings_);
  for (const PacketSet& turned : {is - was, was - is}) {
    const PacketSet frames = turned & PacketSet::all();
    if (frames.isEmpty()) continue;
    const Packet packet = telling(frames);
    place->second.push_back({packet, judged(before, packet), judged(after, packet)});
  }
  return place->second;
}

Judgement Comparer::judged(const Guard& guard, const Packet& packet) const {
  return {decide(guard.acls, packet, readings_), decide(guard.filter, packet, readings_)};
}

Comparison Comparer::compared(const FilterDump& filter, Acls acls) {
  // Most filters are as configured by the readings that have no note yet, too, and there is no more to do.
  const PacketSet differing = permitted(filter, acls, open_).difference();
  if (differing.isEmpty()) return {};
  const PacketSet anyway = permitted(filter, acls, readings_).difference();
  note(filter, acls, differing - anyway);
  return comparisonOf(filter, acls, readings_, anyway);
}

void Comparer::note(const FilterDump& filter, Acls acls, const PacketSet& differing) {
  // From here on, the readings have their notes: they are left as taken.
  const auto add = [&](const std::vector<Reading>& others) {
    Readings readings = readings_;
    std::vector<Alternative> alternatives;
    for (const Reading reading : others) {
      readings.set(reading, !readings_.isOther(reading));
      alternatives.push_back(readings.isOther(reading) ? rowOf(reading).other : rowOf(reading).standard);
    }
    notes_.push_back({others, alternatives, filter.intf, filter.direction,
                      comparisonOf(filter, acls, readings, readings.chosenIn(differing))});
    open_.set(others.front(), readings_.isOther(others.front()));
  };
  if (differing.isEmpty()) return;
  for (const ReadingRow& row : kReadings) {
    if (!open_.isOpen(row.reading)) continue;
    Readings readings = readings_;
    readings.set(row.reading, !readings_.isOther(row.reading));
    if (!readings.chosenIn(differing).isEmpty()) add({row.reading});
  }
  for (PacketSet rest = open_.chosenIn(differing); !rest.isEmpty(); rest = open_.chosenIn(rest))
    add(othersIn(rest, readings_));
}

std::vector<IdleAce> idleAces(const AclConfiguration& acl) {
  std::vector<IdleAce> idle;
  std::vector<const AceVerdict*> deciding;
  PacketSet decided;  // By those.
  const auto verdicts = verdictsOf(acl, {});
  for (const AceVerdict& verdict : verdicts) {
    if (verdict.ace == nullptr) break;
    const PacketSet matched = verdict.matched & PacketSet::all();
    if ((matched - decided).isEmpty()) {
      idle.push_back({verdict.ace, static_cast<size_t>(verdict.ace - acl.aces.data()), coversOf(matched, deciding)});
    } else {
      deciding.push_back(&verdict);
      decided = decided | verdict.matched;
    }
  }
  return idle;
}

}  // namespace Sim
