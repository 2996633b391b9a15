#include "verdict/PacketText.h"

#include <gmock/gmock.h>

#include <random>

namespace Sim {
namespace {

// What the text is read as, written in full, or what is wrong with it.
std::string readBack(std::string_view text) {
  std::string fault;
  const auto packet = readPacket(text, fault);
  EXPECT_EQ(packet.has_value(), fault.empty()) << text;
  return packet ? packet->toText() : fault;
}

TEST(PacketText, EveryPacketReadsBackAndNoBrokenTextThrows) {
  std::mt19937_64 engine(1);
  const auto below = [&](uint64_t limit) { return engine() % limit; };
  for (int n = 0; n < 4000; ++n) {
    const uint16_t types[] = {kIpv4Frame, kIpv4Frame, kArpFrame, kLldpFrame, static_cast<uint16_t>(engine())};
    const uint8_t protocols[] = {kTcpNumber, kUdpNumber, static_cast<uint8_t>(engine())};
    Packet packet = familiarPacket(types[below(5)]);
    if (packet.isIpv4()) packet[Field::protocol] = protocols[below(3)];
    for (const auto& [field, width] : kFields) {
      const bool isLink = field == Field::tagged || field == Field::sourceMac || field == Field::destinationMac;
      const bool isPort = field == Field::sourcePort || field == Field::destinationPort;
      const bool isThere = isLink || (isPort ? packet.hasPorts() : packet.isIpv4());
      const bool isKind = field == Field::etherType || field == Field::protocol;
      if (isThere && !isKind && below(2) != 0) packet[field] = engine() >> (64 - width);
    }
    std::string text = packet.toText(), fault;
    ASSERT_EQ(readPacket(text, fault), packet) << text << ": " << fault;
    ASSERT_FALSE(readPacket(text + " x", fault)) << text;
    text[below(text.size())] = static_cast<char>(engine());
    readBack(text.substr(0, below(text.size())));
    readBack(text);
  }
}

TEST(PacketText, SaysWhatIsLeftOutAndWhatIsWrong) {
  const std::string kind = ": expected tcp, udp, icmp, ip, arp, lldp, ipv6 or ethertype";
  const std::string address =
      ": expected an IPv4 address, and after the second one nothing, later-fragment, more-fragments, length or mac";
  const std::string end = ": expected later-fragment, more-fragments, length, mac or nothing more";
  const std::pair<std::string, std::string> rows[] = {
      {"tcp", "tcp 192.0.2.1:49152 > 198.51.100.1:443"},
      {"\tvlan  udp 192.0.2.7 > 192.0.2.8:53\r", "vlan udp 192.0.2.7:49152 > 192.0.2.8:53"},
      {"tcp 192.0.2.7 > 192.0.2.8 later-fragment", "tcp 192.0.2.7 > 192.0.2.8 later-fragment"},
      {"icmp length 40 more-fragments", "ip 1 192.0.2.1 > 198.51.100.1 more-fragments length 40"},
      {"arp mac 00:00:5e:00:53:07 > FF:FF:FF:FF:FF:FF", "arp 00:00:5e:00:53:07 > ff:ff:ff:ff:ff:ff"},
      {"ipv6", "ethertype 0x86dd 00:00:5e:00:53:01 > 00:00:5e:00:53:02"},
      {"", "at the end" + kind},
      {"vlan vlan tcp", "\"vlan\"" + kind},
      {"ip", "at the end: expected the number of a protocol, 0 to 255"},
      {"ip 256", "\"256\": expected the number of a protocol, 0 to 255"},
      {"ethertype 0x10000", "\"0x10000\": expected an EtherType, such as 0x86dd"},
      {"ethertype 2048", "\"2048\": expected another EtherType: write ip and a protocol, or tcp or udp"},
      {"tcp 192.0.2.7", "at the end: expected > and the destination"},
      {"tcp 192.0.2.7 >", "at the end" + address},
      {"tcp 192.0.2.256 > 192.0.2.1", "\"192.0.2.256\"" + address},
      {"tcp 192.0.2.7:65536 > x", "\"192.0.2.7:65536\": expected a port from 0 to 65535 after the address"},
      {"icmp 192.0.2.7:1 > x", "\"192.0.2.7:1\": expected an address without a port: only tcp and udp have ports"},
      {"udp 192.0.2.7:1 > 192.0.2.8 later-fragment",
       "\"later-fragment\": expected addresses without ports before it: a later fragment has none"},
      {"tcp length 1 length 1", "\"length\": expected this once"},
      {"tcp length", "at the end: expected an IP length, 0 to 65535"},
      {"tcp 192.0.2.7 > 192.0.2.8 established", "\"established\"" + end},
      {"arp 192.0.2.7 > 192.0.2.8", "\"192.0.2.7\": expected a MAC address, such as 00:00:5e:00:53:01"},
      {"arp mac 00:00:5e:00:53:01", "at the end: expected > and the destination"},
      {"lldp 00:00:5e:00:53:01 > 00:00:5e:00:53:02 length 1",
       "\"length\": expected nothing more: only IPv4 packets have more than MAC addresses"},
      {std::string(1000, 'x'), '"' + std::string(64, 'x') + "...\" (1000 characters)" + kind},
  };
  for (const auto& [text, expected] : rows) EXPECT_EQ(readBack(text), expected) << text;
}

}  // namespace
}  // namespace Sim
