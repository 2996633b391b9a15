#include "platform/AclKey.h"

#include <boost/container_hash/hash.hpp>

namespace Platform {

std::string AclKey::toText() const {
  std::string text = fmt::format("{}({},{}", name, type, direction);
  if (instance != 0 || dynamic) text += fmt::format(",{}{}", instance, dynamic ? ",dynamic" : "");
  return text + ")";
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
