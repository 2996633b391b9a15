// The kinds of captures that have an Ethernet header, and where it is in them.
#pragma once

#include <cstdint>
#include <string>

namespace Sim {

struct LinkType {
  int number = 0;        // As libpcap has it: a DLT_ number.
  uint8_t before = 0;    // Bytes before the MAC addresses.
  uint8_t tag = 0;       // Bytes that a switch puts between them and the EtherType, or VLAN tag.
  uint8_t trailing = 0;  // Bytes behind the frame: its check sequence.
  uint8_t vlanByte = 0;  // Where that tag says whether it stands for a VLAN tag, too,
  uint8_t vlanBit = 0;   // as this bit; 0 where it does not.
  bool isPart = false;   // May be a part of a frame only, as the end of its preamble says.
};

// Null for one that has no Ethernet header, or none that is known.
const LinkType* linkTypeOf(int number);

// "EN10MB (Ethernet)"; its number where libpcap has no name for it.
std::string linkTypeName(int number);
// Of all that can be read.
std::string linkTypeNames();

}  // namespace Sim
