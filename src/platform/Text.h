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
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

#include <fmt/format.h>

#include "platform/Errors.h"

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

template <class E>
concept NamedEnum = std::is_enum_v<E> && !std::same_as<std::remove_cvref_t<decltype(enumNames<E>)>, int>;

// A class that gives its own text and, in a static `fromText`, reads it back.
template <class T>
concept TextValue = requires(const T& value) {
  { value.toText() } -> std::convertible_to<std::string>;
};

template <NamedEnum E>
constexpr std::string_view nameOf(E value) {
  for (const auto& row : enumNames<E>) {
    if (row.value == value) return row.name;
  }
  return {};
}

// The value that `text` stands for, whole. Raises RangeError, quoting the text, when it is none.
template <class T>
T fromText(std::string_view text) {
  if constexpr (requires { T::fromText(text); }) {
    return T::fromText(text);
  } else if constexpr (std::same_as<T, bool>) {
    if (text == "true") return true;
    if (text == "false") return false;
    throw RangeError(fmt::format("\"{}\" is neither true nor false", text));
  } else if constexpr (std::unsigned_integral<T>) {
    T value{};
    const char* const start = text.data();
    const char* const end = start + text.size();
    if (const auto read = std::from_chars(start, end, value); read.ec == std::errc{} && read.ptr == end) {
      return value;
    }
    throw RangeError(fmt::format("\"{}\" is not a number from 0 to {}", text, std::numeric_limits<T>::max()));
  } else {
    static_assert(NamedEnum<T>, "this type has no text form");
    std::string names;
    for (const auto& row : enumNames<T>) {
      if (row.name == text) return row.value;
      fmt::format_to(std::back_inserter(names), "{}{}", names.empty() ? "" : ", ", row.name);
    }
    throw RangeError(fmt::format("\"{}\" is none of {}", text, names));
  }
}

template <class T>
concept FromText = NamedEnum<T> || std::unsigned_integral<T> || requires(std::string_view text) {
  { T::fromText(text) } -> std::same_as<T>;
};

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
