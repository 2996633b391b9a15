// Text forms: every value prints through fmt, and `fromText` reads back what it prints.
//
//   fmt::format("{}", Acl::AclType::mac)      -> "mac"
//   fromText<Acl::AclType>("mac")             -> Acl::AclType::mac
//   fromText<uint8_t>("300")                  -> RangeError: "300" is not a number from 0 to 255
#pragma once

#include <charconv>
#include <concepts>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

#include <fmt/format.h>

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

// A class that gives its own text.
template <class T>
concept TextValue = requires(const T& value) {
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

template <std::unsigned_integral T>
T numberFromText(std::string_view text) {
  T value{};
  const char* const start = text.data();
  const char* const end = start + text.size();
  if (const auto read = std::from_chars(start, end, value); read.ec == std::errc{} && read.ptr == end) return value;
  throw RangeError(fmt::format("{} is not a number from 0 to {}", quoted(text), std::numeric_limits<T>::max()));
}

template <NamedEnum E>
E enumFromText(std::string_view text) {
  std::string names;
  for (const auto& row : enumNames<E>) {
    if (row.name == text) return row.value;
    fmt::format_to(std::back_inserter(names), "{}{}", names.empty() ? "" : ", ", row.name);
  }
  if constexpr (isOpenEnum<E>) {
    std::underlying_type_t<E> number{};
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = !text.empty() && read.ec == std::errc{} && read.ptr == text.data() + text.size();
    if (isNumber && nameOf(E{number}).empty()) return E{number};
  }
  throw RangeError(fmt::format("{} is none of {}", quoted(text), names));
}

}  // namespace Detail

// The value at the cursor. Raises RangeError, and leaves the cursor anywhere, when there is none.
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
    throw RangeError(fmt::format("{} is neither true nor false", quoted(text)));
  } else if constexpr (std::unsigned_integral<T>) {
    return Detail::numberFromText<T>(text);
  } else {
    return Detail::enumFromText<T>(text);
  }
}

// A type whose text holds neither a comma nor a parenthesis, and so ends at the next one.
template <class T>
concept TextToken = std::unsigned_integral<T> || NamedEnum<T> || requires { requires T::kTextIsToken; };

template <class T>
  requires TextValue<T> || NamedEnum<T>
std::ostream& operator<<(std::ostream& out, const T& value) {
  return out << fmt::format("{}", value);
}

}  // namespace Platform

template <Platform::TextValue T>
struct fmt::formatter<T, char> : fmt::formatter<std::string> {
  template <class Context>
  auto format(const T& value, Context& context) const {
    return fmt::formatter<std::string>::format(value.toText(), context);
  }
};

template <Platform::NamedEnum E>
struct fmt::formatter<E, char> : fmt::formatter<std::string> {
  template <class Context>
  auto format(E value, Context& context) const {
    const auto name = Platform::nameOf(value);
    return fmt::formatter<std::string>::format(
        name.empty() ? fmt::format("{}", static_cast<unsigned long long>(value)) : std::string(name), context);
  }
};
