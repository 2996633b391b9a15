#include "verdict/TrafficCounter.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace Sim {
namespace {

// How many packets are remembered: as many as the second cache of a processor holds.
constexpr unsigned kMemoryBits = 14;

size_t placeInMemory(const PacketWords& words) {
  constexpr uint64_t kGolden = 0x9E37'79B9'7F4A'7C15;
  uint64_t hash = 0;
  for (const uint64_t word : words) hash = std::rotl(hash ^ word, 29) * kGolden;
  return static_cast<size_t>(hash >> (64 - kMemoryBits));
}

}  // namespace

Readings TrafficCounter::withOtherFragments(Readings readings) {
  readings.set(Reading::fragments, !readings.isOther(Reading::fragments));
  return readings;
}

TrafficCounter::TrafficCounter(const Checkpoint& last, const Checkpoint* before, const Readings& readings)
    : isBlocked_(last.isBlocked),
      areAclsUnknown_(last.areAclsUnknown),
      wasBlocked_(before != nullptr && before->isBlocked),
      last_(last.filter, last.acls, readings),
      byOtherFragments_(last.filter, {}, withOtherFragments(readings)),
      acls_(last.acls.begin(), last.acls.end()),
      compared_(last_.compared()),
      memory_(size_t{1} << kMemoryBits) {
  const auto add = [&](const PacketWords& more) {
    for (size_t i = 0; i < more.size(); ++i) compared_[i] |= more[i];
  };
  add(byOtherFragments_.compared());
  if (before == nullptr) return;
  before_.emplace(before->filter, before->acls, readings);
  add(before_->compared());
}

void TrafficCounter::addKind(const CapturedPacket& captured) {
  const Packet& packet = captured.packet;
  const Count one{1, captured.bytes};
  TrafficKinds& kinds = traffic_.kinds;
  traffic_.all += one;
  switch (packet[Field::etherType]) {
    case kIpv4Frame:
      kinds.ipv4 += one;
      break;
    case kArpFrame:
      kinds.arp += one;
      break;
    case kLldpFrame:
      kinds.lldp += one;
      break;
    case kIpv6Frame:
      kinds.ipv6 += one;
      break;
    default:
      kinds.other += one;
  }
  if (packet[Field::tagged] != 0) kinds.tagged += one;
  if (packet[Field::laterFragment] != 0) kinds.laterFragments += one;
  if (captured.lack == Lack::cutShort) kinds.cutShort += one;
  if (captured.lack == Lack::malformed) kinds.malformed += one;
}

void TrafficCounter::add(const CapturedPacket& packet) {
  addKind(packet);
  PacketWords words = wordsOf(packet.packet);
  for (size_t i = 0; i < words.size(); ++i) words[i] &= compared_[i];
  if (!packet.unknown.isEmpty()) return addPartial(packet, words);
  Remembered& entry = memory_[placeInMemory(words)];
  __builtin_prefetch(&entry);
  Pending& place = pending_[next_];
  next_ = (next_ + 1) % pending_.size();
  settle(place);
  place = {packet.packet, packets(), packet.bytes, words, &entry};
}

void TrafficCounter::settle(Pending& pending) {
  auto& [packet, number, bytes, words, entry] = pending;
  if (entry == nullptr) return;
  if (entry->group == kNothing || entry->words != words) *entry = *lookUp(packet, number, words, nullptr);
  count(*entry, {1, bytes});
  entry = nullptr;
}

void TrafficCounter::addPartial(const CapturedPacket& packet, const PacketWords& words) {
  const Count one{1, packet.bytes};
  const PacketWords known = knownBits(packet.unknown);
  if (const auto found = lookUp(packet.packet, packets(), words, &known)) return count(*found, one);
  traffic_.undecided += one;
  if (packet.lack == Lack::malformed) traffic_.malformed += one;
}

