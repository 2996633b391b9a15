#include "verdict/Configured.h"

#include <algorithm>
#include <variant>

namespace Sim {
namespace {

uint64_t numberOf(const Platform::EthAddr& addr) {
  uint64_t number = 0;
  for (const uint8_t octet : addr.octets()) number = number << 8 | octet;
  return number;
}

const PacketSet& ipv4Packets() {
  static const PacketSet& packets = *new PacketSet(PacketSet::where(Field::etherType, kIpv4Frame));
  return packets;
}

const PacketSet& packetsWithPorts() {
  static const PacketSet& packets =
      *new PacketSet((PacketSet::where(Field::protocol, kTcpNumber) | PacketSet::where(Field::protocol, kUdpNumber)) &
                     PacketSet::where(Field::laterFragment, 0));
  return packets;
}

PacketSet matchedBy(const Acl::IpFilter& filter) {
  const auto address = [](Field field, const Platform::IpAddrWithFullMask& network) {
    return network.addr.isAny() ? ~PacketSet() : PacketSet::where(field, network.addr.number(), ~network.mask);
  };
  const PacketSet addresses = address(Field::sourceIp, filter.srcIp) & address(Field::destinationIp, filter.dstIp);
  return filter.proto == Platform::kAnyProto ? addresses
                                             : addresses & PacketSet::where(Field::protocol, filter.proto.number());
}

PacketSet matchedBy(const Ports& ports, Field field) {
  if (ports == Ports{}) return ~PacketSet();
  if (ports.except != 0) return packetsWithPorts() - PacketSet::where(field, ports.except);
  return packetsWithPorts() & PacketSet::between(field, ports.low, ports.high);
}

PacketSet matchedBy(const IpRule& rule) {
  PacketSet matched = matchedBy(rule.config.filter) & matchedBy(rule.source, Field::sourcePort) &
                      matchedBy(rule.destination, Field::destinationPort);
  if (rule.ipLength != 0) matched = matched & PacketSet::where(Field::ipLength, rule.ipLength);
  return ipv4Packets() & matched;
}

PacketSet matchedBy(const FragmentRule& rule) {
  return ipv4Packets() & matchedBy(rule.config.filter) &
         (PacketSet::where(Field::moreFragments, 1) | PacketSet::where(Field::laterFragment, 1));
}

PacketSet matchedBy(const MacRule& rule) {
  const Acl::MacFilter& filter = rule.config.filter;
  const Platform::EthAddr any;
  const auto address = [&](Field field, const Platform::EthAddr& addr, const Platform::EthAddr& mask) {
    return addr.isEq(any) ? ~PacketSet() : PacketSet::where(field, numberOf(addr), ~numberOf(mask));
  };
  const PacketSet matched = address(Field::sourceMac, filter.srcAddr, filter.srcMask) &
                            address(Field::destinationMac, filter.dstAddr, filter.dstMask);
  return filter.ethType == 0 ? matched : matched & PacketSet::where(Field::etherType, filter.ethType);
}

PacketSet matchedBy(const ForeignRule&) { return {}; }
PacketSet matchedBy(const UnreadRule&) { return {}; }

PacketSet permittedBy(const AclConfiguration& acl, const Readings& readings) {
  const std::vector<AceVerdict> verdicts = verdictsOf(acl, readings);
  PacketSet permitted;
  for (auto verdict = verdicts.rbegin(); verdict != verdicts.rend(); ++verdict)
    permitted = verdict->permits ? permitted | verdict->matched : permitted - verdict->matched;
  return permitted;
}

}  // namespace

bool permits(const Ace& ace) {
  return std::visit(
      [](const auto& rule) {
        if constexpr (requires { rule.config; }) return rule.config.action == Acl::Action::permit;
        return false;
      },
      ace.rule);
}

bool canBeDecided(const AclConfiguration& acl) {
  return !acl.hasErrors && (acl.type == Acl::AclType::ipv4 || acl.type == Acl::AclType::mac);
}

std::vector<AceVerdict> verdictsOf(const AclConfiguration& acl, const Readings& readings) {
  std::vector<AceVerdict> verdicts;
  verdicts.reserve(acl.aces.size() + 2);
  for (const Ace& ace : acl.aces) {
    verdicts.push_back({&ace, std::visit([](const auto& rule) { return matchedBy(rule); }, ace.rule), permits(ace)});
  }
  // An IPv4 ACL says nothing of other frames.
  if (acl.type == Acl::AclType::ipv4)
    verdicts.push_back({nullptr, ~ipv4Packets() - readings.other(Reading::ipv4Acl), true});
  verdicts.push_back({nullptr, ~PacketSet(), false});
  return verdicts;
}

PacketSet permittedBy(std::span<const AclConfiguration* const> acls, const Readings& readings) {
  PacketSet both = ~PacketSet();
  PacketSet byFrame = ~PacketSet();
  for (const AclConfiguration* acl : acls) {
    const PacketSet permitted = permittedBy(*acl, readings);
    both = both & permitted;
    byFrame = (acl->type == Acl::AclType::ipv4 ? ipv4Packets() : ~ipv4Packets()).choose(permitted, byFrame);
  }
  return acls.size() < 2 ? both : readings.other(Reading::twoAcls).choose(byFrame, both);
}

}  // namespace Sim
