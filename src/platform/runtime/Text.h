// Text forms: every value prints through fmt, and `fromText` reads back what it prints.
//
//   fmt::format("{}", Acl::AclType::mac)      -> "mac"
//   fromText<Acl::AclType>("mac")             -> Acl::AclType::mac
//   fromText<uint8_t>("300")                  -> RangeError: "300" is not a number from 0 to 255
#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <iosfwd>
#include <iterator>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include <fmt/core.h>

#include "platform/runtime/Errors.h"
#include "platform/runtime/TextCursor.h"

namespace Platform {

// The runtime's string: ACL names, unit names.
using String = std::string;

template <class E>
struct EnumName {
  E value;
  std::string_view name;
};

// The names of an enumeration: specialise with a constexpr array of EnumName. A value without a name prints as a
// number.
template <class E>
inline constexpr int enumNames = 0;

// Whether values without a name occur, and so are read back: specialise for the enumerations of the framework.
template <class E>
inline constexpr bool isOpenEnum = false;

template <class E>
concept NamedEnum = std::is_enum_v<E> && !std::same_as<std::remove_cvref_t<decltype(enumNames<E>)>, int>;

// A class of this library that gives its own text, and says so: what an agent's classes print as is the agent's.
template <class T>
concept TextValue = requires(const T& value) {
  typename T::TextForm;
  { value.toText() } -> std::convertible_to<std::string>;
};

// How a type is read from a place in a text, where its text form does not end at the next delimiter. Specialise with
// `static T read(TextCursor&)`; a class may also be constructed from the cursor.
template <class T>
struct CursorText {};

template <class T>
concept FromCursor = std::constructible_from<T, TextCursor&> || requires(TextCursor& cursor) {
  { CursorText<T>::read(cursor) } -> std::same_as<T>;
};

// What `fromText` reads.
template <class T>
concept FromText = FromCursor<T> || NamedEnum<T> || std::unsigned_integral<T> || requires(std::string_view text) {
  { T::fromText(text) } -> std::same_as<T>;
};

template <NamedEnum E>
constexpr std::string_view nameOf(E value) {
  for (const auto& row : enumNames<E>) {
    if (row.value == value) return row.name;
  }
  return {};
}

template <class T>
T fromText(std::string_view text);

namespace Detail {
// The decimal number that `text` is, whole, unless it is none or above `most`.
KESTRIX_API std::optional<uint64_t> wholeNumber(std::string_view text, uint64_t most);
[[noreturn]] KESTRIX_API void raiseNoNumber(std::string_view text, uint64_t most);
[[noreturn]] KESTRIX_API void raiseNoneOf(std::string_view text, std::span<const std::string_view> names);
[[noreturn]] KESTRIX_API void raiseNoBoolean(std::string_view text);

template <std::unsigned_integral T>
inline constexpr uint64_t most = std::numeric_limits<T>::max();

template <NamedEnum E>
E enumFromText(std::string_view text) {
  std::string_view names[std::size(enumNames<E>)];
  size_t count = 0;
  for (const auto& row : enumNames<E>) {
    if (row.name == text) return row.value;
    names[count++] = row.name;
  }
  if constexpr (isOpenEnum<E>) {
    const auto number = wholeNumber(text, most<std::underlying_type_t<E>>);
    if (number && nameOf(static_cast<E>(*number)).empty()) return static_cast<E>(*number);
  }
  raiseNoneOf(text, names);
}
}  // namespace Detail

// The value at the cursor. Raises RangeError when there is none; the position of the cursor is then unspecified.
template <FromCursor T>
T readText(TextCursor& cursor) {
  if constexpr (std::constructible_from<T, TextCursor&>) {
    return T(cursor);
  } else {
    return CursorText<T>::read(cursor);
  }
}

// The value that `text` stands for, whole. Raises RangeError, quoting the text, when it is none.
template <class T>
T fromText(std::string_view text) {
  static_assert(FromText<T>, "this type has no text form that is read back");
  if constexpr (FromCursor<T>) {
    TextCursor cursor(text);
    T value = readText<T>(cursor);
    cursor.requireEnd();
    return value;
  } else if constexpr (requires { T::fromText(text); }) {
    return T::fromText(text);
  } else if constexpr (std::same_as<T, bool>) {
    if (text == "true") return true;
    if (text == "false") return false;
    Detail::raiseNoBoolean(text);
  } else if constexpr (std::unsigned_integral<T>) {
    const auto number = Detail::wholeNumber(text, Detail::most<T>);
    if (!number) Detail::raiseNoNumber(text, Detail::most<T>);
    return static_cast<T>(*number);
  } else {
    return Detail::enumFromText<T>(text);
  }
}

// A type whose text holds neither a comma nor a parenthesis, and so ends at the next one.
template <class T>
concept TextToken = std::unsigned_integral<T> || NamedEnum<T> || requires { requires T::kTextIsToken; };

// The text form of a value.
template <class T>
std::string textOf(const T& value) {
  if constexpr (TextValue<T>) {
    return value.toText();
  } else if constexpr (NamedEnum<T>) {
    const std::string_view name = nameOf(value);
    return name.empty() ? std::to_string(static_cast<uint64_t>(value)) : std::string(name);
  } else if constexpr (std::same_as<T, std::string>) {
    return value;
  } else {
    return fmt::format("{}", value);
  }
}

// Writes `text` to `out`, which it returns.
KESTRIX_API std::ostream& writeText(std::ostream& out, std::string_view text);

// The value, unless it is none of its closed enumeration's: that raises RangeError.
template <class T>
T requireNamed(T value) {
  if constexpr (NamedEnum<T> && !isOpenEnum<T>) {
    if (nameOf(value).empty()) throw RangeError(Platform::quoted(textOf(value)) + " has no name");
  }
  return value;
}

template <class T>
  requires TextValue<T> || NamedEnum<T>
std::ostream& operator<<(std::ostream& out, const T& value) {
  return writeText(out, textOf(value));
}

}  // namespace Platform

// As their text; there are no format specifications.
template <class T>
  requires Platform::TextValue<T> || Platform::NamedEnum<T>
struct fmt::formatter<T, char> {
  constexpr auto parse(fmt::format_parse_context& context) const { return context.begin(); }
  auto format(const T& value, fmt::format_context& context) const {
    const std::string text = Platform::textOf(value);
    return std::copy(text.begin(), text.end(), context.out());
  }
};
