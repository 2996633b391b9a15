#include "platform/acl/AclKey.h"

#include <boost/container_hash/hash.hpp>

namespace Platform {

std::string AclKey::toText() const {
  std::string text = fmt::format("{}({},{}", name, type, direction);
  if (instance != 0 || dynamic) text += fmt::format(",{}{}", instance, dynamic ? ",dynamic" : "");
  return text + ")";
}

AclKey AclKey::fromText(std::string_view text) try {
  AclKey key;
  // Only the name may have parentheses of its own.
  const auto open = text.rfind('(');
  if (open == text.npos) throw RangeError("name(type,direction) is wanted");
  key.name = text.substr(0, open);
  TextCursor cursor(text.substr(open));
  cursor.require("(");
  key.type = Platform::fromText<Acl::AclType>(cursor.takeUntil(","));
  cursor.require(",");
  key.direction = Platform::fromText<Acl::AclDirection>(cursor.takeUntil(",)"));
  if (cursor.skip(",")) {
    key.instance = Platform::fromText<uint32_t>(cursor.takeUntil(",)"));
    key.dynamic = cursor.skip(",dynamic");
  }
  cursor.require(")");
  cursor.requireEnd();
  return key;
} catch (ModelError& error) {
  error.in(quoted(text) + " is not the key of an ACL");
  throw;
}

}  // namespace Platform

size_t std::hash<Platform::AclKey>::operator()(const Platform::AclKey& key) const {
  size_t seed = std::hash<std::string>{}(key.name);
  boost::hash_combine(seed, static_cast<unsigned>(key.type));
  boost::hash_combine(seed, static_cast<unsigned>(key.direction));
  boost::hash_combine(seed, key.instance);
  boost::hash_combine(seed, key.dynamic);
  return seed;
}
