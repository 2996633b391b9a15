// The collection attributes of model types: one set of operations, whatever the container.
// The declarations in Model.h give them their names (`errorIntf`, `errorIntfIs`, `errorIntfDel`, `errorIntfDelAll`).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include <boost/container/flat_map.hpp>
#include <boost/container/options.hpp>
#include <boost/container/small_vector.hpp>
#include <boost/container/vector.hpp>

#include "platform/runtime/Export.h"

namespace Platform {

template <class Key>
using Set = std::unordered_set<Key>;
template <class Key, class V>
using Map = std::unordered_map<Key, V>;
// Values by a small key of their own, in ascending order of it. The room for them doubles: they come one by one.
template <class Key, class V>
using ValueMap = boost::container::flat_map<
    Key, V, std::less<Key>,
    boost::container::vector<
        std::pair<Key, V>, void,
        boost::container::vector_options_t<boost::container::growth_factor<boost::container::growth_factor_100>>>>;

// What a lookup of an absent value gives: a type's own default where it has none to construct.
template <class V>
V absentValue() {
  if constexpr (requires { V::defaultValue(); }) {
    return V::defaultValue();
  } else {
    return V{};
  }
}

// The value under `key`; null, no value, or the type's default when there is none.
template <class Result, class Collection, class Key>
Result lookUp(const Collection& collection, const Key& key) {
  const auto found = collection.find(key);
  return found == collection.end() ? absentValue<Result>() : Result(found->second);
}

// Removes what stands under `key` and returns it; null or the type's default when there was nothing.
template <class Collection, class Key>
typename Collection::mapped_type takeOut(Collection& collection, const Key& key) {
  const auto found = collection.find(key);
  if (found == collection.end()) return absentValue<typename Collection::mapped_type>();
  typename Collection::mapped_type taken = std::move(found->second);
  collection.erase(found);
  return taken;
}

// Stores `value` under `key`, overwriting what was there, and returns the entry.
template <class Collection, class Key>
typename Collection::mapped_type& store(Collection& collection, const Key& key,
                                        typename Collection::mapped_type value) {
  return collection.insert_or_assign(key, std::move(value)).first->second;
}

// Calls `visit` once for each key that is there at the start and still there when its turn comes. `visit` may remove
// any member, add members (not visited), and destroy whatever does not own `collection` itself: the caller keeps that
// alive.
template <class Collection, class Visit>
void forEachStable(const Collection& collection, Visit&& visit) {
  boost::container::small_vector<typename Collection::key_type, 16> keys;
  keys.reserve(collection.size());
  for (const auto& member : collection) {
    if constexpr (requires { typename Collection::mapped_type; }) {
      keys.push_back(member.first);
    } else {
      keys.push_back(member);
    }
  }
  for (const auto& key : keys) {
    if (collection.contains(key)) visit(key);
  }
}

// An optional one-byte value stored in that one byte; 255 stands for absent.
template <class T>
class OptionalByte {
 public:
  OptionalByte(std::optional<T> value = {}) : byte_(value ? static_cast<uint8_t>(*value) : kAbsent) {}
  bool operator==(const OptionalByte&) const = default;
  operator std::optional<T>() const {
    return byte_ == kAbsent ? std::nullopt : std::optional<T>(static_cast<T>(byte_));
  }

 private:
  static constexpr uint8_t kAbsent = 255;
  uint8_t byte_;
};

}  // namespace Platform
