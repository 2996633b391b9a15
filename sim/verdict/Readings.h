// What the device does where the registers leave it open: each question is a reading, with two alternatives.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "verdict/PacketSet.h"

namespace Sim {

enum class Reading : uint8_t {
  bothProtocols,
  noProtocol,
  protocolVerdicts,
  groupVerdicts,
  verdictOrder,
  broadcast,
  ipv4Acl,
  ipv4Rest,
  twoAcls,
  fragments,
  vlan,
  wildcardBits,
  portsOff,
};

struct Alternative {
  std::string_view name;
  std::string_view meaning;  // Completes "the device, or the ACL, is taken so that ...".
};

struct ReadingRow {
  Reading reading;
  std::string_view name;
  Alternative standard;  // Taken unless another is asked for.
  Alternative other;
  std::string_view basis;  // What the standard one rests on.
};

// A row for each reading, in the order of the readings.
inline constexpr std::array kReadings{
    ReadingRow{Reading::bothProtocols,
               "both-protocols",
               {"every", "a slot with both protocol bits matches every protocol"},
               {"tcp-udp", "a slot with both protocol bits matches TCP and UDP, and no other protocol"},
               "the library sets both for a rule of any protocol"},
    ReadingRow{Reading::noProtocol,
               "no-protocol",
               {"none", "an IPv4 slot with neither protocol bit matches no packet"},
               {"every", "an IPv4 slot with neither protocol bit matches every protocol"},
               "the library writes none; a bit is what lets a protocol match"},
    ReadingRow{Reading::protocolVerdicts,
               "protocol-verdicts",
               {"before", "the verdicts for ARP and LLDP are taken before the slots are looked at"},
               {"after", "the verdicts for ARP and LLDP are taken where no slot matches"},
               "they take no slot, so that no order among the rules is kept"},
    ReadingRow{Reading::groupVerdicts,
               "group-verdicts",
               {"before", "the verdicts for broadcast and multicast are taken before the slots are looked at"},
               {"after", "the verdicts for broadcast and multicast are taken where no slot matches"},
               "as those for ARP and LLDP"},
    ReadingRow{Reading::verdictOrder,
               "verdict-order",
               {"protocol-first", "the verdicts for ARP and LLDP come before those for broadcast and multicast"},
               {"group-first", "the verdicts for broadcast and multicast come before those for ARP and LLDP"},
               "ARP requests are broadcast: a verdict for ARP would decide few of them otherwise"},
    ReadingRow{Reading::broadcast,
               "broadcast",
               {"apart", "a broadcast is no multicast"},
               {"multicast", "the verdict for multicast decides broadcasts, too, if they have none of their own"},
               "the registers have a bit for each"},
    ReadingRow{Reading::ipv4Acl,
               "ipv4-acl",
               {"ipv4", "an IPv4 ACL speaks of IPv4 packets only"},
               {"every", "the end of an IPv4 ACL denies every frame that is no IPv4 packet"},
               "what is commonly expected of one: ARP passes beside it"},
    ReadingRow{Reading::ipv4Rest,
               "ipv4-rest",
               {"ipv4", "in a filter programmed for IPv4, the verdict for the rest is for IPv4 packets only"},
               {"every", "in a filter programmed for IPv4, the verdict for the rest is for every frame"},
               "an ordinary IPv4 ACL would stop ARP otherwise"},
    ReadingRow{Reading::twoAcls,
               "two-acls",
               {"both", "a packet passes an IPv4 and a MAC ACL on one interface if both permit it"},
               {"by-frame", "the IPv4 ACL decides IPv4 packets, and the MAC ACL the other frames"},
               "RFC 8519: an ACL set is a list of filters, each with a deny at its end"},
    ReadingRow{Reading::fragments,
               "fragments",
               {"no-match", "a slot with a port does not match a later fragment, which has no ports"},
               {"match", "a slot with a port matches later fragments by all but the port"},
               "a field that is not there cannot be equal"},
    ReadingRow{Reading::vlan,
               "vlan",
               {"inside", "a frame behind a VLAN tag is filtered as what is behind the tag"},
               {"opaque", "a frame behind a VLAN tag is neither IPv4 nor ARP nor LLDP to the filter"},
               "the tag is commonly taken off, or passed over, where ports are members of VLANs"},
    ReadingRow{Reading::wildcardBits,
               "wildcard-bits",
               {"ignored", "address bits under the mask are not compared"},
               {"ones", "the packet's bits under the mask are set to one, and then compared with the address"},
               "both come to the same for what the library writes, which sets these bits"},
    ReadingRow{Reading::portsOff,
               "ports-off",
               {"not-compared", "without bit 1 of enable, no slot compares ports"},
               {"compared", "slots compare their ports without bit 1 of enable, too"},
               "the bit says that layer-4 ports are matched"},
};
static_assert(kReadings.size() <= kChoices);
static_assert(std::ranges::all_of(kReadings,
                                  [](const ReadingRow& row) {
                                    return &row == &kReadings[static_cast<size_t>(row.reading)];
                                  }),
              "a reading has another one's row");

constexpr const ReadingRow& rowOf(Reading reading) { return kReadings[static_cast<size_t>(reading)]; }

// Which alternatives are taken; a reading that is left open is a choice of the sets.
class Readings {
 public:
  // All as standard.
  Readings() = default;
  static Readings allOpen();

  void set(Reading reading, bool isOther) { taken_[static_cast<size_t>(reading)] = isOther; }
  bool isOpen(Reading reading) const { return !taken_[static_cast<size_t>(reading)]; }
  bool isOther(Reading reading) const { return taken_[static_cast<size_t>(reading)].value_or(false); }
  // Every packet where the other alternative is taken, none where the standard one is.
  PacketSet other(Reading reading) const;
  // What is in `set` by the readings that are not open here.
  PacketSet chosenIn(PacketSet set) const;

  // Sets what `text` says, NAME=ALTERNATIVE. Otherwise nothing, and what is wrong with it is returned.
  std::string assume(std::string_view text);

  bool operator==(const Readings&) const = default;

 private:
  static constexpr std::array<std::optional<bool>, kReadings.size()> allStandard() {
    std::array<std::optional<bool>, kReadings.size()> taken;
    taken.fill(false);
    return taken;
  }

  std::array<std::optional<bool>, kReadings.size()> taken_ = allStandard();
};

}  // namespace Sim
