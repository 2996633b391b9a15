// The evaluators, which work on sets of packets, against ones that take a packet at a time, and are written without
// them.
#include <gmock/gmock.h>

#include <bit>
#include <optional>
#include <set>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include "sim/Random.h"
#include "verdict/Comparison.h"
#include "verdict/TrafficCounter.h"
#include "verdict/Verification.h"

namespace Sim {
namespace {

namespace Layout = Kestrix::Layout;

constexpr uint64_t kStation = 0x0000'5E00'5301;
constexpr uint64_t kMacs[] = {kStation, kStation + 1, 0x0180'C200'000E, kBroadcastMac};
constexpr uint32_t kIps[] = {0x0A00'0001, 0x0A00'0002, 0x0A00'0101, 0xC000'0201};
constexpr uint16_t kPortNumbers[] = {80, 443};

Packet randomPacket(Random& random) {
  Packet packet = familiarPacket(random.oneOf(std::array{kIpv4Frame, kIpv4Frame, kArpFrame, kLldpFrame, kIpv6Frame}),
                                 random.oneOf(std::array<uint8_t, 3>{kTcpNumber, kUdpNumber, 1}));
  packet[Field::tagged] = random.below(4) == 0;
  packet[Field::sourceMac] = random.oneOf(kMacs);
  packet[Field::destinationMac] = random.oneOf(kMacs);
  if (!packet.isIpv4()) {
    packet[Field::protocol] = 0;
    return packet;
  }
  packet[Field::laterFragment] = random.below(4) == 0;
  packet[Field::moreFragments] = random.below(4) == 0;
  packet[Field::sourceIp] = random.oneOf(kIps);
  packet[Field::destinationIp] = random.oneOf(kIps);
  packet[Field::sourcePort] = packet.hasPorts() ? random.oneOf(kPortNumbers) : 0;
  packet[Field::destinationPort] = packet.hasPorts() ? random.oneOf(kPortNumbers) : 0;
  return packet;
}

// Registers as the library writes them, and as it does not.
FilterDump randomFilter(Random& random) {
  FilterDump filter{.intf = Platform::IntfId("e1")};
  const bool isIpv4 = random.isTrue();
  filter.values = {static_cast<uint32_t>(random.below(256) & ~1u) | (isIpv4 ? 1u : 0u) | 0x700u,
                   static_cast<uint32_t>(random.below(1 << 11)), static_cast<uint32_t>(random.below(8)),
                   static_cast<uint32_t>(random.below(8))};
  for (uint8_t number = 0; number < 3; ++number) {
    const uint64_t mac = random.oneOf(kMacs);
    const uint32_t wildcard = random.oneOf(std::array{0u, 0xFFu, 0xFFFFu, ~0u});
    const uint32_t low = isIpv4 ? random.oneOf(kIps) : static_cast<uint32_t>(mac);
    const uint32_t high = isIpv4 ? random.oneOf(kPortNumbers) : static_cast<uint32_t>(mac >> 32);
    const uint32_t highWildcard = random.isTrue() ? 0 : 0xFFFF;
    filter.slots.push_back({number, {highWildcard, wildcard, high, random.below(4) != 0 ? low | wildcard : low}});
  }
  return filter;
}

bool slotMatches(const FilterDump& filter, const SlotDump& slot, const Packet& packet, bool seesIpv4,
                 const Readings& by) {
  const auto [maskHigh, maskLow, addrHigh, addrLow] = slot.values;
  const bool isSource = (filter.values[1] & 1) != 0;
  const auto same = [&](uint64_t value, uint64_t addr, uint64_t mask) {
    return by.isOther(Reading::wildcardBits) ? (value | mask) == addr : (value & ~mask) == (addr & ~mask);
  };
  if ((filter.values[0] & 1) == 0) {
    return same(packet[isSource ? Field::sourceMac : Field::destinationMac], uint64_t{addrHigh} << 32 | addrLow,
                uint64_t{maskHigh} << 32 | maskLow);
  }
  if (!seesIpv4 || !same(packet[isSource ? Field::sourceIp : Field::destinationIp], addrLow, maskLow)) return false;
  const bool tcp = (filter.values[2] >> slot.slot & 1) != 0, udp = (filter.values[3] >> slot.slot & 1) != 0;
  const bool named = (tcp && packet[Field::protocol] == 6) || (udp && packet[Field::protocol] == 17);
  const bool every = tcp && udp ? !by.isOther(Reading::bothProtocols) : !tcp && !udp && by.isOther(Reading::noProtocol);
  if (!named && !every) return false;
  const bool compares = maskHigh == 0 && ((filter.values[0] & 2) != 0 || by.isOther(Reading::portsOff));
  if (!compares) return true;
  if (packet[Field::laterFragment] != 0) return by.isOther(Reading::fragments);
  return packet.hasPorts() && packet[isSource ? Field::sourcePort : Field::destinationPort] == addrHigh;
}

bool isPermitted(const FilterDump& filter, const Packet& packet, const Readings& by) {
  const uint32_t enable = filter.values[0], action = filter.values[1];
  const bool seen = packet[Field::tagged] == 0 || !by.isOther(Reading::vlan);
  const auto flag = [&](int bit) {
    return (enable >> bit & 1) != 0 ? std::optional((action >> bit & 1) != 0) : std::nullopt;
  };
  std::optional<bool> protocol, group, slot;
  if (seen && packet[Field::etherType] == kArpFrame) protocol = flag(6);
  if (seen && packet[Field::etherType] == kLldpFrame) protocol = flag(7);
  const uint64_t to = packet[Field::destinationMac];
  if (to == kBroadcastMac) group = flag(4);
  if (!group && (to & kGroupBit) != 0 && (to != kBroadcastMac || by.isOther(Reading::broadcast))) group = flag(5);
  const bool seesIpv4 = seen && packet.isIpv4();
  for (const SlotDump& each : filter.slots) {
    if (!slot && slotMatches(filter, each, packet, seesIpv4, by)) slot = (action >> (8 + each.slot) & 1) != 0;
  }
  const bool groupFirst = by.isOther(Reading::verdictOrder);
  for (const bool after : {false, true}) {
    const auto p = by.isOther(Reading::protocolVerdicts) == after ? protocol : std::nullopt;
    const auto g = by.isOther(Reading::groupVerdicts) == after ? group : std::nullopt;
    if (const auto first = groupFirst ? g : p) return *first;
    if (const auto second = groupFirst ? p : g) return *second;
    if (!after && slot) return *slot;
  }
  if ((enable & 1) != 0 && !seesIpv4 && !by.isOther(Reading::ipv4Rest)) return true;
  return (action >> 3 & 1) != 0;
}

Readings randomReadings(Random& random) {
  Readings readings;
  for (const ReadingRow& row : kReadings) readings.set(row.reading, random.below(3) == 0);
  return readings;
}

TEST(Verdict, OfAFilterIsThatOfEachPacketByAllReadings) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    Random random(seed);
    const FilterDump filter = randomFilter(random);
    const PacketSet open = permittedBy(filter, Readings::allOpen());
    for (int i = 0; i < 6; ++i) {
      const Readings readings = randomReadings(random);
      const PacketSet permitted = permittedBy(filter, readings);
      ASSERT_TRUE(permitted == readings.chosenIn(open));
      for (int n = 0; n < 40; ++n) {
        const Packet packet = randomPacket(random);
        ASSERT_EQ(permitted.contains(packet), isPermitted(filter, packet, readings))
            << "seed " << seed << ": " << packet.toText();
        ASSERT_EQ(decide(filter, packet, readings).permits, permitted.contains(packet));
      }
    }
  }
}

