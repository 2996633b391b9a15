// The FPGA's filter registers as data: names, bits, limits. The image, the writing of a filter and the register dump of
// the simulator all read these rows.
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

#include <array>
#include <bit>
#include <cstdint>
#include <span>
#include <string_view>

namespace Kestrix::Layout {

inline constexpr uint8_t kMaxSlots = 24;  // Slot bits 8 to 31 of enable and action.
inline constexpr unsigned kFirstSlotBit = 8;

constexpr uint32_t slotBit(uint8_t slot) { return uint32_t{1} << (kFirstSlotBit + slot); }
constexpr uint32_t protocolBit(uint8_t slot) { return uint32_t{1} << slot; }

struct FlagBit {
  uint32_t mask;
  std::string_view meaning;  // Of the set bit.
};

inline constexpr FlagBit kIpv4{0x01, "programmed for IPv4"};
inline constexpr FlagBit kL4{0x02, "matches layer-4 ports"};
inline constexpr FlagBit kDelay{0x04, "ACL drop delay"};
inline constexpr FlagBit kBroadcast{0x10, "broadcast verdict in use"};
inline constexpr FlagBit kMulticast{0x20, "multicast verdict in use"};
inline constexpr FlagBit kArp{0x40, "ARP verdict in use"};
inline constexpr FlagBit kLldp{0x80, "LLDP verdict in use"};
inline constexpr std::array kEnableBits{kIpv4, kL4, kDelay, kBroadcast, kMulticast, kArp, kLldp};

inline constexpr FlagBit kSource{0x01, "rules match the source"};
inline constexpr FlagBit kPermitAny{0x08, "permit what no rule matches"};
inline constexpr FlagBit kPermitBroadcast{0x10, "permit broadcast"};
inline constexpr FlagBit kPermitMulticast{0x20, "permit multicast"};
inline constexpr FlagBit kPermitArp{0x40, "permit ARP"};
inline constexpr FlagBit kPermitLldp{0x80, "permit LLDP"};
inline constexpr std::array kActionBits{kSource,          kPermitAny, kPermitBroadcast,
                                        kPermitMulticast, kPermitArp, kPermitLldp};

// How many bits are named, by `bits` or as those of a slot.
constexpr size_t namedBits(std::span<const FlagBit> bits) {
  uint32_t named = 0;
  for (uint8_t slot = 0; slot < kMaxSlots; ++slot) named |= slotBit(slot);
  for (const FlagBit& bit : bits) named |= bit.mask;
  return static_cast<size_t>(std::popcount(named));
}
static_assert(namedBits(kEnableBits) == kMaxSlots + kEnableBits.size() &&
                  namedBits(kActionBits) == kMaxSlots + kActionBits.size(),
              "a bit is named twice");
static_assert(slotBit(kMaxSlots - 1) == 0x8000'0000u, "the last slot has the last bit");

// A port of these registers that is matched by any port.
inline constexpr uint16_t kAnyPort = 0xFFFF;
// The address registers of address 0.0.0.0, whatever its wildcard.
inline constexpr uint32_t kAnyAddress = 0xFFFF'FFFF;

// Paths. The arguments are the core index and the port-group index, both 0-based and 16 bits wide.
inline constexpr char kInputFilter[] = "msp_send[{}]/i_filter[{}]/";
inline constexpr char kOutputFilter[] = "msp_return[{}]/filter[{}]/";
// Appended to the path of a filter, with the slot number.
inline constexpr char kRuleSlot[] = "rule[{}]/";
// A register of the receive port, whose number is the port-group index.
inline constexpr char kLinkMonitor[] = "msp_send[{}]/rx[{}]/linkmon_ctl";

// Bits of the link-monitor control register. The others are written as 0.
inline constexpr uint32_t kLinkMonitorKept = 0x07;   // Written back as read.
inline constexpr uint32_t kLinkMonitorBlock = 0x18;  // Set to block all traffic.

}  // namespace Kestrix::Layout