std::optional<TrafficCounter::Remembered> TrafficCounter::lookUp(const Packet& packet, uint64_t number,
                                                                 const PacketWords& words, const PacketWords* known) {
  found_.clear();
  if (!last_.classify(words, known, found_) || (before_ && !before_->classify(words, known, found_))) return {};
  // Of all other packets, the reading says nothing.
  const bool mayBeLaterFragment = known != nullptr || packet[Field::laterFragment] != 0;
  if (mayBeLaterFragment && !byOtherFragments_.classify(words, known, found_)) return {};
  Remembered entry{words, groupOfFound(), kNothing, kNothing};
  const Group& group = groups_[entry.group];
  const auto listed = [&](auto& positions, auto& list, const auto& item) {
    if (const auto place = positions.find(words); place != positions.end()) return place->second;
    if (list.size() == kMostListed) return kNothing;
    list.push_back(item);
    return positions[words] = static_cast<uint32_t>(list.size() - 1);
  };
  if (group.isMore || group.isLess)
    entry.differing = listed(differing_, traffic_.differing, DifferingPackets{packet, number, group.judgement});
  if (group.isNewlyPermitted || group.isNewlyDenied)
    entry.turned = listed(turned_, traffic_.turned, TurnedPackets{{packet, group.before, group.judgement}, number});
  return entry;
}

uint32_t TrafficCounter::groupOfFound() {
  const auto [place, isNew] = groupNumbers_.try_emplace(found_, static_cast<uint32_t>(groups_.size()));
  if (isNew) groups_.push_back(groupBy(found_));
  return place->second;
}

TrafficCounter::Group TrafficCounter::groupBy(const Classifier::Found& found) const {
  const uint32_t* const before = found.data() + last_.size();
  const uint32_t* const byOther = before + (before_ ? before_->size() : 0);
  Group group;
  group.found = found;
  group.judgement = last_.judgement(found.data());
  const bool permits = group.judgement.programmed.permits, should = group.judgement.configured.permits;
  if (!isBlocked_) {
    group.isMore = !areAclsUnknown_ && permits && !should;
    group.isLess = !areAclsUnknown_ && !permits && should;
    group.isOtherwiseByFragments =
        byOther != found.data() + found.size() && byOtherFragments_.programmed(byOther).permits != permits;
  }
  if (!before_) return group;
  group.before = before_->judgement(before);
  const bool passed = group.before.programmed.permits && !wasBlocked_, passes = permits && !isBlocked_;
  group.isNewlyPermitted = passes && !passed;
  group.isNewlyDenied = passed && !passes;
  return group;
}

void TrafficCounter::count(const Remembered& entry, const Count& one) {
  groups_[entry.group].count += one;
  if (entry.differing != kNothing) traffic_.differing[entry.differing].count += one;
  if (entry.turned != kNothing) traffic_.turned[entry.turned].count += one;
}

Traffic TrafficCounter::traffic() {
  for (size_t i = 0; i < pending_.size(); ++i) settle(pending_[(next_ + i) % pending_.size()]);
  Traffic traffic = traffic_;
  for (const AclConfiguration* acl : acls_) traffic.acls.push_back({acl, std::vector<Count>(acl->aces.size())});
  const auto addIf = [](bool is, Count& sum, const Count& count) {
    if (is) sum += count;
  };
  for (const Group& group : groups_) {
    addIf(group.isMore, traffic.more, group.count);
    addIf(group.isLess, traffic.less, group.count);
    addIf(group.isNewlyPermitted, traffic.newlyPermitted, group.count);
    addIf(group.isNewlyDenied, traffic.newlyDenied, group.count);
    addIf(group.isOtherwiseByFragments, traffic.kinds.fragmentsOtherwise, group.count);
    if (isBlocked_) continue;
    for (size_t i = 0; i < traffic.acls.size(); ++i) {
      AclTraffic& acl = traffic.acls[i];
      const uint32_t position = group.found[i];
      if (position == Classifier::kNotShown) continue;
      (position == Classifier::kUnspoken ? acl.unspoken
       : position < acl.aces.size()      ? acl.aces[position]
                                         : acl.implicitDeny) += group.count;
    }
    const FilterDecision& part = group.judgement.programmed;
    (part.part == FilterPart::slot ? traffic.filter.slots[part.slot] : traffic.filter.parts[part.part]) += group.count;
  }
  std::ranges::sort(traffic.differing, {}, &DifferingPackets::number);
  std::ranges::sort(traffic.turned, {}, &TurnedPackets::number);
  return traffic;
}

}  // namespace Sim