// --- Configured ------------------------------------------------------------------------------------------------------

Platform::EthAddr macOf(uint64_t number) {
  Platform::EthAddr::Octets octets{};
  for (auto octet = octets.rbegin(); octet != octets.rend(); ++octet, number >>= 8)
    *octet = static_cast<uint8_t>(number);
  return Platform::EthAddr(octets);
}

Platform::IpAddrWithFullMask randomNetwork(Random& random) {
  const uint8_t length = random.oneOf(std::array<uint8_t, 4>{0, 16, 24, 32});
  return {Platform::IpAddr(length == 0 ? 0 : random.oneOf(kIps)), Platform::prefixMask(length)};
}

Ports randomPorts(Random& random) {
  return random.oneOf(
      std::array{Ports{}, Ports{80, 80, 80}, Ports{0, 81, 443}, Ports{0, 0, 442}, Ports{0, 81, 65535, 80}});
}

Ace randomAce(Random& random, bool isMac) {
  const auto action = random.isTrue() ? Acl::Action::permit : Acl::Action::deny;
  if (isMac) {
    const bool hasSource = random.isTrue(), hasMask = random.isTrue();
    const auto mask = macOf(hasMask ? kBroadcastMac - 0xFF : kBroadcastMac);
    return {"", MacRule{{action,
                         {random.oneOf(std::array<uint32_t, 3>{0, kArpFrame, kLldpFrame}),
                          macOf(hasSource ? random.oneOf(kMacs) : 0), mask,
                          macOf(random.isTrue() ? random.oneOf(kMacs) : 0), mask}}}};
  }
  const Acl::IpFilter filter{Platform::IpProto(random.oneOf(std::array<uint8_t, 3>{0, kTcpNumber, 1})),
                             randomNetwork(random), randomNetwork(random)};
  if (random.below(5) == 0) return {"", FragmentRule{{action, filter}}};
  return {"", IpRule{{action, filter}, randomPorts(random), randomPorts(random), 0}};
}

