// What becomes of a packet, in words.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "report/Colour.h"
#include "report/PacketReport.h"

namespace Sim {

// "tcp 192.0.2.1:49152 > 198.51.100.1:443, port-1 ingress".
std::string placeWords(const Probe& probe);
// "permit", "deny", "-" where it is not known.
std::string_view verdictName(std::optional<bool> permits);

// Who decides the packet, by the ACLs and by the registers.
std::string configuredWords(const PacketAnswer& answer);
std::string programmedWords(const PacketAnswer& answer);
// What the two come to, in a sentence.
std::string_view conclusion(const PacketAnswer& answer);

// What the device does with a packet of which that is expected: "deny is wanted, and the device permits it".
struct ExpectationWords {
  std::string words;
  Style style = Style::plain;
};
ExpectationWords expectationWords(const PacketAnswer& answer);
// Whether there is anything to be told of it: it fails, or something else is configured.
bool isException(const PacketAnswer& answer);
// "7 of 8 expectations hold".
std::string holdWords(const PacketReport& report);

}  // namespace Sim
