// Attribute declarations: one line per attribute is its storage, its reader and writer, and its description. Equality
// follows from what is stored, text forms and access by name from the descriptions.
//
//   class AclRule {
//     KESTRIX_VALUE(AclRule, "Kestrix::AclRule");
//     KESTRIX_FIXED(uint8_t, ruleKey);            // ruleKey()
//     KESTRIX_SETTABLE(uint16_t, port, 0);        // port(), portIs(value)
//     KESTRIX_VIEW(bool, l4, port() != 0);        // l4(), computed when asked
//    public:
//     explicit AclRule(uint8_t ruleKey) : ruleKey_(ruleKey) {}
//   };
//
// and in one source, with platform/object/Describe.h: KESTRIX_DEFINE_VALUE(AclRule)
//
// The declarations leave the access at `public`. An attribute `x` is stored in `x_`; a fixed one is set by the
// constructor, and the fixed attributes of a type, in their order, are its constructor's arguments. An entity whose
// first attribute is fixed has it as its key. A class derived from a model type names it as its `ModelBase`.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

#include "platform/object/Collections.h"
#include "platform/object/Entity.h"
#include "platform/object/detail/Attributes.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/Ptr.h"
#include "platform/runtime/Text.h"

namespace Platform {

using Detail::Read;

// How the notation of a value opens: Value('Kestrix::AclRule'
KESTRIX_API std::string valueOpening(std::string_view modelName);

// Raises ReinstantiationError when a fixed attribute of `existing` differs from the same of `wanted`. Both are of one
// class.
KESTRIX_API void requireSameConstruction(const Entity& existing, const Entity& wanted);

// The entity under `key` of an owning collection, made from its construction arguments when there is none.
template <class Entities, class Key, class... Args>
typename Entities::mapped_type findOrMake(Entities& entities, const Key& key, const Args&... args) {
  const auto made = [&] { return make<typename Entities::mapped_type::element_type>(key, args...); };
  const auto found = entities.find(key);
  if (found == entities.end()) return entities.emplace(key, made()).first->second;
  requireSameConstruction(*found->second, *made());
  return found->second;
}

}  // namespace Platform

// --- Declarations --------------------------------------------------------------------------------------------------

// What every model type has; `qualifiedName` is its name in text forms and errors.
#define KESTRIX_NAMED_(Type, qualifiedName)                                       \
 public:                                                                          \
  static constexpr std::string_view modelName() { return qualifiedName; }         \
  KESTRIX_API static const ::Platform::ModelType& model();                        \
                                                                                  \
 private:                                                                         \
  KESTRIX_LOCAL static const ::Platform::Detail::Registration modelRegistration_; \
                                                                                  \
 public:                                                                          \
  static_assert(true, "")

// Opens the attributes of `Type`.
#define KESTRIX_ATTRIBUTES_OF_(Type)         \
  using ModelSelf = Type;                    \
  enum : int { kModelFirstLine = __LINE__ }; \
  static_assert(true, "")

#define KESTRIX_PRINTED_(Type)                                            \
  using TextForm = void;                                                  \
  KESTRIX_API std::string toText() const;                                 \
  friend std::ostream& operator<<(std::ostream& out, const Type& value) { \
    return ::Platform::writeText(out, value.toText());                    \
  }                                                                       \
  static_assert(true, "")

#define KESTRIX_READ_BACK_(Type)                                                                \
  KESTRIX_API static Type modelRead(::Platform::TextCursor& text);                              \
  /* Reads what toText gives. Raises RangeError; the position of `text` is then unspecified. */ \
  explicit Type(::Platform::TextCursor& text) : Type(modelRead(text)) {}                        \
  static_assert(true, "")

// A plain value: copied, compared and printed attribute by attribute.
#define KESTRIX_PRINTED_VALUE(Type, qualifiedName) \
  KESTRIX_NAMED_(Type, qualifiedName);             \
  KESTRIX_ATTRIBUTES_OF_(Type);                    \
  KESTRIX_PRINTED_(Type);                          \
  bool operator==(const Type&) const = default;    \
  static_assert(true, "")