bool isIn(const Platform::IpAddrWithFullMask& network, uint64_t addr) {
  return ((addr ^ network.addr.number()) & network.mask) == 0;
}

bool isIn(const Ports& ports, const Packet& packet, Field field) {
  if (ports.except != 0) return packet.hasPorts() && packet[field] != ports.except;
  return ports == Ports{} || (packet.hasPorts() && packet[field] >= ports.low && packet[field] <= ports.high);
}

bool matches(const Acl::IpFilter& filter, const Packet& packet) {
  return packet.isIpv4() && (filter.proto.number() == 0 || filter.proto.number() == packet[Field::protocol]) &&
         isIn(filter.srcIp, packet[Field::sourceIp]) && isIn(filter.dstIp, packet[Field::destinationIp]);
}

bool isPermit(const Ace& ace) {
  const auto ofConfig = [](const auto& rule) { return rule.config.action == Acl::Action::permit; };
  if (const auto* rule = std::get_if<IpRule>(&ace.rule)) return ofConfig(*rule);
  if (const auto* rule = std::get_if<FragmentRule>(&ace.rule)) return ofConfig(*rule);
  return ofConfig(std::get<MacRule>(ace.rule));
}

bool matches(const Ace& ace, const Packet& packet) {
  if (const auto* rule = std::get_if<IpRule>(&ace.rule)) {
    return matches(rule->config.filter, packet) && isIn(rule->source, packet, Field::sourcePort) &&
           isIn(rule->destination, packet, Field::destinationPort);
  }
  if (const auto* rule = std::get_if<FragmentRule>(&ace.rule)) {
    return matches(rule->config.filter, packet) &&
           (packet[Field::laterFragment] != 0 || packet[Field::moreFragments] != 0);
  }
  const Acl::MacFilter& filter = std::get<MacRule>(ace.rule).config.filter;
  const auto same = [](const Platform::EthAddr& addr, const Platform::EthAddr& mask, uint64_t value) {
    const Platform::EthAddr::Octets octets = macOf(value).octets();
    bool equal = true;
    for (size_t i = 0; i < octets.size(); ++i)
      equal = equal && ((octets[i] ^ addr.octets()[i]) & mask.octets()[i]) == 0;
    return addr.isEq({}) || equal;
  };
  return (filter.ethType == 0 || filter.ethType == packet[Field::etherType]) &&
         same(filter.srcAddr, filter.srcMask, packet[Field::sourceMac]) &&
         same(filter.dstAddr, filter.dstMask, packet[Field::destinationMac]);
}

AclConfiguration randomAcl(Random& random, bool isMac) {
  AclConfiguration acl;
  acl.type = isMac ? Acl::AclType::mac : Acl::AclType::ipv4;
  for (int i = 0; i < 8; ++i) acl.aces.push_back(randomAce(random, isMac));
  return acl;
}

