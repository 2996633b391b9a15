#include "verdict/Packet.h"

#include <fmt/format.h>

#include "platform/network/EthAddr.h"
#include "platform/network/IpAddr.h"

namespace Sim {
namespace {

std::string macText(uint64_t number) {
  Platform::EthAddr::Octets octets{};
  for (size_t i = 0; i < octets.size(); ++i) octets[i] = static_cast<uint8_t>(number >> (40 - 8 * i));
  return Platform::EthAddr(octets).toText();
}

std::string ipText(uint64_t number) { return Platform::IpAddr(static_cast<uint32_t>(number)).toText(); }

// What the frame is, up to its addresses.
std::string kindText(const Packet& packet) {
  switch (packet[Field::etherType]) {
    case kArpFrame:
      return "arp";
    case kLldpFrame:
      return "lldp";
    case kIpv4Frame:
      break;
    default:
      return fmt::format("ethertype 0x{:04x}", packet[Field::etherType]);
  }
  if (packet[Field::protocol] == kTcpNumber) return "tcp";
  if (packet[Field::protocol] == kUdpNumber) return "udp";
  return fmt::format("ip {}", packet[Field::protocol]);
}

}  // namespace

std::string Packet::toText() const {
  const Packet& packet = *this;
  const std::string macs =
      fmt::format("{} > {}", macText(packet[Field::sourceMac]), macText(packet[Field::destinationMac]));
  std::string text = (packet[Field::tagged] != 0 ? "vlan " : "") + kindText(packet) + " ";
  if (!isIpv4()) return text + macs;
  const auto side = [&](Field address, Field port) {
    return ipText(packet[address]) + (hasPorts() ? fmt::format(":{}", packet[port]) : "");
  };
  text += fmt::format("{} > {}", side(Field::sourceIp, Field::sourcePort),
                      side(Field::destinationIp, Field::destinationPort));
  if (packet[Field::laterFragment] != 0) text += " later-fragment";
  if (packet[Field::moreFragments] != 0) text += " more-fragments";
  if (packet[Field::ipLength] != 0) text += fmt::format(" length {}", packet[Field::ipLength]);
  const bool isFamiliar =
      packet[Field::sourceMac] == kFamiliarSource && packet[Field::destinationMac] == kFamiliarDestination;
  return isFamiliar ? text : text + " mac " + macs;
}

}  // namespace Sim
