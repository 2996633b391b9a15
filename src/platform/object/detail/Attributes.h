// How the declarations of Model.h describe an attribute: by a function that is declared, never defined, and returns one
// of the types below. They say what the attribute is and how it is reached; Describe.h, in the source of the class,
// makes of them what equality, text forms and the access by name need.
#pragma once

#include <optional>
#include <type_traits>

#include "platform/object/Collections.h"

namespace Platform::Detail {

// Tells the attributes of a class apart: the line of the declaration.
template <int kLine>
struct Line {};
// The most lines from the opening of a class to its last attribute.
inline constexpr int kMostLines = 120;

template <class Object, class T, auto kGet>
struct Fixed;
template <class Object, class T, auto kGet, auto kSet>
struct Settable;
template <class Object, class T, auto kGet>
struct View;
template <class Object, class T, auto kMember>
struct Child;
template <class Object, class T, auto kMember>
struct KeySet;
template <class Object, class T, auto kMember, class Lookup>
struct KeyedMap;
template <class Object, class T, auto kMember, auto kInsert>
struct OwnKeyedMap;
template <class Object, class T, auto kMember>
struct EntityMap;
template <class Object, auto kMethod>
struct Operation;

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

class Registration;

}  // namespace Platform::Detail
