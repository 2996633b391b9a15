// A packet, as far as a verdict can depend on it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Sim {

// The fields of a packet, most telling first: an example of a set is as simple as can be in this order.
enum class Field : uint8_t {
  tagged,         // 1 behind a VLAN tag.
  laterFragment,  // 1 for an IPv4 fragment but the first, which has no ports.
  moreFragments,  // 1 for an IPv4 fragment but the last.
  etherType,      // Of what is behind the tag.
  protocol,
  destinationPort,
  sourcePort,
  destinationIp,
  sourceIp,
  destinationMac,
  sourceMac,
  ipLength,
};

struct FieldRow {
  Field field;
  uint8_t width;  // In bits.
};

// A row for each field, in the order of the fields.
inline constexpr std::array kFields{
    FieldRow{Field::tagged, 1},          FieldRow{Field::laterFragment, 1},  FieldRow{Field::moreFragments, 1},
    FieldRow{Field::etherType, 16},      FieldRow{Field::protocol, 8},       FieldRow{Field::destinationPort, 16},
    FieldRow{Field::sourcePort, 16},     FieldRow{Field::destinationIp, 32}, FieldRow{Field::sourceIp, 32},
    FieldRow{Field::destinationMac, 48}, FieldRow{Field::sourceMac, 48},     FieldRow{Field::ipLength, 16},
};

constexpr uint8_t widthOf(Field field) { return kFields[static_cast<size_t>(field)].width; }

inline constexpr uint16_t kArpFrame = 0x0806;
inline constexpr uint16_t kIpv4Frame = 0x0800;
inline constexpr uint16_t kIpv6Frame = 0x86DD;
inline constexpr uint16_t kLldpFrame = 0x88CC;

inline constexpr uint8_t kTcpNumber = 6;
inline constexpr uint8_t kUdpNumber = 17;

// Of an example.
inline constexpr uint64_t kFamiliarSource = 0x0000'5E00'5301;
inline constexpr uint64_t kFamiliarDestination = 0x0000'5E00'5302;
inline constexpr uint64_t kBroadcastMac = 0xFFFF'FFFF'FFFF;
inline constexpr uint64_t kGroupBit = 0x0100'0000'0000;  // Of a MAC address: that of a group of stations.

struct Packet {
  std::array<uint64_t, kFields.size()> values{};  // In the order of the fields; 0 where the frame has no such field.

  constexpr uint64_t operator[](Field field) const { return values[static_cast<size_t>(field)]; }
  constexpr uint64_t& operator[](Field field) { return values[static_cast<size_t>(field)]; }
  bool operator==(const Packet&) const = default;

  constexpr bool isIpv4() const { return (*this)[Field::etherType] == kIpv4Frame; }
  constexpr bool hasPorts() const {
    const uint64_t protocol = (*this)[Field::protocol];
    return isIpv4() && (protocol == kTcpNumber || protocol == kUdpNumber) && (*this)[Field::laterFragment] == 0;
  }
  // As `kestrix-sim packet` reads it: "tcp 192.0.2.7:1234 > 198.51.100.9:443", "arp 00:00:5e:00:53:01 >
  // 00:00:5e:00:53:02". An IPv4 packet shows its MAC addresses where they are not those of the examples.
  std::string toText() const;
};

// Packets as people know them, between the addresses of documentation: what an example is like where it can be, the
// first one first.
constexpr Packet familiarPacket(uint16_t etherType, uint8_t protocol = 0) {
  Packet packet;
  packet[Field::etherType] = etherType;
  packet[Field::protocol] = protocol;
  if (etherType == kIpv4Frame) {
    packet[Field::sourceIp] = 0xC000'0201;       // 192.0.2.1
    packet[Field::destinationIp] = 0xC633'6401;  // 198.51.100.1
  }
  if (packet.hasPorts()) {
    packet[Field::sourcePort] = 49152;
    packet[Field::destinationPort] = 443;
  }
  packet[Field::sourceMac] = kFamiliarSource;
  packet[Field::destinationMac] = kFamiliarDestination;
  return packet;
}
inline constexpr std::array kFamiliarPackets{
    familiarPacket(kIpv4Frame, kTcpNumber),
    familiarPacket(kIpv4Frame, kUdpNumber),
    familiarPacket(kIpv4Frame, 1),
    familiarPacket(kIpv6Frame),
    familiarPacket(kArpFrame),
    familiarPacket(kLldpFrame),
};

}  // namespace Sim
