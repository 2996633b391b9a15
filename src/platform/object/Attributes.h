// The descriptions of a model type's attributes, and what follows from them alone: equality and text forms. The
// declarations in Model.h make them, one each.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>

#include <fmt/format.h>

#include "platform/object/Collections.h"
#include "platform/runtime/Errors.h"
#include "platform/runtime/Ptr.h"
#include "platform/runtime/Text.h"

namespace Platform {

enum class Kind : uint8_t { scalar, collection, operation };
enum class Access : uint8_t {
  fixed,     // Given at construction.
  readOnly,  // Changed by the object itself, or computed.
  settable,  // Of a collection: its members are.
};

template <>
inline constexpr EnumName<Kind> enumNames<Kind>[] = {
    {Kind::scalar, "scalar"}, {Kind::collection, "collection"}, {Kind::operation, "operation"}};
template <>
inline constexpr EnumName<Access> enumNames<Access>[] = {
    {Access::fixed, "fixed"}, {Access::readOnly, "read-only"}, {Access::settable, "settable"}};

template <int N>
using AttributeIndex = std::integral_constant<int, N>;

// How an attribute is stored: optional bytes in one byte, everything else as it is.
template <class T>
struct Stored {
  using As = T;
};
template <class T>
  requires(sizeof(T) == 1)
struct Stored<std::optional<T>> {
  using As = OptionalByte<T>;
};

// How an attribute is read: what fits a register by value, others by reference.
template <class T>
using Read = std::conditional_t<std::is_trivially_copyable_v<T> && sizeof(T) <= sizeof(void*), T, const T&>;

// --- Descriptions --------------------------------------------------------------------------------------------------

// Given at construction.
template <class Self, class T>
struct Fixed {
  using Object = Self;
  using Type = T;
  static constexpr auto kKind = Kind::scalar;
  static constexpr auto kAccess = Access::fixed;
  std::string_view name;
  Read<T> (*get)(const Self&);
};

template <class Self, class T>
struct Settable {
  using Object = Self;
  using Type = T;
  static constexpr auto kKind = Kind::scalar;
  static constexpr auto kAccess = Access::settable;
  std::string_view name;
  Read<T> (*get)(const Self&);
  void (*set)(Self&, T);
};

// Changed by the object itself, or computed when it is read.
template <class Self, class T>
struct View {
  using Object = Self;
  using Type = T;
  static constexpr auto kKind = Kind::scalar;
  static constexpr auto kAccess = Access::readOnly;
  std::string_view name;
  T (*get)(const Self&);
};

// One owned entity: made empty by `insert`, detached by `erase`.
template <class Self, class T>
struct Child {
  using Object = Self;
  using Type = Ptr<T>;
  static constexpr auto kKind = Kind::scalar;
  static constexpr auto kAccess = Access::readOnly;
  std::string_view name;
  Ptr<T> (*get)(const Self&);
  Ptr<T> (*insert)(Self&);
  Ptr<T> (*erase)(Self&);
};

// What a collection's members are, and so what `insert` takes: a key; a key and a value; a value with a key of its own;
// the construction arguments of an entity, the key first.
enum class Members : uint8_t { keys, mapped, values, entities };

// `Functions` give the operations of the family: get (the container), lookUp, insert, erase, clear.
template <class Self, Members members, class ContainerType, class Functions>
struct Collection {
  using Object = Self;
  using Container = ContainerType;
  static constexpr auto kKind = Kind::collection;
  static constexpr auto kAccess = Access::settable;
  static constexpr auto kMembers = members;
  std::string_view name;
  const Container& (*get)(const Self&);
  Functions functions;
};

template <class Self, class MethodPointer>
struct Operation {
  using Object = Self;
  using Method = MethodPointer;
  static constexpr auto kKind = Kind::operation;
  static constexpr auto kAccess = Access::readOnly;
  std::string_view name;
  Method method;
};

// Whether the description is of something that an object holds, and not of what it computes or does.
template <class Description>
inline constexpr bool isStored = Description::kKind == Kind::collection ||
                                 (Description::kKind == Kind::scalar && Description::kAccess != Access::readOnly);

// --- Walks ---------------------------------------------------------------------------------------------------------

namespace Detail {

// Attribute N is T's own, and not one of a base that T adds nothing to.
template <class T, int N>
concept HasOwn =
    requires { requires std::same_as<typename decltype(T::modelAttribute(AttributeIndex<N>{}))::Object, T>; };

template <class T, int N = 0>
constexpr auto ownAttributes() {
  if constexpr (HasOwn<T, N>) {
    return std::tuple_cat(std::tuple(T::modelAttribute(AttributeIndex<N>{})), ownAttributes<T, N + 1>());
  } else {
    return std::tuple<>();
  }
}

template <class T>
constexpr auto allAttributes() {
  if constexpr (requires { typename T::ModelBase; }) {
    return std::tuple_cat(allAttributes<typename T::ModelBase>(), ownAttributes<T>());
  } else {
    return ownAttributes<T>();
  }
}

}  // namespace Detail

// The descriptions of T as a tuple: those of its base first, in the order of declaration.
template <class T>
inline constexpr auto attributesOf = Detail::allAttributes<T>();

template <class T>
inline constexpr size_t attributeCount = std::tuple_size_v<std::remove_const_t<decltype(attributesOf<T>)>>;

template <class T, size_t I>
using AttributeOf = std::tuple_element_t<I, std::remove_const_t<decltype(attributesOf<T>)>>;

// Calls `visit` with each description.
template <class T, class Visit>
constexpr void forEachAttribute(Visit&& visit) {
  std::apply([&](const auto&... attribute) { (visit(attribute), ...); }, attributesOf<T>);
}

namespace Detail {

template <class T>
constexpr size_t fixedCount() {
  size_t count = 0;
  forEachAttribute<T>([&](const auto& attribute) { count += attribute.kAccess == Access::fixed ? 1 : 0; });
  return count;
}

// The positions of T's fixed attributes.
template <class T>
constexpr auto fixedPositions() {
  std::array<size_t, fixedCount<T>()> positions{};
  size_t position = 0;
  size_t next = 0;
  forEachAttribute<T>([&](const auto& attribute) {
    if (attribute.kAccess == Access::fixed) positions[next++] = position;
    ++position;
  });
  return positions;
}

}  // namespace Detail

// Calls `visit` with the descriptions of T's fixed attributes, whose types are its constructor's arguments.
template <class T, class Visit>
constexpr decltype(auto) withFixedAttributes(Visit&& visit) {
  return [&]<size_t... I>(std::index_sequence<I...>) -> decltype(auto) {
    return visit(std::get<Detail::fixedPositions<T>()[I]>(attributesOf<T>)...);
  }(std::make_index_sequence<Detail::fixedCount<T>()>());
}

// --- Equality ------------------------------------------------------------------------------------------------------

template <class T>
bool equalAttributes(const T& left, const T& right) {
  if (&left == &right) return true;
  bool areEqual = true;
  forEachAttribute<T>([&]<class Description>(const Description& attribute) {
    if constexpr (isStored<Description>) areEqual = areEqual && attribute.get(left) == attribute.get(right);
  });
  return areEqual;
}

// Raises ReinstantiationError when a fixed attribute of `entity` differs from its construction argument.
template <class T, class... Args>
void requireSameConstruction(const T& entity, const Args&... args) {
  withFixedAttributes<T>([&](const auto&... attribute) {
    (
        [&] {
          if (attribute.get(entity) == args) return;
          throw ReinstantiationError(
              fmt::format("{} exists with another value of its attribute {}", T::modelName(), attribute.name));
        }(),
        ...);
  });
}

// The entity under `key` of an owning collection, made from its construction arguments when there is none.
template <class Entities, class Key, class... Args>
typename Entities::mapped_type findOrMake(Entities& entities, const Key& key, const Args&... args) {
  using E = typename Entities::mapped_type::element_type;
  if (const auto found = entities.find(key); found != entities.end()) {
    requireSameConstruction(*found->second, key, args...);
    return found->second;
  }
  return entities.emplace(key, make<E>(key, args...)).first->second;
}

// --- Text forms ----------------------------------------------------------------------------------------------------

// What an attribute without a value reads as.
inline constexpr std::string_view kAbsentText = "absent";

template <class T>
std::string valueText(const T& value) {
  return fmt::format("{}", value);
}
template <class T>
std::string valueText(const std::optional<T>& value) {
  return value ? valueText(*value) : std::string(kAbsentText);
}
template <class Key, class V>
std::string valueText(const Map<Key, V>& values) {
  std::string text;
  for (const auto& [key, value] : values) text += fmt::format("{}{}: {}", text.empty() ? "" : ", ", key, value);
  return "{" + text + "}";
}
template <class Key, class V>
std::string valueText(const ValueMap<Key, V>& values) {
  std::string text;
  for (const auto& [key, value] : values) text += fmt::format("{}{}", text.empty() ? "" : ", ", value);
  return "{" + text + "}";
}

namespace Detail {

template <class T>
bool isPresent(const T&) {
  return true;
}
template <class T>
bool isPresent(const std::optional<T>& value) {
  return value.has_value();
}

// The value of an attribute that comes next, in T's form.
template <class T>
struct AttributeText {
  static T read(TextCursor& cursor, std::string_view name) {
    cursor.require(fmt::format(", {}=", name));
    return value(cursor, name);
  }
  static T value(TextCursor& cursor, std::string_view name) try {
    if constexpr (FromCursor<T>) {
      return readText<T>(cursor);
    } else {
      static_assert(TextToken<T>, "where the text of this type ends is not clear: it needs a way to read a cursor");
      return fromText<T>(cursor.takeUntil(",)"));
    }
  } catch (const ModelError& error) {
    error.raiseIn(name);
  }
};
template <class T>
struct AttributeText<std::optional<T>> {
  static std::optional<T> read(TextCursor& cursor, std::string_view name) {
    if (!cursor.skip(fmt::format(", {}=", name))) return {};
    return AttributeText<T>::value(cursor, name);
  }
};

// The value of the attribute that is described; of one that is not stored, nothing.
template <class Description>
auto readPart(TextCursor& cursor, const Description& attribute) {
  if constexpr (isStored<Description>) {
    return AttributeText<typename Description::Type>::read(cursor, attribute.name);
  } else {
    return std::monostate();
  }
}

}  // namespace Detail

// How the notation of a value opens: Value('Kestrix::AclRule'
template <class T>
std::string valueOpening() {
  return fmt::format("Value('{}'", T::modelName());
}

// The model's notation of a value: Value('Kestrix::AclRule', ruleKey=0, ...). Absent attributes are left out.
template <class T>
std::string modelText(const T& value) {
  std::string text = valueOpening<T>();
  forEachAttribute<T>([&]<class Description>(const Description& attribute) {
    if constexpr (isStored<Description>) {
      const auto& part = attribute.get(value);
      if (Detail::isPresent(part)) text += fmt::format(", {}={}", attribute.name, valueText(part));
    }
  });
  return text + ")";
}

// Reads what modelText prints. Raises RangeError, with the attribute's name in front of what is wrong with its value.
template <class T>
T readValue(TextCursor& cursor) {
  cursor.require(valueOpening<T>());
  return [&]<size_t... I>(std::index_sequence<I...>) {
    std::tuple<decltype(Detail::readPart(cursor, std::get<I>(attributesOf<T>)))...> parts{
        Detail::readPart(cursor, std::get<I>(attributesOf<T>))...};
    cursor.require(")");
    // The fixed ones go into the constructor, the others are set.
    T value = std::make_from_tuple<T>(std::tuple_cat([&] {
      if constexpr (AttributeOf<T, I>::kAccess == Access::fixed) {
        return std::tuple(std::get<I>(parts));
      } else {
        return std::tuple<>();
      }
    }()...));
    (
        [&] {
          if constexpr (requires { std::get<I>(attributesOf<T>).set; }) {
            std::get<I>(attributesOf<T>).set(value, std::move(std::get<I>(parts)));
          }
        }(),
        ...);
    return value;
  }(std::make_index_sequence<attributeCount<T>>());
}

}  // namespace Platform
