// What becomes of each field of RFC 8519's match containers.
#pragma once

#include <span>
#include <string_view>

#include "read/Document.h"

namespace Sim {

enum class Use {
  matched,    // Read, by whoever reads the container.
  unmatched,  // The hardware does not look at it: without it the rule would match more than it says.
  ipv4Only,   // A container of IPv4 ACLs, in one of another type.
  macOnly,    // The same of MAC ACLs.
};

struct MatchField {
  std::string_view name;
  Use use;
};

struct MatchContainer {
  std::string_view name;
  std::span<const MatchField> fields;
  std::string_view advice = {};  // Of who removes one of its fields, or empty.
};

// TCP and UDP containers without ports are refused.
inline constexpr std::string_view kWithoutPorts =
    R"( If no port is left, write "ipv4": {"protocol": 6} for "tcp", or 17 for "udp".)";

// The containers of an ACE, which differ by the type of its ACL.
extern const MatchContainer kIpMatches;
extern const MatchContainer kMacMatches;
// What stands in them.
extern const MatchContainer kIpv4Fields;
extern const MatchContainer kTcpFields;
extern const MatchContainer kUdpFields;
extern const MatchContainer kEthFields;

// Reports each member of `place`, a container, that is not matched.
void reportUnmatched(const Place& place, const MatchContainer& container);

}  // namespace Sim
