// The simulated device as DEVICE.json describes it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/acl/AclTypes.h"
#include "platform/network/IntfId.h"
#include "read/Diagnostics.h"

namespace Sim {

struct Interface {
  Platform::IntfId id;
  uint16_t core = 1;       // 1-based.
  uint16_t portGroup = 1;  // 1-based.
};

struct Device {
  uint8_t inRules = 0;
  uint8_t outRules = 0;
  bool aclDropDelay = false;
  std::vector<Interface> interfaces;
  std::map<std::string, size_t, std::less<>> byName;  // Positions in `interfaces`.
  // Whether the name of each interface could be read. Otherwise it is not known what a configuration may name.
  bool namesKnown = false;

  // Null when the device has no such interface.
  const Interface* find(std::string_view name) const;
  uint8_t slots(Acl::AclDirection direction) const { return direction == Acl::AclDirection::in ? inRules : outRules; }
};

// Interfaces of one port group of a core have the same filters.
inline bool shareFilters(const Interface& left, const Interface& right) {
  return left.core == right.core && left.portGroup == right.portGroup;
}

inline std::string_view directionName(Acl::AclDirection direction) {
  return direction == Acl::AclDirection::in ? "ingress" : "egress";
}

// Reads a device description; what is wrong goes to `diagnostics`. An interface whose core or port group cannot be read
// has 0 there.
Device readDevice(const std::string& file, std::string_view text, Diagnostics& diagnostics);

}  // namespace Sim
