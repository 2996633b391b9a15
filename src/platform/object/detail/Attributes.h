// How the declarations of Model.h describe an attribute: by a function that is declared, never defined, and returns an
// Attribute, which says what it is and how it is reached. Describe.h, in the source of the class, makes of it what text
// forms and the access by name need.
#pragma once

#include <cstdint>
#include <optional>
#include <type_traits>

#include "platform/object/Collections.h"

namespace Platform::Detail {

// Tells the attributes of a class apart: the line of the declaration.
template <int kLine>
struct Line {};
// The most lines from the opening of a class to its last attribute.
inline constexpr int kMostLines = 120;

// What is declared, by the macro of the same name.
enum class What : uint8_t { fixed, settable, view, child, set, map, values, entities, operation };

// `access` is the reader and, where there is one, the writer; of a child and a collection, what stores it; of an
// operation, itself. T is the type of a scalar, and what a lookup in a collection gives.
template <What what, class Object, class T, auto... access>
struct Attribute;

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
