// Access to any model object by the names of its attributes, without knowing its class at compile time.
//
//   byName(*helper).set("destroying", true);
//   byName(*shadowAcl).erase("errorIntf", "port-3");
//   for (const AttributeRow& row : byName(*filter).type().attributes) ...
//
// A text stands for any value that can be read from text. Names, kinds and access are those of the declarations.
#pragma once

#include <any>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "platform/object/Attributes.h"
#include "platform/runtime/Errors.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/Ptr.h"
#include "platform/runtime/Text.h"

namespace Platform {

class ByName;
class ConstByName;
class Value;
struct ModelType;

// A model type that is a node. Held through a Ptr; printed, where it is a value, as a reference.
class KESTRIX_API Entity : public Node {
 public:
  ~Entity() override;

  // The description of the object's class.
  virtual const ModelType& modelType() const = 0;

  // A text that stands for this object as long as it lives, and for no other one ever: its class, a number, and its key
  // where it has one. "Kestrix::IpAcl#3(edge-in(ipv4,in))"
  std::string reference() const;
  // The object that the reference at the cursor stands for, the key of which may be left out. Raises RangeError when it
  // is none, or its object is gone.
  static Ptr<Entity> fromReference(TextCursor& cursor);

 protected:
  // This object as the class that modelType() describes.
  virtual void* modelSelf() = 0;
  virtual const void* modelSelf() const = 0;

 private:
  friend ByName byName(Entity& entity);
  friend ConstByName byName(const Entity& entity);

  mutable uint64_t referenceNumber_ = 0;  // 0 until the first reference is printed.
};

template <class T>
concept ModelValue = requires {
  { T::modelName() } -> std::convertible_to<std::string_view>;
} && !std::derived_from<T, Entity>;

// The description of T.
template <class T>
constexpr const ModelType& modelTypeOf();

namespace Detail {
// The value, unless it is none of the enumeration's.
template <NamedEnum E>
E requireNamed(E value) {
  if (isOpenEnum<E> || !nameOf(value).empty()) return value;
  throw RangeError(fmt::format("\"{}\" has no name", value));
}
KESTRIX_API bool isA(const Entity* entity, std::string_view modelName);
}  // namespace Detail

// --- Values --------------------------------------------------------------------------------------------------------

// A value of any type, as it goes through the access by name; or nothing: no result, no value of an optional attribute.
class KESTRIX_API Value {
 public:
  // Holds what is given. Implicit, so that plain values are arguments of the access by name. An optional without a
  // value and a null text are no value; a Ptr, null or not, is a reference.
  Value() = default;
  Value(std::nullopt_t) {}
  Value(std::nullptr_t) : held_(Reference{}) {}
  Value(const char* text) {
    if (text != nullptr) held_ = std::string(text);
  }
  Value(std::string_view text) : held_(std::string(text)) {}
  Value(std::string text) : held_(std::move(text)) {}
  template <std::integral T>
    requires(!std::same_as<T, bool>)
  Value(T number) : held_(Integer{number < 0, static_cast<uint64_t>(number)}) {}
  template <class T>
  Value(const std::optional<T>& value) {
    if (value) *this = Value(*value);
  }
  template <class T>
  Value(const Ptr<T>& object) : held_(Reference::to(object)) {}
  template <class T>
    requires(!std::integral<T> || std::same_as<T, bool>) && (!std::convertible_to<const T&, std::string_view>) &&
                (!std::same_as<T, Value>) && (fmt::is_formattable<T>::value)
  Value(T value) : held_(std::move(value)), type_(&kHeldType<T>) {}

  // Whether there is a value. A null reference is one.
  bool hasValue() const { return held_.has_value(); }

  // The value as a T. Raises WrongTypeError when it holds neither a T nor text, RangeError when the text is no T or the
  // number is out of its range.
  template <class T>
  T as() const {
    return As<T>::get(*this);
  }

  // Its text form; "absent" when there is no value.
  std::string toText() const;

  // Whether it is a reference to a node, or null.
  bool isReference() const;
  // The entity that it refers to; null when it is null or no reference to an entity.
  Ptr<Entity> entity() const;
  // The attributes of a value that has some, as they are in this copy of it, which the caller keeps.
  std::optional<ByName> attributes() &;

 private:
  struct Integer {
    bool isNegative;
    uint64_t number;  // Modulo 2^64.
  };
  // Nodes lose their class here; Value::as finds it again.
  struct Reference {
    Ptr<const Node> node;
    Ptr<const Entity> entity;  // The same, when it is one.
    bool isMutable = true;

