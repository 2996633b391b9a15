// The framework's key of an ACL.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/acl/AclTypes.h"
#include "platform/runtime/Export.h"

namespace Platform {

// An ACL's name, type and direction, and two members of the framework's own that only take part in the comparison.
// Text: "edge-in(ipv4,in)", the two further members added where they are not 0 and false: "edge-in(ipv4,in,7,dynamic)".
// The name may be any.
struct KESTRIX_API AclKey {
  String name;                                          // As configured.
  Acl::AclType type = Acl::AclType::ipv4;               // What its rules match.
  Acl::AclDirection direction = Acl::AclDirection::in;  // The packets that it filters.
  uint32_t instance = 0;                                // Which of the framework's ACL instances the ACL belongs to.
  bool dynamic = false;                                 // The ACL was made by a protocol, not configured.

  bool operator==(const AclKey&) const = default;
  // Reads what toText gives. Raises RangeError.
  static AclKey fromText(std::string_view text);
  // Name, type and direction; instance and dynamic where they are set.
  std::string toText() const;
};

}  // namespace Platform

template <>
struct KESTRIX_API std::hash<Platform::AclKey> {
  size_t operator()(const Platform::AclKey& key) const;
};
