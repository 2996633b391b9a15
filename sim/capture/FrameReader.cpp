#include "capture/FrameReader.h"

#include <algorithm>
#include <cstddef>

namespace Sim {
namespace {

constexpr uint64_t kMac = 6;                  // Bytes of a MAC address.
constexpr uint64_t kVlanTag = 4;              // Of a VLAN tag, its EtherType included.
constexpr uint64_t kLeastIpWords = 5;         // Of an IPv4 header.
constexpr uint64_t kPorts = 4;                // Bytes of both ports, which come first in a TCP or UDP header.
constexpr uint16_t kLeastEtherType = 0x0600;  // Smaller ones are lengths.

constexpr FieldSet kOfPorts{Field::sourcePort, Field::destinationPort};
constexpr FieldSet kOfFragments{Field::laterFragment, Field::moreFragments};
constexpr FieldSet kOfIp =
    kOfPorts | kOfFragments | FieldSet{Field::protocol, Field::sourceIp, Field::destinationIp, Field::ipLength};
constexpr FieldSet kOfType = kOfIp | FieldSet{Field::etherType};

constexpr bool isVlanTag(uint64_t etherType) {
  return etherType == 0x8100 || etherType == 0x88A8 || etherType == 0x9100;
}

class FrameParser {
 public:
  FrameParser(const CapturedFrame& frame, const LinkType& link, CapturedPacket& found) : link_(link), found_(found) {
    const uint64_t length = std::max<uint64_t>(frame.length, frame.bytes.size());
    const uint64_t added = uint64_t{link.before} + link.trailing;
    length_ = length - std::min(length, added);
    bytes_ = frame.bytes.subspan(std::min<size_t>(link.before, frame.bytes.size()));
    if (bytes_.size() > length_) bytes_ = bytes_.first(static_cast<size_t>(length_));
    isWhole_ = bytes_.size() == length_;
    found_.bytes = length_ - std::min<uint64_t>(length_, link.tag);
    if (link.isPart) readPreamble(frame.bytes);
  }

  void read() {
    readField<kMac>(Field::destinationMac, 0);
    readField<kMac>(Field::sourceMac, kMac);
    uint64_t at = 2 * kMac + link_.tag;
    bool isTagged =
        link_.vlanBit != 0 && has(2 * kMac, link_.tag) && (number<1>(2 * kMac + link_.vlanByte) & link_.vlanBit) != 0;
    for (; has(at, 2) && isVlanTag(number<2>(at)); at += kVlanTag) isTagged = true;
    if (!has(at, 2)) lacking(isTagged ? kOfType : kOfType | FieldSet{Field::tagged});
    set(Field::tagged, isTagged ? 1 : 0);
    if (!has(at, 2)) return;
    const uint64_t type = number<2>(at);
    set(Field::etherType, type < kLeastEtherType ? 0 : type);
    if (type == kIpv4Frame) readIp(at + 2);
  }

 private:
  bool has(uint64_t at, uint64_t count) const { return at + count <= bytes_.size(); }
  template <size_t count>
  uint64_t number(uint64_t at) const {
    const uint8_t* const first = bytes_.data() + at;
    uint64_t value = 0;
    for (size_t i = 0; i < count; ++i) value = value << 8 | first[i];
    return value;
  }
  void set(Field field, uint64_t value) { found_.packet[field] = value; }
  void lacking(FieldSet fields, bool isContradiction = false) {
    found_.unknown = found_.unknown | fields;
    if (found_.lack != Lack::malformed) found_.lack = isContradiction || isWhole_ ? Lack::malformed : Lack::cutShort;
  }
  // A number of some bytes.
  template <size_t count>
  void readField(Field field, uint64_t at) {
    if (has(at, count)) return set(field, number<count>(at));
    lacking({field});
  }

  // Frames may be sent in parts. The first one begins as a frame does, those after it have no header.
  void readPreamble(std::span<const uint8_t> bytes) {
    constexpr uint8_t kPreamble = 0x55, kOfWholeFrame = 0xD5, kOfFirstPart[] = {0xE6, 0x4C, 0x7F, 0xB3};
    if (bytes.size() < link_.before) return;
    const uint8_t last = bytes[link_.before - 1U];
    const bool isFirst = bytes[link_.before - 2U] == kPreamble;
    if (isFirst && last == kOfWholeFrame) return;
    isWhole_ = false;
    if (!isFirst || std::ranges::find(kOfFirstPart, last) == std::end(kOfFirstPart)) bytes_ = {};
  }

  void readIp(uint64_t ip) {
    if (!has(ip, 1)) return lacking(kOfIp);
    const uint64_t version = number<1>(ip) >> 4, header = (number<1>(ip) & 0xF) * 4;
    if (version != 4 || header < kLeastIpWords * 4) return lacking(kOfIp, true);
    const uint64_t length = has(ip + 2, 2) ? number<2>(ip + 2) : header;
    // A part of a frame has less than its packet, and is none the worse.
    const bool fits = link_.isPart || length <= length_ - ip;
    if (length < header || !fits) return lacking(kOfIp, true);
    readField<2>(Field::ipLength, ip + 2);
    readField<1>(Field::protocol, ip + 9);
    readField<4>(Field::sourceIp, ip + 12);
    readField<4>(Field::destinationIp, ip + 16);
    if (!has(ip + 6, 2)) return lacking(kOfFragments | kOfPorts);
    const uint64_t fragment = number<2>(ip + 6);
    set(Field::laterFragment, (fragment & 0x1FFF) != 0 ? 1 : 0);
    set(Field::moreFragments, (fragment & 0x2000) != 0 ? 1 : 0);
    if (found_.unknown.contains(Field::protocol)) return lacking(kOfPorts);
    if (!found_.packet.hasPorts()) return;
    if (length < header + kPorts) return lacking(kOfPorts, true);
    readField<2>(Field::sourcePort, ip + header);
    readField<2>(Field::destinationPort, ip + header + 2);
  }

  const LinkType& link_;
  std::span<const uint8_t> bytes_;  // Of the frame, as far as captured.
  uint64_t length_ = 0;             // Of all of it.
  bool isWhole_ = true;
  CapturedPacket& found_;
};

}  // namespace

CapturedPacket readFrame(const CapturedFrame& frame, const LinkType& linkType) {
  CapturedPacket found;
  FrameParser(frame, linkType, found).read();
  return found;
}

}  // namespace Sim