    template <class T>
    static Reference to(const Ptr<T>& object) {
      if constexpr (std::derived_from<T, Entity>) {
        return {object, object, !std::is_const_v<T>};
      } else {
        return {object, nullptr, !std::is_const_v<T>};
      }
    }
  };
  // What else a held value can do.
  struct HeldType {
    std::string (*text)(const std::any& held);
    const ModelType* modelType;  // Null when it has no attributes.
    void* (*self)(std::any& held);
  };
  template <class T>
  static constexpr HeldType heldType() {
    const auto text = [](const std::any& held) { return valueText(*std::any_cast<T>(&held)); };
    const auto self = [](std::any& held) -> void* { return std::any_cast<T>(&held); };
    if constexpr (ModelValue<T>) {
      return {text, &modelTypeOf<T>(), self};
    } else {
      return {text, nullptr, self};
    }
  }
  template <class T>
  static constexpr HeldType kHeldType = heldType<T>();

  WrongTypeError wrongType() const;
  template <class T>
  struct As {
    static T get(const Value& value) {
      static_assert(!std::signed_integral<T>, "the model has no signed numbers");
      const bool isInteger = std::any_cast<Integer>(&value.held_) != nullptr;
      if constexpr (NamedEnum<T>) {
        if (const T* held = std::any_cast<T>(&value.held_)) return Detail::requireNamed(*held);
        if (isInteger) return Detail::requireNamed(T{fromText<std::underlying_type_t<T>>(value.toText())});
      } else if constexpr (std::unsigned_integral<T> && !std::same_as<T, bool>) {
        if (isInteger) return fromText<T>(value.toText());
      }
      if (const T* held = std::any_cast<T>(&value.held_)) return *held;
      if constexpr (FromText<T>) {
        if (const auto* text = std::any_cast<std::string>(&value.held_)) return fromText<T>(*text);
      }
      throw value.wrongType();
    }
  };
  template <class T>
  struct As<std::optional<T>> {
    static std::optional<T> get(const Value& value) {
      const auto* text = std::any_cast<std::string>(&value.held_);
      if (!value.hasValue() || (text != nullptr && *text == kAbsentText)) return {};
      return As<T>::get(value);
    }
  };
  template <class T>
  struct As<Ptr<T>> {
    static Ptr<T> get(const Value& value) {
      const auto* reference = std::any_cast<Reference>(&value.held_);
      if constexpr (std::derived_from<T, Entity>) {
        if (const auto* text = std::any_cast<std::string>(&value.held_)) return fromText<Ptr<T>>(*text);
      }
      if (reference != nullptr && (reference->isMutable || std::is_const_v<T>)) {
        if (!reference->node) return nullptr;
        // The classes of entities are hidden in the library: they are told apart by their model types.
        if constexpr (std::derived_from<T, Entity>) {
          if (Detail::isA(reference->entity.get(), T::modelName())) {
            return Ptr<T>(const_cast<T*>(static_cast<const T*>(reference->entity.get())));
          }
        } else if (auto* object = dynamic_cast<const T*>(reference->node.get())) {
          return Ptr<T>(const_cast<T*>(object));
        }
      }
      throw value.wrongType();
    }
  };
  std::any held_;
  const HeldType* type_ = nullptr;
};

// Of an insertion, a call or a construction, in order.
using Arguments = std::vector<Value>;

// Takes the key and the member itself; of a set of keys, true.
using MemberVisit = std::function<void(const Value& key, const Value& member)>;

// --- Descriptions --------------------------------------------------------------------------------------------------

// One attribute: what it is, and what can be done with it. Null is what cannot.
struct AttributeRow {
  std::string_view name;             // As declared.
  Kind kind = Kind::scalar;          // A scalar, a collection or an operation.
  Access access = Access::readOnly;  // Fixed, read-only or settable.
  // The operation of ConstByName or ByName that has this name. `self` is the object as the class that has the row.
  Value (*read)(const void* self) = nullptr;
  void (*set)(void* self, const Value& value) = nullptr;
  Value (*lookUp)(const void* self, const Value& key) = nullptr;
  bool (*contains)(const void* self, const Value& key) = nullptr;
  size_t (*count)(const void* self) = nullptr;
  void (*forEach)(const void* self, const MemberVisit& visit) = nullptr;
  Value (*insert)(void* self, const Arguments& arguments) = nullptr;
  Value (*erase)(void* self, const Value& key) = nullptr;
  void (*clear)(void* self) = nullptr;
  Value (*call)(void* self, const Arguments& arguments) = nullptr;
};

// The description of a model type. There is one for each, for as long as the library is loaded.
struct KESTRIX_API ModelType {
  std::string_view name;                           // Qualified: "Kestrix::IpAcl".
  const ModelType* base;                           // Null when there is none.
  std::span<const AttributeRow> attributes;        // Those of the base first, each in the order of their declaration.
  Value (*construct)(const Arguments& arguments);  // What `make` calls.

