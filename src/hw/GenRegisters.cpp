#include <algorithm>
#include <array>
#include <span>

#include "hw/FilterRegisters.h"
#include "hw/RegisterLayout.h"
#include "model/ShadowFilter.h"
#include "model/TracePoints.h"

namespace Kestrix {

namespace {

// A flag of the whole filter and what sets it. The filter's views are absent or false without their ACL.
struct FlagRow {
  Layout::FlagBit bit;
  bool (*isSet)(const ShadowFilter&) = nullptr;
};

constexpr FlagRow kEnableRows[] = {
    {Layout::kIpv4, [](const ShadowFilter& f) { return f.ruleType() == Acl::AclType::ipv4; }},
    {Layout::kL4, [](const ShadowFilter& f) { return f.l4(); }},
    {Layout::kDelay, [](const ShadowFilter& f) { return f.delay(); }},
    {Layout::kBroadcast, [](const ShadowFilter& f) { return f.broadcast().has_value(); }},
    {Layout::kMulticast, [](const ShadowFilter& f) { return f.multicast().has_value(); }},
    {Layout::kArp, [](const ShadowFilter& f) { return f.arp(); }},
    {Layout::kLldp, [](const ShadowFilter& f) { return f.lldp(); }},
};

constexpr FlagRow kActionRows[] = {
    {Layout::kSource, [](const ShadowFilter& f) { return f.srcOrDst() == SrcOrDst::source; }},
    {Layout::kPermitAny, [](const ShadowFilter& f) { return f.permitAny(); }},
    {Layout::kPermitBroadcast, [](const ShadowFilter& f) { return f.permitBroadcast(); }},
    {Layout::kPermitMulticast, [](const ShadowFilter& f) { return f.permitMulticast(); }},
    {Layout::kPermitArp, [](const ShadowFilter& f) { return f.permitArp() == true; }},
    {Layout::kPermitLldp, [](const ShadowFilter& f) { return f.permitLldp() == true; }},
};

// Whether something sets each flag of a register.
constexpr bool setsAll(std::span<const FlagRow> rows, const Layout::FilterRegister& filterRegister) {
  return std::ranges::equal(
      rows, filterRegister.flags, {}, [](const FlagRow& row) { return row.bit.mask; }, &Layout::FlagBit::mask);
}
static_assert(setsAll(kEnableRows, Layout::kEnable) && setsAll(kActionRows, Layout::kAction) &&
                  Layout::kTcp.flags.empty() && Layout::kUdp.flags.empty(),
              "nothing sets a flag that has a meaning, or the other way round");

uint32_t flags(std::span<const FlagRow> rows, const ShadowFilter& filter) {
  uint32_t word = 0;
  for (const FlagRow& row : rows) {
    if (row.isSet(filter)) word |= row.bit.mask;
  }
  return word;
}

FilterRuleRegisters ipSlot(uint8_t slot, const AclRule& rule) {
  const auto& [addr, wildcard] = rule.addrWithMask().ip();
  FilterRuleRegisters registers(slot);
  registers.mask_lowIs(wildcard);
  registers.addr_lowIs(addr.isAny() ? Layout::kAnyAddress : addr.number() | wildcard);
  if (rule.port() != 0) {
    registers.addr_highIs(rule.port());
  } else if (rule.tcp() || rule.udp()) {
    registers.addr_highIs(Layout::kAnyPort);
    registers.mask_highIs(Layout::kAnyPort);
  }
  return registers;
}

uint16_t firstTwo(const Platform::EthAddr::Octets& octets) { return static_cast<uint16_t>(octets[0] << 8 | octets[1]); }

uint32_t lastFour(const Platform::EthAddr::Octets& octets) {
  return uint32_t{octets[2]} << 24 | uint32_t{octets[3]} << 16 | uint32_t{octets[4]} << 8 | octets[5];
}

FilterRuleRegisters macSlot(uint8_t slot, const AclRule& rule) {
  const auto& [addr, wildcard] = rule.addrWithMask().mac();
  FilterRuleRegisters registers(slot);
  registers.mask_highIs(firstTwo(wildcard.octets()));
  registers.mask_lowIs(lastFour(wildcard.octets()));
  registers.addr_highIs(firstTwo(addr.octets()) | registers.mask_high());
  registers.addr_lowIs(lastFour(addr.octets()) | registers.mask_low());
  return registers;
}

FilterRegisters imageOf(const ShadowFilter& filter) {
  uint32_t enable = flags(kEnableRows, filter);
  uint32_t action = flags(kActionRows, filter);
  uint32_t tcp = 0;
  uint32_t udp = 0;
  FilterRegisters image;
  // The count of rules is the range of slots, as translated rules have the keys from 0 on. What has no bits in the
  // registers is left out.
  const auto slots = static_cast<uint8_t>(std::min<size_t>(filter.rule().size(), Layout::kMaxSlots));
  image.ruleRegistersReserve(slots);
  for (uint8_t slot = 0; slot < slots; ++slot) {
    const AclRule rule = filter.rule(slot);
    if (!rule) continue;  // No rule here, which looks like the default rule.
    enable |= Layout::kEnable.slotBit(slot);
    if (rule.action() == Acl::Action::permit) action |= Layout::kAction.slotBit(slot);
    if (rule.tcp()) tcp |= Layout::kTcp.slotBit(slot);
    if (rule.udp()) udp |= Layout::kUdp.slotBit(slot);
    image.ruleRegistersIs(rule.addrWithMask().containsIp() ? ipSlot(slot, rule) : macSlot(slot, rule));
  }
  image.enableIs(enable);
  image.actionIs(action);
  image.tcpIs(tcp);
  image.udpIs(udp);
  return image;
}

}  // namespace

FilterRegisters ShadowFilter::genRegisters() const {
  AclTrace("ShadowFilter", "genRegisters").level6("");
  return imageOf(*this);
}

}  // namespace Kestrix
