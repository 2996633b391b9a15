#include "verdict/Programmed.h"

#include <algorithm>
#include <utility>

namespace Sim {
namespace {

namespace Layout = Kestrix::Layout;

// What an interface without an ACL has in the registers of its filter, but for the drop delay.
bool isWithoutAcl(const FilterDump& filter) {
  return std::ranges::all_of(Layout::kFilterRegisters, [&](const Layout::FilterRegister& row) {
    const uint32_t delay = row.name == Layout::kEnable.name ? Layout::kDelay.mask : 0;
    return (filter.value(row) & ~delay) == 0;
  });
}

// What a filter sees of frames.
class Frames {
 public:
  Frames(const FilterDump& filter, const Readings& readings)
      : filter_(filter),
        readings_(readings),
        seen_(PacketSet::where(Field::tagged, 0) | ~readings.other(Reading::vlan)),
        ipv4_(ofType(kIpv4Frame)) {}

  // Those of an EtherType.
  PacketSet ofType(uint16_t etherType) const { return PacketSet::where(Field::etherType, etherType) & seen_; }
  PacketSet broadcast() const { return PacketSet::where(Field::destinationMac, kBroadcastMac); }
  PacketSet multicast() const {
    const PacketSet group = PacketSet::where(Field::destinationMac, kGroupBit, ~kGroupBit);
    return group & (~broadcast() | readings_.other(Reading::broadcast));
  }
  // Those that a slot in use matches.
  PacketSet matching(const SlotDump& slot) const {
    return isIpv4() ? ipv4_ & (protocol(slot) & (port(slot) & address(slot))) : address(slot);
  }
  // Those that the verdict for the rest decides.
  PacketSet rest() const {
    if (!isIpv4()) return ~PacketSet();
    return ipv4_ | readings_.other(Reading::ipv4Rest);
  }

 private:
  bool isIpv4() const { return filter_.isSet(Layout::kEnable, Layout::kIpv4); }
  bool isSource() const { return filter_.isSet(Layout::kAction, Layout::kSource); }

  PacketSet address(const SlotDump& slot) const {
    uint64_t value = slot.value(Layout::kAddrLow), wildcard = slot.value(Layout::kMaskLow);
    if (!isIpv4()) {
      value |= uint64_t{slot.value(Layout::kAddrHigh)} << 32;
      wildcard |= uint64_t{slot.value(Layout::kMaskHigh)} << 32;
    }
    const Field field = isIpv4()     ? isSource() ? Field::sourceIp : Field::destinationIp
                        : isSource() ? Field::sourceMac
                                     : Field::destinationMac;
    const PacketSet compared = PacketSet::where(field, value, wildcard);
    const bool canBeOnes = (~value & wildcard) == 0;
    return canBeOnes ? compared : compared - readings_.other(Reading::wildcardBits);
  }

  PacketSet protocol(const SlotDump& slot) const {
    const bool matchesTcp = filter_.isSet(Layout::kTcp, slot.slot);
    const bool matchesUdp = filter_.isSet(Layout::kUdp, slot.slot);
    if (matchesTcp && matchesUdp) return tcp_ | udp_ | ~readings_.other(Reading::bothProtocols);
    if (matchesTcp) return tcp_;
    return matchesUdp ? udp_ : readings_.other(Reading::noProtocol);
  }

  PacketSet port(const SlotDump& slot) const {
    const uint64_t port = slot.value(Layout::kAddrHigh), wildcard = slot.value(Layout::kMaskHigh);
    constexpr uint64_t kEveryBit = 0xFFFF;
    if ((wildcard & kEveryBit) == kEveryBit) return ~PacketSet();
    const Field field = isSource() ? Field::sourcePort : Field::destinationPort;
    PacketSet compared =
        (withPorts_ & PacketSet::where(field, port, wildcard)) | (later_ & readings_.other(Reading::fragments));
    if (filter_.isSet(Layout::kEnable, Layout::kL4)) return compared;
    return compared | ~readings_.other(Reading::portsOff);
  }

  const FilterDump& filter_;
  const Readings& readings_;
  PacketSet seen_;  // Those whose headers the filter sees.
  PacketSet ipv4_;
  PacketSet tcp_ = PacketSet::where(Field::protocol, kTcpNumber);
  PacketSet udp_ = PacketSet::where(Field::protocol, kUdpNumber);
  PacketSet later_ = PacketSet::where(Field::laterFragment, 1);
  PacketSet withPorts_ = (tcp_ | udp_) - later_;
};

// Lists what decides, in the order of the hardware. Where that is open, a part stands in each place that it can have.
class Verdicts {
 public:
  Verdicts(const FilterDump& filter, const Readings& readings)
      : filter_(filter), readings_(readings), frames_(filter, readings) {}

  std::vector<FilterVerdict> list() && {
    const PacketSet protocolAfter = readings_.other(Reading::protocolVerdicts);
    const PacketSet groupAfter = readings_.other(Reading::groupVerdicts);
    addStage(~protocolAfter, ~groupAfter);
    for (const SlotDump& slot : filter_.slots) {
      if (!filter_.slotEnabled(slot.slot)) continue;
      verdicts_.push_back(
          {FilterPart::slot, slot.slot, frames_.matching(slot), filter_.isSet(Layout::kAction, slot.slot)});
    }
    addStage(protocolAfter, groupAfter);
    const PacketSet rest = frames_.rest();
    verdicts_.push_back({FilterPart::rest, 0, rest, filter_.permitsUnmatched()});
    // Frames that a filter programmed for IPv4 leaves alone.
    verdicts_.push_back({FilterPart::noAcl, 0, ~PacketSet(), true});
    return std::move(verdicts_);
  }

 private:
  // The verdicts for protocols and groups, as far as this is their place.
  void addStage(const PacketSet& protocolsHere, const PacketSet& groupsHere) {
    const PacketSet groupFirst = readings_.other(Reading::verdictOrder);
    addGroups(groupsHere & groupFirst);
    add(FilterPart::arp, Layout::kArp, Layout::kPermitArp, protocolsHere & frames_.ofType(kArpFrame));
    add(FilterPart::lldp, Layout::kLldp, Layout::kPermitLldp, protocolsHere & frames_.ofType(kLldpFrame));
    addGroups(groupsHere - groupFirst);
  }
  void addGroups(const PacketSet& here) {
    add(FilterPart::broadcast, Layout::kBroadcast, Layout::kPermitBroadcast, here & frames_.broadcast());
    add(FilterPart::multicast, Layout::kMulticast, Layout::kPermitMulticast, here & frames_.multicast());
  }
  void add(FilterPart part, const Layout::FlagBit& inUse, const Layout::FlagBit& permits, const PacketSet& matched) {
    if (!filter_.isSet(Layout::kEnable, inUse) || matched.isEmpty()) return;
    verdicts_.push_back({part, 0, matched, filter_.isSet(Layout::kAction, permits)});
  }

  const FilterDump& filter_;
  const Readings& readings_;
  Frames frames_;
  std::vector<FilterVerdict> verdicts_;
};

}  // namespace

std::vector<FilterVerdict> verdictsOf(const FilterDump& filter, const Readings& readings) {
  if (isWithoutAcl(filter)) return {{FilterPart::noAcl, 0, ~PacketSet(), true}};
  return Verdicts(filter, readings).list();
}

}  // namespace Sim