TEST(Verdict, AsConfiguredIsThatOfTheFirstAceThatMatchesEachPacket) {
  for (unsigned seed = 0; seed < 100; ++seed) {
    Random random(seed);
    const bool isMac = random.isTrue();
    const AclConfiguration acl = randomAcl(random, isMac);
    const std::vector acls{&std::as_const(acl)};
    const PacketSet permitted = permittedBy(acls, {});
    std::set<const Ace*> deciding;
    for (int n = 0; n < 400; ++n) {
      const Packet packet = randomPacket(random);
      const auto first = std::ranges::find_if(acl.aces, [&](const Ace& ace) { return matches(ace, packet); });
      const Ace* const ace = first == acl.aces.end() ? nullptr : &*first;
      if (ace != nullptr) deciding.insert(ace);
      const Decision decision = decide(acls, packet, {});
      ASSERT_EQ(decision.ace, ace) << "seed " << seed << ": " << packet.toText();
      ASSERT_EQ(permitted.contains(packet), decision.permits) << "seed " << seed << ": " << packet.toText();
      ASSERT_EQ(decision.permits, ace != nullptr ? isPermit(*ace) : !isMac && !packet.isIpv4());
    }
    for (const IdleAce& idle : idleAces(acl)) ASSERT_FALSE(deciding.contains(idle.ace)) << "seed " << seed;
  }
}

// --- Many packets ----------------------------------------------------------------------------------------------------

// Some fields of the packet, made to be others.
std::pair<FieldSet, Packet> withoutSome(Packet packet, Random& random) {
  const Packet other = randomPacket(random);
  FieldSet unknown;
  for (const FieldRow& row : kFields) {
    if (random.below(4) != 0) continue;
    unknown = unknown | FieldSet{row.field};
    packet[row.field] = other[row.field];
  }
  return {unknown, packet};
}

// What is to be counted, a packet at a time.
Traffic countedOneByOne(const std::vector<Packet>& packets, const Checkpoint& at, const Checkpoint& before,
                        const Readings& readings) {
  Traffic traffic;
  const Count one{1, 64};
  Readings others = readings;
  others.set(Reading::fragments, !readings.isOther(Reading::fragments));
  for (const AclConfiguration* acl : at.acls) traffic.acls.push_back({acl, std::vector<Count>(acl->aces.size())});
  for (const Packet& packet : packets) {
    const Decision should = decide(at.acls, packet, readings);
    const FilterDecision does = decide(at.filter, packet, readings), did = decide(before.filter, packet, readings);
    for (size_t i = 0; i < at.acls.size(); ++i) {
      const Acls acl = at.acls.subspan(i, 1);
      const bool isForOthers = at.acls.size() > 1 && readings.isOther(Reading::twoAcls) &&
                               (acl[0]->type == Acl::AclType::ipv4) != packet.isIpv4();
      if (isForOthers) continue;
      const Decision decision = decide(acl, packet, readings);
      AclTraffic& counted = traffic.acls[i];
      (decision.acl == nullptr   ? counted.unspoken
       : decision.ace == nullptr ? counted.implicitDeny
                                 : counted.aces[size_t(decision.ace - acl[0]->aces.data())]) += one;
      if (!decision.permits) break;
    }
    (does.part == FilterPart::slot ? traffic.filter.slots[does.slot] : traffic.filter.parts[does.part]) += one;
    if (does.permits != should.permits) (does.permits ? traffic.more : traffic.less) += one;
    if (does.permits != did.permits) (does.permits ? traffic.newlyPermitted : traffic.newlyDenied) += one;
    if (decide(at.filter, packet, others).permits != does.permits) traffic.kinds.fragmentsOtherwise += one;
  }
  return traffic;
}

