// Packets that are tried on interfaces, one at a time.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/acl/AclTypes.h"
#include "platform/network/IntfId.h"
#include "read/Device.h"
#include "read/Diagnostics.h"
#include "verdict/Packet.h"

namespace Sim {

// A packet, and where it comes in or goes out.
struct Probe {
  Platform::IntfId intf;
  Acl::AclDirection direction = Acl::AclDirection::in;
  Packet packet;
  std::optional<bool> shouldPass = {};  // Where that is said,
  size_t line = 0;                      // and in which line of its file, from 1.
};

// What a probe is read from.
struct ProbeText {
  std::string_view interface;
  std::string_view direction;
  std::string_view packet;
};

// None, and a diagnostic of `file`, whose message begins with `lead`, where it cannot be read. Where it is not known
// which interfaces the device has, there is no probe either way, and no diagnostic for the interface.
std::optional<Probe> readProbe(const ProbeText& text, const Device& device, const std::string& file,
                               const std::string& lead, Diagnostics& diagnostics);

// Reads a line for each packet, with what is to become of it:
//
//   # Guests reach the web server, and not what is behind it.
//   permit port-1 ingress tcp 192.0.2.7 > 203.0.113.10:443
//   deny "port 2" ingress tcp 192.0.2.7 > 203.0.113.20:22  # A name with a blank is in quotes.
//
// Each line that cannot be read gives a diagnostic of `file`, and no probe.
std::vector<Probe> readExpectations(const std::string& file, std::string_view text, const Device& device,
                                    Diagnostics& diagnostics);

}  // namespace Sim
