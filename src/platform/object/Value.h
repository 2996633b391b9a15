// A value of any type, as it goes through the access by name.
#pragma once

#include <any>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "platform/object/Entity.h"
#include "platform/runtime/Errors.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/Ptr.h"
#include "platform/runtime/Text.h"

namespace Platform {

class ByName;

// A model type whose objects are values.
template <class T>
concept ModelValue = requires {
  { T::model() } -> std::same_as<const ModelType&>;
} && !std::derived_from<T, Entity>;

// A type that keeps for ever what it was once made of, as IntfId does names; T::known makes none of what is not kept.
template <class T>
concept KeptForEver = requires(std::string_view text) { T::known(text); };

namespace Detail {
// How errors call the type T.
template <class T>
constexpr std::string_view typeName() {
  if constexpr (requires { T::modelName(); }) {
    return T::modelName();
  } else if constexpr (std::same_as<T, std::string>) {
    return "text";
  } else if constexpr (std::unsigned_integral<T> && !std::same_as<T, bool>) {
    return sizeof(T) == 1 ? "uint8_t" : sizeof(T) == 2 ? "uint16_t" : sizeof(T) == 4 ? "uint32_t" : "uint64_t";
  } else {
    constexpr std::string_view kOpening = "T = ";  // Of the name, in what gcc and clang call this function.
    std::string_view name = __PRETTY_FUNCTION__;
    name.remove_prefix(name.find(kOpening) + kOpening.size());
    return name.substr(0, name.find_first_of(";]"));
  }
}
}  // namespace Detail

// What an attribute without a value reads as.
inline constexpr std::string_view kAbsentText = "absent";

// A value of any type; or nothing: no result, no value of an optional attribute.
class KESTRIX_API Value {
 public:
  using TextForm = void;
  // Holds what is given. Implicit, so that plain values are arguments of the access by name. An optional without a
  // value and a null text are no value; a Ptr, null or not, is a reference.
  Value() = default;
  Value(std::nullopt_t) {}
  Value(std::nullptr_t) : Value(Ptr<Node>()) {}
  Value(const char* text) {
    if (text != nullptr) hold(std::string(text));
  }
  Value(std::string_view text) { hold(std::string(text)); }
  template <std::integral T>
    requires(!std::same_as<T, bool>)
  Value(T number) {
    if (std::cmp_less(number, 0)) {
      hold(static_cast<int64_t>(number));
    } else {
      hold(static_cast<uint64_t>(number));
    }
  }
  template <class T>
  Value(const std::optional<T>& value) {
    if (value) *this = Value(*value);
  }
  template <class T>
  Value(const Ptr<T>& object) {
    hold(Reference{object, !std::is_const_v<T>});
  }
  template <class T>
    requires TextValue<T> || NamedEnum<T> || std::floating_point<T> || std::same_as<T, bool> ||
             std::same_as<T, std::string>
  Value(T value) {
    hold(std::move(value));
  }

  // Whether there is a value. A null reference is one.
  bool hasValue() const { return held_.has_value(); }

  // The value as a T. Raises WrongTypeError when it holds neither a T nor text, RangeError when the text is no T or the
  // number is out of its range.
  template <class T>
  T as() const {
    return As<T>::get(*this);
  }

  // The same of a key to look up: nothing where it is a text that stands for no T so far, which does not become one.
  template <class T>
  std::optional<T> asKnown() const {
    if constexpr (KeptForEver<T>) {
      if (const auto* text = heldText()) return T::known(*text);
    }
    return as<T>();
  }

  // Its text form; "absent" when there is no value.
  std::string toText() const { return hasValue() ? type_->text(held_) : std::string(kAbsentText); }

  // Whether it is a reference to a node, or null.
  bool isReference() const { return std::any_cast<Reference>(&held_) != nullptr; }
  // The entity that it refers to; null when it is null or no reference to an entity.
  Ptr<Entity> entity() const;
  // The attributes of a value that has some, as they are in this copy of it, which the caller keeps.
  std::optional<ByName> attributes() &;

 private:
  // Nodes lose their class here; `as` finds it again.
  struct Reference {
    using TextForm = void;
    Ptr<const Node> node;
    bool isMutable;

    std::string toText() const { return referenceText(node.get(), !isMutable); }
  };
  // What a held value can do, besides being one.
  struct Type {
    std::string (*text)(const std::any& held);
    const ModelType& (*model)();  // Null when it has no attributes.
    void* (*self)(std::any& held);
  };
  template <class T>
  static constexpr const ModelType& (*modelOf())() {
    if constexpr (ModelValue<T>) return &T::model;
    return nullptr;
  }
  template <class T>
  static constexpr Type kType{[](const std::any& held) { return textOf(*std::any_cast<T>(&held)); }, modelOf<T>(),
                              [](std::any& held) -> void* { return std::any_cast<T>(&held); }};

  template <class T>
  void hold(T value) {
    held_ = std::move(value);
    type_ = &kType<T>;
  }

  // `wanted` is the type that it should have.
  [[noreturn]] void raiseWrongType(std::string_view wanted) const;
  // The text of what is held, where that is a text, and where it is an integer.
  const std::string* heldText() const { return std::any_cast<std::string>(&held_); }
  std::optional<std::string> heldNumber() const;
  // The node referred to, or null; and as an entity of the class `wanted`. Raise WrongTypeError for another, and where
  // it may not be changed but is to be.
  const Node* referredNode(bool isMutable, std::string_view wanted) const;
  const Entity* referredEntity(bool isMutable, std::string_view wanted) const;

  template <class T>
  struct As {
    static_assert(!std::signed_integral<T>, "the model has no signed numbers");

    static T get(const Value& value) {
      if (const T* held = std::any_cast<T>(&value.held_)) return requireNamed(*held);
      if constexpr (FromText<T>) {
        if (const auto* text = value.heldText()) return fromText<T>(*text);
      }
      if constexpr (NamedEnum<T>) {
        if (const auto number = value.heldNumber()) {
          return requireNamed(T{fromText<std::underlying_type_t<T>>(*number)});
        }
      } else if constexpr (std::unsigned_integral<T> && !std::same_as<T, bool>) {
        if (const auto number = value.heldNumber()) return fromText<T>(*number);
      }
      value.raiseWrongType(Detail::typeName<T>());
    }
  };
  template <class T>
  struct As<std::optional<T>> {
    static std::optional<T> get(const Value& value) {
      const std::string* const text = value.heldText();
      if (!value.hasValue() || (text != nullptr && *text == kAbsentText)) return {};
      return As<T>::get(value);
    }
  };
  template <class T>
  struct As<Ptr<T>> {
    static Ptr<T> get(const Value& value) {
      constexpr bool kIsMutable = !std::is_const_v<T>;
      // The classes of entities are hidden in the library: they are told apart by their model types.
      if constexpr (std::derived_from<T, Entity>) {
        if (const auto* text = value.heldText()) return fromText<Ptr<T>>(*text);
        return Ptr<T>(const_cast<T*>(static_cast<const T*>(value.referredEntity(kIsMutable, T::modelName()))));
      } else {
        constexpr std::string_view kWanted = Detail::typeName<std::remove_const_t<T>>();
        const Node* const node = value.referredNode(kIsMutable, kWanted);
        auto* const object = dynamic_cast<const T*>(node);
        if (node != nullptr && object == nullptr) value.raiseWrongType(kWanted);
        return Ptr<T>(const_cast<T*>(object));
      }
    }
  };

  std::any held_;
  const Type* type_ = nullptr;
};

}  // namespace Platform
