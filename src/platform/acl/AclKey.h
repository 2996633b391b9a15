// The framework's key of an ACL.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/acl/AclTypes.h"
#include "platform/runtime/Export.h"

namespace Platform {

// An ACL's name, type and direction, and two members of the framework's own that a helper only compares. Text:
// "edge-in(ipv4,in)", followed by the two further members where one is set: "edge-in(ipv4,in,7,dynamic)".
struct KESTRIX_API AclKey {
  using TextForm = void;
  String name;                                          // As configured; any text.
  Acl::AclType type = Acl::AclType::ipv4;               // What its rules match.
  Acl::AclDirection direction = Acl::AclDirection::in;  // Which packets it filters.
  uint32_t instance = 0;                                // The framework's ACL instance that the ACL belongs to.
  bool dynamic = false;                                 // A protocol made the ACL; nobody configured it.

  bool operator==(const AclKey&) const = default;
  // Reads what toText gives. Raises RangeError for any other text.
  static AclKey fromText(std::string_view text);
  // The form shown above.
  std::string toText() const;
};

}  // namespace Platform

template <>
struct KESTRIX_API std::hash<Platform::AclKey> {
  size_t operator()(const Platform::AclKey& key) const;
};