// The same, and read back from its text. It has no collections.
#define KESTRIX_VALUE(Type, qualifiedName)    \
  KESTRIX_PRINTED_VALUE(Type, qualifiedName); \
  KESTRIX_READ_BACK_(Type)

// A node.
#define KESTRIX_ENTITY(Type, qualifiedName)                                   \
  KESTRIX_NAMED_(Type, qualifiedName);                                        \
  KESTRIX_ATTRIBUTES_OF_(Type);                                               \
  const ::Platform::ModelType& modelType() const override { return model(); } \
  static_assert(true, "")

// By name, objects are constructed by the static operation `factory`, not by the constructor.
#define KESTRIX_MADE_BY(factory)               \
  template <class... Args>                     \
  static auto modelMake(const Args&... args) { \
    return factory(args...);                   \
  }                                            \
  static_assert(true, "")

// Describes an attribute of the class: what it is, of which type, how it is reached (detail/Attributes.h).
#define KESTRIX_DESCRIBE_(name, what, ...)                                                                     \
  static constexpr std::string_view modelAttributeName(::Platform::Detail::Line<__LINE__>) { return #name; }   \
  static ::Platform::Detail::Attribute<::Platform::Detail::What::what, ModelSelf, __VA_ARGS__> modelAttribute( \
      ::Platform::Detail::Line<__LINE__>);                                                                     \
  static_assert(__LINE__ - kModelFirstLine < ::Platform::Detail::kMostLines, "too far from the opening: not found")

// Given at construction; `Type name_` is for the constructor to initialise.
#define KESTRIX_FIXED(Type, name)                         \
 private:                                                 \
  Type name##_;                                           \
                                                          \
 public:                                                  \
  ::Platform::Read<Type> name() const { return name##_; } \
  KESTRIX_DESCRIBE_(name, fixed, Type, &ModelSelf::name)

// Read and written freely; the rest of the arguments is the initial value.
#define KESTRIX_SETTABLE(Type, name, ...)                     \
 private:                                                     \
  ::Platform::Detail::Stored<Type>::As name##_ = __VA_ARGS__; \
                                                              \
 public:                                                      \
  ::Platform::Read<Type> name() const { return name##_; }     \
  void name##Is(Type value) { name##_ = std::move(value); }   \
  KESTRIX_DESCRIBE_(name, settable, Type, &ModelSelf::name, &ModelSelf::name##Is)

// Computed by the rest of the arguments whenever it is read.
#define KESTRIX_VIEW(Type, name, ...)       \
  Type name() const { return __VA_ARGS__; } \
  KESTRIX_DESCRIBE_(name, view, Type, &ModelSelf::name)

#define KESTRIX_CONTAINER_(Container, name)                        \
 private:                                                          \
  Container name##_;                                               \
                                                                   \
 public:                                                           \
  /* The whole collection, for iteration, count and membership. */ \
  const Container& name() const { return name##_; }                \
  void name##DelAll() { name##_.clear(); }                         \
  static_assert(true, "")

// A set of keys: name(key) is membership; nameIs inserts; nameDel removes and says whether it was there.
#define KESTRIX_SET(Key, name)                                       \
  using name##Set = ::Platform::Set<Key>;                            \
  KESTRIX_CONTAINER_(name##Set, name);                               \
  bool name(const Key& key) const { return name##_.contains(key); }  \
  void name##Is(const Key& key) { name##_.insert(key); }             \
  bool name##Del(const Key& key) { return name##_.erase(key) != 0; } \
  KESTRIX_DESCRIBE_(name, set, bool, &ModelSelf::name##_)

// A hash map of values: name(key) gives a Lookup (the value type, or an optional of it); nameIs inserts or overwrites
// and returns the entry; nameDel removes and returns the value, the type's default when there was none.
#define KESTRIX_MAP(Key, Type, Lookup, name)                                                               \
  using name##Map = ::Platform::Map<Key, Type>;                                                            \
  KESTRIX_CONTAINER_(name##Map, name);                                                                     \
  Lookup name(const Key& key) const { return ::Platform::lookUp<Lookup>(name##_, key); }                   \
  Type& name##Is(const Key& key, Type value) { return ::Platform::store(name##_, key, std::move(value)); } \
  Type name##Del(const Key& key) { return ::Platform::takeOut(name##_, key); }                             \
  KESTRIX_DESCRIBE_(name, map, Lookup, &ModelSelf::name##_)

// Values stored under a key of their own, `keyAttribute`, ascending: as KESTRIX_MAP, but nameIs takes the value alone,
// and the entry that it returns is valid only until the next operation that changes the collection. No value with
// another key must be assigned to the entry: it would stay where it is, and lookups would miss it. The second nameDel
// removes at a position and returns the one after it. nameReserve makes room for so many at once.
#define KESTRIX_VALUES(Key, Type, name, keyAttribute)                                                          \
  using name##Map = ::Platform::ValueMap<Key, Type>;                                                           \
  KESTRIX_CONTAINER_(name##Map, name);                                                                         \
  Type name(Key key) const { return ::Platform::lookUp<Type>(name##_, key); }                                  \
  Type& name##Is(const Type& value) { return ::Platform::store(name##_, value.keyAttribute(), value); }        \
  Type name##Del(Key key) { return ::Platform::takeOut(name##_, key); }                                        \
  name##Map::iterator name##Del(const name##Map::const_iterator& position) { return name##_.erase(position); } \
  void name##Reserve(size_t count) { name##_.reserve(count); }                                                 \
  KESTRIX_DESCRIBE_(name, values, Type, &ModelSelf::name##_, &ModelSelf::name##Is)

// Entities owned under their key: name(key) may be null; nameIs finds one, or makes it from its construction arguments,
// the key first (ReinstantiationError when it exists with others); nameDel removes and returns it, or null.
#define KESTRIX_ENTITIES(Key, Type, name)                                                         \
  KESTRIX_OWNED_(Key, Type, name);                                                                \
  ::Platform::Ptr<Type> name##Is(const Key& key) { return ::Platform::findOrMake(name##_, key); } \
  KESTRIX_DESCRIBE_(name, entities, ::Platform::Ptr<Type>, &ModelSelf::name##_)

// The same of entities with more construction arguments: their parameters in parentheses, and once more their names.
#define KESTRIX_ENTITIES_OF(Key, Type, name, parameters, ...)                  \
  KESTRIX_OWNED_(Key, Type, name);                                             \
  ::Platform::Ptr<Type> name##Is(const Key& key, KESTRIX_UNPACK_ parameters) { \
    return ::Platform::findOrMake(name##_, key, __VA_ARGS__);                  \
  }                                                                            \
  KESTRIX_DESCRIBE_(name, entities, ::Platform::Ptr<Type>, &ModelSelf::name##_)

#define KESTRIX_UNPACK_(...) __VA_ARGS__
#define KESTRIX_OWNED_(Key, Type, name)                                                                                \
  using name##Map = ::Platform::Map<Key, ::Platform::Ptr<Type>>;                                                       \
  KESTRIX_CONTAINER_(name##Map, name);                                                                                 \
  ::Platform::Ptr<Type> name(const Key& key) const { return ::Platform::lookUp<::Platform::Ptr<Type>>(name##_, key); } \
  ::Platform::Ptr<Type> name##Del(const Key& key) { return ::Platform::takeOut(name##_, key); }                        \
  static_assert(true, "")

// One owned entity: nameIs returns it, made empty when there is none; nameDel detaches and returns it.
#define KESTRIX_CHILD(Type, name)                                                                     \
 private:                                                                                             \
  ::Platform::Ptr<Type> name##_;                                                                      \
                                                                                                      \
 public:                                                                                              \
  const ::Platform::Ptr<Type>& name() const { return name##_; }                                       \
  ::Platform::Ptr<Type> name##Is() { return name##_ ? name##_ : name##_ = ::Platform::make<Type>(); } \
  ::Platform::Ptr<Type> name##Del() { return std::exchange(name##_, nullptr); }                       \
  KESTRIX_DESCRIBE_(name, child, ::Platform::Ptr<Type>, &ModelSelf::name##_)

// A member function, declared before, that is called by name, too.
#define KESTRIX_OPERATION(name) KESTRIX_DESCRIBE_(name, operation, void, &ModelSelf::name)
