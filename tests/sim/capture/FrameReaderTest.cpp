// What is read of frames: a table of them, and of what is known of each part of one.
#include <gmock/gmock.h>

#include <cctype>
#include <string>
#include <vector>

#include <pcap/dlt.h>

#include "capture/FrameReader.h"
#include "verdict/PacketText.h"

namespace Sim {
namespace {

using Bytes = std::vector<uint8_t>;

// Of hexadecimal digits; what is in brackets stands for itself: "[MACS]" for both addresses.
Bytes bytesOf(std::string text) {
  const std::string macs = "00005E005302 00005E005301";
  if (const size_t at = text.find("[MACS]"); at != text.npos) text.replace(at, 6, macs);
  std::erase(text, ' ');
  Bytes bytes;
  for (size_t i = 0; i + 1 < text.size(); i += 2) bytes.push_back(uint8_t(std::stoul(text.substr(i, 2), nullptr, 16)));
  return bytes;
}

CapturedPacket read(const Bytes& bytes, int linkType = DLT_EN10MB, size_t more = 0) {
  return readFrame({bytes, bytes.size() + more}, *linkTypeOf(linkType));
}

constexpr char kTcp[] = " 45000028 00010000 40060000 C0000207 C6336409 04D201BB ";
const std::string kRest(32, '0');  // Of the TCP header.
constexpr char kTcpText[] = "tcp 192.0.2.7:1234 > 198.51.100.9:443 length 40";

TEST(FrameReader, ReadsWhatVerdictsLookAt) {
  struct Row {
    int linkType;
    std::string bytes;
    std::string text;
    size_t length;  // Of the frame on the wire.
  };
  const std::string tcp = "0800" + (kTcp + kRest), macs = " 00:00:5e:00:53:01 > 00:00:5e:00:53:02";
  const Row rows[] = {
      {DLT_EN10MB, "[MACS]" + tcp, kTcpText, 54},
      {DLT_EN10MB, "[MACS] 8100 0001" + tcp, std::string("vlan ") + kTcpText, 58},
      {DLT_EN10MB, "[MACS] 88A8 0001 9100 0002 8100 0003" + tcp, std::string("vlan ") + kTcpText, 66},
      {DLT_EN10MB, "[MACS] 0800 46000020 00012000 40110000 C0000207 C6336409 01020304 00350035 00080000",
       "udp 192.0.2.7:53 > 198.51.100.9:53 more-fragments length 32", 46},
      {DLT_EN10MB, "[MACS] 0800 45000018 00010001 40060000 C0000207 C6336409 04D201BB",
       "tcp 192.0.2.7 > 198.51.100.9 later-fragment length 24", 38},
      {DLT_EN10MB, "[MACS] 0800 45000018 00013FFF 40010000 C0000207 C6336409 04D201BB",
       "ip 1 192.0.2.7 > 198.51.100.9 later-fragment more-fragments length 24", 38},
      {DLT_EN10MB, "[MACS] 0806 00", "arp" + macs, 15},
      {DLT_EN10MB, "[MACS] 05FF", "ethertype 0x0000" + macs, 14},
      {DLT_EN10MB, "[MACS] 0600", "ethertype 0x0600" + macs, 14},
      {DLT_DSA_TAG_BRCM, "[MACS] 08000800" + tcp, kTcpText, 54},
      {DLT_DSA_TAG_BRCM_PREPEND, "08000800 [MACS]" + tcp, kTcpText, 54},
      {DLT_DSA_TAG_DSA, "[MACS] DF000000" + tcp, kTcpText, 54},
      {DLT_DSA_TAG_DSA, "[MACS] 20000000" + tcp, std::string("vlan ") + kTcpText, 54},
      {DLT_DSA_TAG_EDSA, "[MACS] DADA0000 DF000000" + tcp, kTcpText, 54},
      {DLT_DSA_TAG_EDSA, "[MACS] DADA0000 20000000" + tcp, std::string("vlan ") + kTcpText, 54},
      {DLT_NETANALYZER, "00000000 [MACS]" + tcp + "FFFFFFFF", kTcpText, 54},
      {DLT_NETANALYZER_TRANSPARENT, "00000000 55555555555555D5 [MACS]" + tcp + "FFFFFFFF", kTcpText, 54},
      {DLT_ETHERNET_MPACKET, "55555555555555D5 [MACS]" + tcp + "FFFFFFFF", kTcpText, 54},
  };
  for (const auto& [linkType, bytes, text, length] : rows) {
    const CapturedPacket read = Sim::read(bytesOf(bytes), linkType);
    EXPECT_EQ(read.packet.toText(), text);
    EXPECT_EQ(read.bytes, length) << text;
    EXPECT_EQ(read.lack, Lack::none) << text;
    EXPECT_TRUE(read.unknown.isEmpty()) << text;
    std::string fault;
    EXPECT_EQ(readPacket(text, fault), read.packet) << fault;
  }
  EXPECT_EQ(linkTypeOf(DLT_RAW), nullptr);
}

// The first byte behind each field, in a frame behind a tag.
TEST(FrameReader, KnowsWhatWasCutOff) {
  const Bytes whole = bytesOf("[MACS] 8100 0001 0800" + (kTcp + kRest));
  const CapturedPacket all = read(whole);
  const std::pair<Field, size_t> ends[] = {
      {Field::destinationMac, 6}, {Field::sourceMac, 12},     {Field::tagged, 14},        {Field::etherType, 18},
      {Field::ipLength, 22},      {Field::laterFragment, 26}, {Field::moreFragments, 26}, {Field::protocol, 28},
      {Field::sourceIp, 34},      {Field::destinationIp, 38}, {Field::sourcePort, 40},    {Field::destinationPort, 42}};
  ASSERT_EQ(std::size(ends), kFields.size());
  for (size_t size = 0; size <= whole.size(); ++size) {
    const CapturedPacket cut = read({whole.begin(), whole.begin() + ptrdiff_t(size)}, DLT_EN10MB, whole.size() - size);
    for (const auto& [field, end] : ends) {
      EXPECT_EQ(cut.unknown.contains(field), size < end) << size << " bytes, field " << int(field);
      EXPECT_EQ(cut.packet[field], size < end ? 0 : all.packet[field]) << size << " bytes, field " << int(field);
    }
    EXPECT_EQ(cut.lack, size < 42 ? Lack::cutShort : Lack::none);
    EXPECT_EQ(cut.bytes, whole.size());
  }
  // Nothing of a part behind the first one is a header; of the first one, it is.
  const std::string macs = "[MACS] 0800" + (kTcp + kRest) + "FFFFFFFF";
  EXPECT_TRUE(read(bytesOf("555555555555 61E6" + macs), DLT_ETHERNET_MPACKET).unknown.contains(Field::destinationMac));
  EXPECT_EQ(read(bytesOf("555555555555 55E6" + macs), DLT_ETHERNET_MPACKET).lack, Lack::none);
  EXPECT_EQ(read(bytesOf("5555"), DLT_ETHERNET_MPACKET, 60).lack, Lack::cutShort);
}

TEST(FrameReader, SeesWhatContradictsItself) {
  struct Row {
    std::string bytes;
    Field known, unknown;
  };
  const Row rows[] = {
      {"[MACS]", Field::sourceMac, Field::etherType},      // No type.
      {"[MACS] 0800", Field::etherType, Field::ipLength},  // No header.
      {"[MACS] 0800 65000028 00010000 40060000 C0000207 C6336409 04D201BB" + kRest, Field::etherType, Field::protocol},
      {"[MACS] 0800 44000028 00010000 40060000 C0000207 C6336409 04D201BB" + kRest, Field::etherType, Field::protocol},
      {"[MACS] 0800 45000029 00010000 40060000 C0000207 C6336409 04D201BB" + kRest, Field::etherType, Field::sourceIp},
      {"[MACS] 0800 45000013 00010000 40010000 C0000207 C6336409 04D201BB" + kRest, Field::etherType, Field::sourceIp},
      {"[MACS] 0800 45000017 00010000 40060000 C0000207 C6336409 04D201BB" + kRest, Field::sourceIp, Field::sourcePort},
  };
  for (const auto& [bytes, known, unknown] : rows) {
    const CapturedPacket read = Sim::read(bytesOf(bytes));
    EXPECT_EQ(read.lack, Lack::malformed) << bytes;
    EXPECT_FALSE(read.unknown.contains(known)) << bytes;
    EXPECT_TRUE(read.unknown.contains(unknown)) << bytes;
    EXPECT_EQ(read.packet[unknown], 0u) << bytes;
  }
  EXPECT_EQ(read(bytesOf(std::rbegin(rows)->bytes), DLT_EN10MB, 20).lack, Lack::malformed) << "also where it is cut";
}

}  // namespace
}  // namespace Sim
