// Reads of a frame what verdicts look at: Ethernet with VLAN tags, IPv4, and the ports of TCP and UDP.
#pragma once

#include <cstdint>
#include <span>

#include "capture/LinkTypes.h"
#include "verdict/CapturedPacket.h"

namespace Sim {

// A frame as it was captured, with all that its link type adds to it.
struct CapturedFrame {
  std::span<const uint8_t> bytes = {};  // Valid until the next frame is read.
  uint64_t length = 0;                  // Before it was cut short.
};

// Where less is captured than the frame has, or it contradicts itself, what of it is not known.
CapturedPacket readFrame(const CapturedFrame& frame, const LinkType& linkType);

}  // namespace Sim
