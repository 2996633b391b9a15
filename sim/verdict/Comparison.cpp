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

// An example each way of what is not as configured, among the packets in `where`.
Comparison comparisonOf(const FilterDump& filter, Acls acls, const Readings& readings, const PacketSet& where) {
  const auto [programmed, configured] = permitted(filter, acls, readings);
  return {exampleOf((programmed - configured) & where, filter, acls, readings),
          exampleOf((configured - programmed) & where, filter, acls, readings)};
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

const Comparison& Comparer::compare(const FilterDump& filter, Acls acls) {
  Key key{{}, {acls.begin(), acls.end()}};
  for (const auto& row : Kestrix::Layout::kFilterRegisters) {
    const uint32_t delay = row.name == Kestrix::Layout::kEnable.name ? Kestrix::Layout::kDelay.mask : 0;
    key.registers.push_back(filter.value(row) & ~delay);
  }
  for (const SlotDump& slot : filter.slots) {
    if (filter.slotEnabled(slot.slot))
      key.registers.insert(key.registers.end(), slot.values.begin(), slot.values.end());
  }
  const auto [place, isNew] = known_.try_emplace(std::move(key));
  if (isNew) place->second = compared(filter, acls);
  return place->second;
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
    for (const Reading reading : others) readings.set(reading, !readings_.isOther(reading));
    notes_.push_back(
        {others, filter.intf, filter.direction, comparisonOf(filter, acls, readings, readings.chosenIn(differing))});
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
  PacketSet left = PacketSet::all();
  const auto verdicts = verdictsOf(acl, {});
  for (const AceVerdict& verdict : verdicts) {
    if (verdict.ace == nullptr) break;
    if (!(verdict.matched & left).isEmpty()) {
      left = left - verdict.matched;
      deciding.push_back(&verdict);
      continue;
    }
    IdleAce& found = idle.emplace_back(IdleAce{verdict.ace, {}});
    PacketSet uncovered = verdict.matched & PacketSet::all();
    for (const AceVerdict* earlier : deciding) {
      if (uncovered.isEmpty()) break;
      if (!(uncovered & earlier->matched).isEmpty()) found.coveredBy.push_back(earlier->ace);
      uncovered = uncovered - earlier->matched;
    }
  }
  return idle;
}

}  // namespace Sim
