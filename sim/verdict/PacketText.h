// Packets as a person writes them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "verdict/Packet.h"

namespace Sim {

// What a remedy shows.
inline constexpr std::string_view kPacketExample = "tcp 192.0.2.7:1234 > 198.51.100.9:443";

// The next word of a text, which ends at blanks; empty at the end of the text. Takes it off.
std::string_view takeWord(std::string_view& rest);

// Reads what Packet::toText gives, and shorter forms:
//
//   [vlan] tcp|udp [ADDRESS[:PORT] > ADDRESS[:PORT]] [later-fragment] [more-fragments] [length N] [mac MAC > MAC]
//   [vlan] icmp|ip PROTOCOL [ADDRESS > ADDRESS] and the same
//   [vlan] arp|lldp|ipv6|ethertype TYPE [[mac] MAC > MAC]
//
// What is left out is as in familiarPacket. None for any other text: `fault` then names the word, as it is but cut
// where it is long, and what is expected in its place.
std::optional<Packet> readPacket(std::string_view text, std::string& fault);

}  // namespace Sim