  // A new object, from its constructor's arguments: a value, or a reference to an entity. Raises WrongTypeError or
  // RangeError, and whatever the constructor raises.
  Value make(const Arguments& arguments) const;
  // Whether it is the type `other`, or derived from it.
  bool isA(std::string_view other) const;
  // The attribute of that name. Raises UnknownAttributeError.
  const AttributeRow& attribute(std::string_view attribute) const;

  // The model type of that name; null when there is none.
  static const ModelType* find(std::string_view name);
  // All model types, by name.
  static std::vector<const ModelType*> all();
};

// --- Access --------------------------------------------------------------------------------------------------------

// One object, by the names of its attributes. An entity is kept alive, a value is the caller's to keep. Every operation
// raises UnknownAttributeError for a name that there is not, AttributeKindError for a kind of attribute that has no
// such operation, and WrongTypeError or RangeError for an argument that is none. It has then changed nothing.
class KESTRIX_API ConstByName {
 public:
  // `self` is of the class that `type` describes. It lives as long as `keep`; without one, the caller sees to it.
  ConstByName(const ModelType& type, const void* self, Ptr<const Entity> keep = {})
      : type_(&type), self_(self), keep_(std::move(keep)) {}

  // The description of the object's class.
  const ModelType& type() const { return *type_; }

  // The value of a scalar.
  Value read(std::string_view attribute) const;
  // The member of a collection under `key`: true or false for a set; nothing, null or the type's default where there is
  // none.
  Value lookUp(std::string_view collection, const Value& key) const;
  // Whether there is a member under `key`.
  bool contains(std::string_view collection, const Value& key) const;
  // The number of members.
  size_t count(std::string_view collection) const;
  // Visits each member that is there at the start and still there when its turn comes. `visit` may change the
  // collection.
  void forEach(std::string_view collection, const MemberVisit& visit) const;

 private:
  const ModelType* type_;
  const void* self_;
  Ptr<const Entity> keep_;
};

// The same of an object that may be changed.
class KESTRIX_API ByName : public ConstByName {
 public:
  // As ConstByName.
  ByName(const ModelType& type, void* self, Ptr<const Entity> keep = {})
      : ConstByName(type, self, std::move(keep)), self_(self) {}

  // Sets a scalar. Raises FixedAttributeError or ReadOnlyAttributeError for one that is not settable.
  void set(std::string_view attribute, const Value& value) const;
  // Adds a member, or overwrites the one of its key, and returns it. `arguments`: the key of a set, and optionally true
  // (SetFalseError for false); the key and value of a map; a value with a key of its own; the construction arguments of
  // an owned entity, which is found or made (ReinstantiationError when it exists with others). A single owned entity
  // takes no arguments.
  Value insert(std::string_view collection, const Arguments& arguments) const;
  // Removes a member and returns it: true or false for a set; nothing, null or the type's default where there was none.
  // A single owned entity has no key.
  Value erase(std::string_view collection, const Value& key = {}) const;
  // Removes all members.
  void clear(std::string_view collection) const;
  // Calls an operation of the model.
  Value call(std::string_view operation, const Arguments& arguments) const;

 private:
  void* self_;
};

// The access to an entity, which it keeps alive.
KESTRIX_API ByName byName(Entity& entity);
KESTRIX_API ConstByName byName(const Entity& entity);
// The access to a value, which the caller keeps.
template <ModelValue T>
ByName byName(T& value) {
  return {modelTypeOf<T>(), &value};
}
template <ModelValue T>
ConstByName byName(const T& value) {
  return {modelTypeOf<T>(), &value};
}

// --- References ----------------------------------------------------------------------------------------------------

// "null", or the reference that Entity gives.
template <std::derived_from<Entity> T>
struct CursorText<Ptr<T>> {
  static Ptr<T> read(TextCursor& cursor) {
    if (cursor.skip("null")) return nullptr;
    const Ptr<Entity> entity = Entity::fromReference(cursor);
    if (Detail::isA(entity.get(), T::modelName())) return Ptr<T>(static_cast<T*>(entity.get()));
    throw RangeError(fmt::format("cannot convert {} to {}", entity->reference(), T::modelName()));
  }
};

}  // namespace Platform

// References to entities as Entity gives them; other nodes have no text of their own.
template <class T>
  requires std::derived_from<T, Platform::Node>
struct fmt::formatter<boost::intrusive_ptr<T>, char> : fmt::formatter<std::string> {
  template <class Context>
  auto format(const boost::intrusive_ptr<T>& object, Context& context) const {
    std::string text = object ? "present" : "null";
    if constexpr (std::derived_from<T, Platform::Entity>) {
      if (object) text = object->reference();
    }
    return fmt::formatter<std::string>::format(text, context);
  }
};
