// Access to any model object by the names of its attributes, without knowing its class at compile time.
//
//   byName(*helper).set("destroying", true);
//   byName(*shadowAcl).erase("errorIntf", "port-3");
//   for (const AttributeRow& row : byName(*filter).type().attributes) ...
//
// A text stands for any value that can be read from text. Names, kinds and access are those of the declarations.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/object/Entity.h"
#include "platform/object/Value.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/Ptr.h"
#include "platform/runtime/Text.h"

namespace Platform {

// What an attribute is: a single value, members, or a function to call.
enum class Kind : uint8_t { scalar, collection, operation };
// Who changes an attribute.
enum class Access : uint8_t {
  fixed,     // Given at construction.
  readOnly,  // Changed by the object itself, or computed.
  settable,  // Of a collection: its members are.
  owned,     // A single entity that `insert` makes and `erase` removes, and that is not set.
};

template <>
inline constexpr EnumName<Kind> enumNames<Kind>[] = {
    {Kind::scalar, "scalar"}, {Kind::collection, "collection"}, {Kind::operation, "operation"}};
template <>
inline constexpr EnumName<Access> enumNames<Access>[] = {{Access::fixed, "fixed"},
                                                         {Access::readOnly, "read-only"},
                                                         {Access::settable, "settable"},
                                                         {Access::owned, "owned"}};

// Takes the key and the member itself; of a set of keys, true.
using MemberVisit = std::function<void(const Value& key, const Value& member)>;

// --- Descriptions --------------------------------------------------------------------------------------------------

// One attribute: what it is, and what can be done with it. Null is what cannot.
struct AttributeRow {
  std::string_view name;             // As declared.
  Kind kind = Kind::scalar;          // A scalar, a collection or an operation.
  Access access = Access::readOnly;  // Fixed, read-only, settable or owned.
  bool isOptional = false;           // There may be no value.
  bool hasOwnKeys = false;           // The members of a collection are values that have their keys themselves.
  // The operation of ConstByName or ByName that has this name. `self` is the object: of an entity, its Entity.
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
  // The value at the cursor; errors begin with `name`. Of the attributes of values that are read back.
  Value (*fromText)(TextCursor& cursor, std::string_view name) = nullptr;

  // Whether it is something that an object holds, and not what it computes or does.
  bool isStored() const {
    return kind == Kind::collection ||
           (kind == Kind::scalar && (access == Access::fixed || access == Access::settable));
  }
};

// The description of a model type. There is one for each, for as long as the library is loaded.
struct KESTRIX_API ModelType {
  std::string_view name;                           // Qualified: "Kestrix::IpAcl".
  const ModelType& (*base)();                      // Null when there is none.
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
// raises UnknownAttributeError for an unknown name, AttributeKindError for a kind of attribute that has no such
// operation, and WrongTypeError or RangeError for an argument that is none. It has then changed nothing, and keeps no
// name of an interface.
class KESTRIX_API ConstByName {
 public:
  // `self` is a value of the class that `type` describes, or the Entity of one. It lives as long as `keep`; without
  // one, the caller sees to it.
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
  return {T::model(), &value};
}
template <ModelValue T>
ConstByName byName(const T& value) {
  return {T::model(), &value};
}

}  // namespace Platform
