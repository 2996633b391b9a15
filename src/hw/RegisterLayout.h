// The FPGA's registers as data: names, bits, limits. The image, the writing of a filter, and who reads registers back
// all read these rows.
//
//   enable   31 ............ 8  7    6   5     4     3 2     1  0
//            slot 23 .. slot 0  lldp arp mcast bcast - delay l4 ipv4
//   action   31 ............ 8  7    6   5     4     3   2 1 0
//            permit, by slot    permit of the same   any - - source
//   tcp, udp 23 .. 0: the slot matches the protocol
//
// A slot has four registers: mask_high, mask_low (set bits are not compared), addr_high, addr_low.
//   IPv4: high = layer-4 port, low = address       MAC: high = first two octets, low = the other four
// The address registers carry the address with its wildcard bits set.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "platform/runtime/Export.h"

// The FPGA's registers.
namespace Kestrix::Layout {

// The most slots that a filter has: bits 8 to 31 of enable and action.
inline constexpr uint8_t kMaxSlots = 24;

// A bit of a register that says something of the whole filter.
struct FlagBit {
  uint32_t mask = 0;         // The one bit.
  std::string_view meaning;  // Of the set bit.
};

// Of `enable`.
inline constexpr FlagBit kIpv4{0x01, "programmed for IPv4"};
inline constexpr FlagBit kL4{0x02, "matches layer-4 ports"};
inline constexpr FlagBit kDelay{0x04, "ACL drop delay"};
inline constexpr FlagBit kBroadcast{0x10, "broadcast verdict in use"};
inline constexpr FlagBit kMulticast{0x20, "multicast verdict in use"};
inline constexpr FlagBit kArp{0x40, "ARP verdict in use"};
inline constexpr FlagBit kLldp{0x80, "LLDP verdict in use"};
inline constexpr std::array kEnableBits{kIpv4, kL4, kDelay, kBroadcast, kMulticast, kArp, kLldp};

// Of `action`.
inline constexpr FlagBit kSource{0x01, "rules match the source"};
inline constexpr FlagBit kPermitAny{0x08, "permit what no rule matches"};
inline constexpr FlagBit kPermitBroadcast{0x10, "permit broadcast"};
inline constexpr FlagBit kPermitMulticast{0x20, "permit multicast"};
inline constexpr FlagBit kPermitArp{0x40, "permit ARP"};
inline constexpr FlagBit kPermitLldp{0x80, "permit LLDP"};
inline constexpr std::array kActionBits{kSource,          kPermitAny, kPermitBroadcast,
                                        kPermitMulticast, kPermitArp, kPermitLldp};

// A register of the whole filter.
struct FilterRegister {
  std::string_view name;           // Appended to the path of the filter.
  std::span<const FlagBit> flags;  // The named bits.
  uint8_t firstSlotBit = 0;        // The position of the bit of slot 0; those of the other slots follow.
  std::string_view slotsMeaning;   // Of the set bits of slots, with a place for them in fmt's notation.

  // The bit of a slot below kMaxSlots.
  constexpr uint32_t slotBit(uint8_t slot) const { return uint32_t{1} << (firstSlotBit + slot); }
  // The bits of slots in a value of the register, that of slot 0 first.
  constexpr uint32_t slotBits(uint32_t value) const { return value >> firstSlotBit; }
};

// The registers of a filter, and all of them in the order in which they are written.
inline constexpr FilterRegister kEnable{"enable", kEnableBits, 8, "{} in use"};
inline constexpr FilterRegister kAction{"action", kActionBits, 8, "permit in {}"};
inline constexpr FilterRegister kTcp{"tcp", {}, 0, "{}"};
inline constexpr FilterRegister kUdp{"udp", {}, 0, "{}"};
inline constexpr std::array kFilterRegisters{kEnable, kAction, kTcp, kUdp};

// Whether each bit of the register means one thing.
constexpr bool isUnambiguous(const FilterRegister& filterRegister) {
  uint32_t named = 0;
  for (uint8_t slot = 0; slot < kMaxSlots; ++slot) named |= filterRegister.slotBit(slot);
  for (const FlagBit& bit : filterRegister.flags) named |= bit.mask;
  return static_cast<size_t>(std::popcount(named)) == kMaxSlots + filterRegister.flags.size();
}
static_assert(std::ranges::all_of(kFilterRegisters, isUnambiguous), "a bit is named twice, or does not exist");

// A register of a slot.
struct SlotRegister {
  std::string_view name;  // Appended to the path of the slot.
  uint8_t width = 32;     // The bits of it that are in use, from bit 0 on.
};

// The registers of a slot, and all of them in the order in which they are written.
inline constexpr SlotRegister kMaskHigh{"mask_high", 16};
inline constexpr SlotRegister kMaskLow{"mask_low", 32};
inline constexpr SlotRegister kAddrHigh{"addr_high", 16};
inline constexpr SlotRegister kAddrLow{"addr_low", 32};
inline constexpr std::array kSlotRegisters{kMaskHigh, kMaskLow, kAddrHigh, kAddrLow};

// The position of a register, among those of a filter or of a slot.
constexpr size_t positionOf(const FilterRegister& filterRegister) {
  const auto found = std::ranges::find(kFilterRegisters, filterRegister.name, &FilterRegister::name);
  return static_cast<size_t>(found - kFilterRegisters.begin());
}
constexpr size_t positionOf(const SlotRegister& slotRegister) {
  const auto found = std::ranges::find(kSlotRegisters, slotRegister.name, &SlotRegister::name);
  return static_cast<size_t>(found - kSlotRegisters.begin());
}

// A port of these registers that is matched by any port.
inline constexpr uint16_t kAnyPort = 0xFFFF;
// The address registers of address 0.0.0.0, whatever its wildcard.
inline constexpr uint32_t kAnyAddress = 0xFFFF'FFFF;

// Paths. The arguments are the core index and the port-group index, both 0-based and 16 bits wide.
inline constexpr char kIngressFilter[] = "msp_send[{}]/i_filter[{}]/";
inline constexpr char kEgressFilter[] = "msp_return[{}]/filter[{}]/";
// Appended to the path of a filter, with the slot number.
inline constexpr char kRuleSlot[] = "rule[{}]/";
// A register of the receive port, whose number is the port-group index.
inline constexpr char kLinkMonitor[] = "msp_send[{}]/rx[{}]/linkmon_ctl";

// Bits of the link-monitor control register. The others are written as 0.
inline constexpr uint32_t kLinkMonitorKept = 0x07;   // Written back as read.
inline constexpr uint32_t kLinkMonitorBlock = 0x18;  // Set to block all traffic.

}  // namespace Kestrix::Layout
