// Policies as the library programs them: where the device is bound to decide otherwise is known without the evaluators.
#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "sim/Random.h"
#include "simulate/Framework.h"
#include "simulate/SimFpga.h"
#include "verdict/Comparison.h"

namespace Sim {
namespace {

namespace Layout = Kestrix::Layout;
using Acl::Action;

// What a rule matches: a host of its own, or all frames of a kind.
enum class Kind : uint8_t { host, arp, lldp, fragments, any };

struct Rule {
  Kind kind = Kind::host;
  bool permits = false;
};

// The rules of an ACL, the one for any packet, if there is one, at the end.
using Rules = std::vector<Rule>;

bool permitsRest(const Rules& rules) {
  return !rules.empty() && rules.back().kind == Kind::any && rules.back().permits;
}

struct Policy {
  std::optional<Rules> ip, mac;  // Attached to the interface.
  bool macFirst = false;
};

Rules randomRules(Random& random, std::vector<Kind> kinds) {
  Rules rules;
  for (uint64_t count = random.below(5); count > 0 && !kinds.empty(); --count) {
    const auto kind = kinds.begin() + static_cast<ptrdiff_t>(random.below(kinds.size()));
    rules.push_back({*kind, random.isTrue()});
    if (*kind != Kind::host) kinds.erase(kind);
  }
  if (random.below(3) != 0) rules.push_back({Kind::any, random.isTrue()});
  return rules;
}

Policy randomPolicy(Random& random) {
  Policy policy;
  policy.macFirst = random.isTrue();
  if (random.isTrue()) policy.ip = randomRules(random, {Kind::host, Kind::host, Kind::host, Kind::fragments});
  const bool hasAddresses = !policy.ip && random.isTrue();  // Beside an IPv4 ACL, they would be refused.
  if (random.isTrue())
    policy.mac = randomRules(random, hasAddresses ? std::vector{Kind::host, Kind::host, Kind::arp, Kind::lldp}
                                                  : std::vector{Kind::arp, Kind::lldp});
  return policy;
}

AceRule ruleOf(const Rule& rule, bool isMac, uint8_t host) {
  const Action action = rule.permits ? Action::permit : Action::deny;
  const bool isHost = rule.kind == Kind::host;
  if (isMac) {
    const Platform::EthAddr none;
    const uint32_t etherType = rule.kind == Kind::arp ? kArpFrame : rule.kind == Kind::lldp ? kLldpFrame : 0;
    return MacRule{{action,
                    {etherType, isHost ? Platform::EthAddr({0, 0, 0x5E, 0, 0x53, host}) : none,
                     isHost ? none.complement() : none, none, none}}};
  }
  const Platform::IpAddrWithFullMask from{Platform::IpAddr(isHost ? 0xC000'0200 + host : 0),
                                          Platform::prefixMask(isHost ? 32 : 0)};
  if (rule.kind == Kind::fragments) return FragmentRule{{action, {}}};
  return IpRule{{action, {Platform::kAnyProto, from, {Platform::IpAddr(0), Platform::prefixMask(0)}}}, {}, {}};
}

AclConfiguration aclOf(const Rules& rules, bool isMac) {
  AclConfiguration acl{isMac ? "mac" : "ip",
                       isMac ? "eth-acl-type" : "ipv4-acl-type",
                       isMac ? Acl::AclType::mac : Acl::AclType::ipv4,
                       {}};
  for (uint8_t host = 1; const Rule& rule : rules)
    acl.aces.push_back({std::to_string(host), ruleOf(rule, isMac, host)}), ++host;
  return acl;
}

Configuration configurationOf(const Policy& policy, Platform::IntfId intf) {
  Configuration desired;
  if (policy.mac) desired.acls.push_back(aclOf(*policy.mac, true));
  if (policy.ip)
    desired.acls.insert(policy.macFirst ? desired.acls.end() : desired.acls.begin(), aclOf(*policy.ip, false));
  for (const AclConfiguration& acl : desired.acls)
    desired.attachments.push_back({intf, Acl::AclDirection::in, acl.name});
  return desired;
}

// --- Where it must differ
// ----------------------------------------------------------------------------------------------

// A rule for fragments, which is not enforced, differs where what comes after it decides otherwise.
bool missesFragments(const Rules& rules) {
  const auto fragments = std::ranges::find(rules, Kind::fragments, &Rule::kind);
  if (fragments == rules.end()) return false;
  return fragments->permits != permitsRest(rules) ||
         std::any_of(fragments, rules.end(), [&](const Rule& each) { return each.permits != fragments->permits; });
}

// Verdicts for ARP and LLDP come before the addresses: an address that is to come first is passed over.
bool overtakesHosts(const Rules& rules) {
  for (auto verdict = rules.begin(); verdict != rules.end(); ++verdict) {
    if (verdict->kind != Kind::arp && verdict->kind != Kind::lldp) continue;
    if (std::any_of(rules.begin(), verdict,
                    [&](const Rule& each) { return each.kind == Kind::host && each.permits != verdict->permits; }))
      return true;
  }
  return false;
}

// By the rules and by what the filter is programmed for, which earlier policies have a part in.
bool mustDiffer(const Policy& policy, const FilterDump& filter) {
  const bool isIpv4 = filter.isSet(Layout::kEnable, Layout::kIpv4), rest = filter.permitsUnmatched();
  const bool isAllZero = filter.isZero();
  const auto& [ip, mac, macFirst] = policy;
  if (ip && missesFragments(*ip) && (!mac || permitsRest(*mac))) return true;  // Else the MAC ACL denies them.
  if (mac && overtakesHosts(*mac)) return true;
  // Programmed for an ACL that has left: it stops what it is programmed for.
  if (!ip && !mac) return !isAllZero && !rest;
  // Registers of 0 are those of no ACL, and let everything pass.
  if (isAllZero) return true;
  // A filter for IPv4 lets other frames pass, but for ARP and LLDP; one for MAC decides them all by one verdict.
  if (isIpv4) return (ip && rest != permitsRest(*ip)) || (mac && !permitsRest(*mac)) || !ip;
  if (mac && rest != permitsRest(*mac)) return true;
  return ip && (rest != permitsRest(*ip) || (!mac && !rest));
}

TEST(Meaning, DiffersWhereTheRegistersCannotSayIt) {
  size_t differing = 0, equal = 0, both = 0;
  for (unsigned seed = 0; seed < 2000; ++seed) {
    Random random(seed);
    Device device;
    device.inRules = device.outRules = 8;
    device.interfaces.push_back({Platform::IntfId("e1"), 1, 1});
    // The first writes, some of which may fail, are those of the start-up.
    const auto fpga = Platform::make<SimFpga>(std::set<uint64_t>{5 + random.below(200), 5 + random.below(200)});
    Framework framework(device, fpga, [](size_t, size_t) {});
    for (uint64_t steps = 1 + random.below(4); steps > 0; --steps) {
      const Policy policy = randomPolicy(random);
      const Configuration desired = configurationOf(policy, device.interfaces[0].id);
      const size_t failedBefore = fpga->failedWrites().size();
      const Outcome outcome = framework.apply(desired);
      // Refused for what an earlier step has left behind, or a write failed: the next step has to do with it.
      if (!outcome.isAllApplied() || fpga->failedWrites().size() != failedBefore) continue;
      std::vector<const AclConfiguration*> acls;
      for (const AclConfiguration& acl : desired.acls) acls.push_back(&acl);
      const FilterDumps filters(fpga->reader(), device);
      const FilterDump& filter = filters.of(device.interfaces[0].id, Acl::AclDirection::in);
      const bool differs = !Comparer(Readings()).compare(filter, acls).isEqual();
      ASSERT_EQ(differs, mustDiffer(policy, filter))
          << "seed " << seed << ", " << steps << " steps before the end, enable " << filter.words(Layout::kEnable)
          << ", action " << filter.words(Layout::kAction);
      ++(differs ? differing : equal);
      both += policy.ip && policy.mac;
    }
  }
  // The classes are met, and so is what they leave out.
  EXPECT_GT(differing, 100u);
  EXPECT_GT(equal, 100u);
  EXPECT_GT(both, 50u);
}

// --- Each bit
// -----------------------------------------------------------------------------------------------------------

// Whether a bit of a register of the filter below has no effect, flipped alone.
bool isIdle(const Layout::FilterRegister& row, int bit, const FilterDump& filter) {
  const uint32_t flag = uint32_t{1} << bit, slots = row.slotBits(~uint32_t{0}) & 0xFFFFFF;
  if ((slots << row.firstSlotBit & flag) == 0 &&
      std::ranges::find(row.flags, flag, &Layout::FlagBit::mask) == row.flags.end())
    return true;                                                                     // It has no meaning.
  if (row.name == Layout::kEnable.name && flag == Layout::kDelay.mask) return true;  // It delays, and decides nothing.
  // The verdict of something that is not in use, and what belongs to a slot that is not.
  if (row.name == Layout::kAction.name && (flag & 0xF0) != 0) return (filter.value(Layout::kEnable) & flag) == 0;
  const int slot = bit - row.firstSlotBit;
  if (slot < 0) return false;
  if (row.name == Layout::kEnable.name) return slot >= 3;  // Such a slot matches no protocol.
  return slot >= 3;
}

TEST(Meaning, OfEachBitThatDecidesIsSeen) {
  // ARP, two hosts, one of them by its TCP port, and a network are stopped; what is left passes, so that none is in
  // vain.
  const FilterDump filter{.intf = Platform::IntfId("e1"),
                          .values = {0x743, 0x009, 0b111, 0b101},
                          .slots = {{0, {0xFFFF, 0, 0xFFFF, 0xC0000201}},
                                    {1, {0, 0, 443, 0xC0000202}},
                                    {2, {0xFFFF, 0xFF, 0xFFFF, 0xC63364FF}},
                                    {3, {}}}};
  const PacketSet before = permittedBy(filter, {}) & PacketSet::all();
  const auto changes = [&](const FilterDump& flipped) {
    return !((permittedBy(flipped, {}) & PacketSet::all()) == before);
  };
  for (size_t i = 0; i < Layout::kFilterRegisters.size(); ++i) {
    for (int bit = 0; bit < 32; ++bit) {
      FilterDump flipped = filter;
      flipped.values[i] ^= uint32_t{1} << bit;
      EXPECT_NE(changes(flipped), isIdle(Layout::kFilterRegisters[i], bit, filter))
          << Layout::kFilterRegisters[i].name << " bit " << bit;
    }
  }
  for (size_t slot = 0; slot < 4; ++slot) {
    for (size_t i = 0; i < Layout::kSlotRegisters.size(); ++i) {
      const auto& row = Layout::kSlotRegisters[i];
      for (uint32_t bit = 1; bit != 0 && (bit >> (row.width - 1)) <= 1; bit <<= 1) {
        FilterDump flipped = filter;
        flipped.slots[slot].values[i] ^= bit;
        const auto [maskHigh, maskLow, addrHigh, addrLow] = filter.slots[slot].values;
        // A bit of an address under its mask is not compared; a slot that is not in use is not looked at.
        const uint32_t mask = row.name == Layout::kAddrHigh.name  ? maskHigh
                              : row.name == Layout::kAddrLow.name ? maskLow
                                                                  : 0;
        EXPECT_NE(changes(flipped), slot == 3 || (mask & bit) != 0)
            << row.name << " of slot " << slot << " bit " << bit;
      }
    }
  }
}

}  // namespace
}  // namespace Sim