TEST(TrafficCounter, CountsWhatIsDecidedOneByOne) {
  size_t decided = 0, undecided = 0;
  for (unsigned seed = 0; seed < 24; ++seed) {
    Random random(seed);
    const AclConfiguration mac = randomAcl(random, true), ip = randomAcl(random, false);
    const std::vector<const AclConfiguration*> both{&ip, &mac};
    const auto some = [&] { return Acls(both).subspan(size_t(random.below(2)), size_t(random.below(2))); };
    const FilterDump filter = randomFilter(random), filterBefore = randomFilter(random);
    const Checkpoint at{filter, seed % 2 == 0 ? Acls(both) : some()}, before{filterBefore, some()};
    const Readings readings = randomReadings(random);
    TrafficCounter counter(at, &before, readings);
    const Classifier classifier(filter, at.acls, readings);
    std::vector<Packet> packets;
    for (int n = 0; n < 80; ++n) {
      const Packet packet = packets.emplace_back(randomPacket(random));
      counter.add({packet, {}, Lack::none, 64});
      // What is found in spite of unknown fields is so whatever is in them.
      const auto [unknown, other] = withoutSome(packet, random);
      Classifier::Found found;
      const PacketWords known = knownBits(unknown);
      const bool isDecided = classifier.classify(wordsOf(packet), &known, found);
      ++(isDecided ? decided : undecided);
      if (!isDecided && !unknown.isEmpty()) continue;
      ASSERT_TRUE(isDecided);
      ASSERT_EQ(classifier.judgement(found.data()),
                (Judgement{decide(at.acls, other, readings), decide(filter, other, readings)}))
          << "seed " << seed << ": " << packet.toText() << " / " << other.toText();
    }
    const Traffic counted = counter.traffic(), expected = countedOneByOne(packets, at, before, readings);
    ASSERT_EQ(counted.all, (Count{80, 80 * 64}));
    ASSERT_EQ(counted.undecided, Count());
    ASSERT_EQ(counted.acls.size(), expected.acls.size());
    for (size_t i = 0; i < counted.acls.size(); ++i) {
      const auto parts = [](const AclTraffic& acl) {
        return std::tie(acl.acl, acl.aces, acl.implicitDeny, acl.unspoken);
      };
      ASSERT_EQ(parts(counted.acls[i]), parts(expected.acls[i])) << "seed " << seed;
    }
    const auto sums = [](const Traffic& of) {
      return std::tie(of.filter.slots, of.filter.parts, of.more, of.less, of.newlyPermitted, of.newlyDenied,
                      of.kinds.fragmentsOtherwise);
    };
    ASSERT_EQ(sums(counted), sums(expected)) << "seed " << seed;
    Count listed, turned;
    for (const DifferingPackets& each : counted.differing) {
      listed += each.count;
      ASSERT_EQ(each.packet, packets.at(each.number - 1));
    }
    for (const TurnedPackets& each : counted.turned) turned += each.count;
    ASSERT_EQ(listed.packets, expected.more.packets + expected.less.packets);
    ASSERT_EQ(turned.packets, expected.newlyPermitted.packets + expected.newlyDenied.packets);
  }
  EXPECT_GT(decided, 300u);
  EXPECT_GT(undecided, 300u);
}

// Sets the register that has this path.
void write(FilterDump& filter, const Register& wanted) {
  const auto registers = registersOf(filter);
  const auto at = static_cast<size_t>(std::ranges::find(registers, wanted.path, &Register::path) - registers.begin());
  ASSERT_LT(at, registers.size());
  (at < 4 ? filter.values[at] : filter.slots[(at - 4) / 4].values[(at - 4) % 4]) = wanted.value;
}

TEST(Verification, ARepairMendsAndNeverLetsThroughWhatNeitherEndDoes) {
  Random random(17);
  const Readings open = Readings::allOpen();
  const auto bit = [&](uint32_t value) { return random.isTrue() ? value : 0; };
  for (int round = 0; round < 400; ++round) {
    FilterDump expected = randomFilter(random), found = random.isTrue() ? expected : randomFilter(random);
    for (FilterDump* each : {&expected, &found}) {
      each->values[0] ^= bit(0x100) | bit(0x200);
      if (random.below(4) == 0) each->values = {0, bit(1) | bit(8), bit(1), bit(1)};
    }
    for (size_t flips = random.below(4); flips != 0; --flips) {
      Register flipped = random.oneOf(registersOf(found));
      flipped.value ^= uint32_t{1} << random.below(12);
      write(found, flipped);
    }
    const PacketSet allowed = permittedBy(expected, open) | permittedBy(found, open);
    for (const Register& each : repairOf(expected, found)) {
      write(found, each);
      EXPECT_TRUE((permittedBy(found, open) - allowed).isEmpty()) << round << " " << lineOf(each);
    }
    EXPECT_EQ(found, expected);
  }
}

}  // namespace
}  // namespace Sim
