// Attribute declarations: one line per attribute is its storage, its reader and writer, and its description. Equality,
// text forms and access by name are loops over the descriptions.
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
// The declarations leave the access at `public`. An attribute `x` is stored in `x_`; a fixed one is set by the
// constructor, and the fixed attributes of a type, in their order, are its constructor's arguments. An entity whose
// first attribute is fixed has it as its key. A class derived from a model type names it as its `ModelBase`.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/object/Attributes.h"
#include "platform/object/ByName.h"
#include "platform/object/Collections.h"
#include "platform/object/Erased.h"
#include "platform/runtime/Ptr.h"
#include "platform/runtime/Text.h"

// --- Declarations --------------------------------------------------------------------------------------------------

// Opens the attributes of `Type`; `qualifiedName` is its name in text forms and errors.
#define KESTRIX_MODEL(Type, qualifiedName)                                \
 public:                                                                  \
  using ModelSelf = Type;                                                 \
  static constexpr std::string_view modelName() { return qualifiedName; } \
                                                                          \
 private:                                                                 \
  static constexpr int kModelFirst = __COUNTER__ + 1;                     \
                                                                          \
 public:                                                                  \
  static_assert(true, "")

// A plain value: copied, compared and printed attribute by attribute.
#define KESTRIX_PRINTED_VALUE(Type, qualifiedName)                                                                 \
  KESTRIX_MODEL(Type, qualifiedName);                                                                              \
  friend bool operator==(const Type& left, const Type& right) { return ::Platform::equalAttributes(left, right); } \
  std::string toText() const { return ::Platform::modelText(*this); }                                              \
  friend std::ostream& operator<<(std::ostream& out, const Type& value) { return out << value.toText(); }          \
  static_assert(true, "")

// The same, and read back from its text. It has no collections.
#define KESTRIX_VALUE(Type, qualifiedName)                                                 \
  KESTRIX_PRINTED_VALUE(Type, qualifiedName);                                              \
  /* Reads what toText gives. Raises RangeError; `text` is then anywhere. */               \
  explicit Type(::Platform::TextCursor& text) : Type(::Platform::readValue<Type>(text)) {} \
  static_assert(true, "")

// A node; KESTRIX_DEFINE_ENTITY belongs into one .cpp file.
#define KESTRIX_ENTITY(Type, qualifiedName)                \
  KESTRIX_MODEL(Type, qualifiedName);                      \
  const ::Platform::ModelType& modelType() const override; \
                                                           \
 protected:                                                \
  void* modelSelf() override { return this; }              \
  const void* modelSelf() const override { return this; }  \
                                                           \
 public:                                                   \
  static_assert(true, "")

// In one .cpp file: the type is known by its name.
#define KESTRIX_DEFINE_VALUE(Type)                                                          \
  namespace {                                                                               \
  const ::Platform::Detail::Registration registered##Type(::Platform::modelTypeOf<Type>()); \
  }
#define KESTRIX_DEFINE_ENTITY(Type) \
  KESTRIX_DEFINE_VALUE(Type)        \
  const ::Platform::ModelType& Type::modelType() const { return ::Platform::modelTypeOf<Type>(); }

// By name, objects are constructed by the static operation `factory`, not by the constructor.
#define KESTRIX_MADE_BY(factory)               \
  template <class... Args>                     \
  static auto modelMake(const Args&... args) { \
    return factory(args...);                   \
  }                                            \
  static_assert(true, "")

#define KESTRIX_DESCRIBE_(...)                                                                                        \
  static constexpr auto modelAttribute(::Platform::AttributeIndex<__COUNTER__ - kModelFirst>) { return __VA_ARGS__; } \
  static_assert(true, "")

#define KESTRIX_GET_(name) [](const ModelSelf& self) -> decltype(auto) { return self.name(); }

// Given at construction; `Type name_` is for the constructor to initialise.
#define KESTRIX_FIXED(Type, name)                         \
 private:                                                 \
  Type name##_;                                           \
                                                          \
 public:                                                  \
  ::Platform::Read<Type> name() const { return name##_; } \
  KESTRIX_DESCRIBE_(::Platform::Fixed<ModelSelf, Type>{#name, KESTRIX_GET_(name)})

// Read and written freely; the rest of the arguments is the initial value.
#define KESTRIX_SETTABLE(Type, name, ...)                   \
 private:                                                   \
  ::Platform::Stored<Type>::As name##_ = __VA_ARGS__;       \
                                                            \
 public:                                                    \
  ::Platform::Read<Type> name() const { return name##_; }   \
  void name##Is(Type value) { name##_ = std::move(value); } \
  KESTRIX_DESCRIBE_(::Platform::Settable<ModelSelf, Type>{  \
      #name, KESTRIX_GET_(name), [](ModelSelf& self, Type value) { self.name##Is(std::move(value)); }})

// Computed by the rest of the arguments whenever it is read.
#define KESTRIX_VIEW(Type, name, ...)       \
  Type name() const { return __VA_ARGS__; } \
  KESTRIX_DESCRIBE_(::Platform::View<ModelSelf, Type>{#name, KESTRIX_GET_(name)})

#define KESTRIX_CONTAINER_(Container, name)                        \
 private:                                                          \
  Container name##_;                                               \
                                                                   \
 public:                                                           \
  /* The whole collection, for iteration, count and membership. */ \
  const Container& name() const { return name##_; }                \
  void name##DelAll() { name##_.clear(); }                         \
  static_assert(true, "")

// Describes the operations that the macros below declare.
#define KESTRIX_DESCRIBE_COLLECTION_(members, Container, name)                                                     \
  struct name##Functions {                                                                                         \
    static decltype(auto) lookUp(const ModelSelf& self, const Container::key_type& key) { return self.name(key); } \
    template <class... Args>                                                                                       \
    static decltype(auto) insert(ModelSelf& self, const Args&... args) {                                           \
      return self.name##Is(args...);                                                                               \
    }                                                                                                              \
    static decltype(auto) erase(ModelSelf& self, const Container::key_type& key) { return self.name##Del(key); }   \
    static void clear(ModelSelf& self) { self.name##DelAll(); }                                                    \
  };                                                                                                               \
  KESTRIX_DESCRIBE_(::Platform::Collection<ModelSelf, members, Container, name##Functions>{                        \
      #name, [](const ModelSelf& self) -> const Container& { return self.name(); }, {}})

// A set of keys: name(key) is membership; nameIs inserts; nameDel removes and says whether it was there.
#define KESTRIX_SET(Key, name)                                       \
  using name##Set = ::Platform::Set<Key>;                            \
  KESTRIX_CONTAINER_(name##Set, name);                               \
  bool name(const Key& key) const { return name##_.contains(key); }  \
  void name##Is(const Key& key) { name##_.insert(key); }             \
  bool name##Del(const Key& key) { return name##_.erase(key) != 0; } \
  KESTRIX_DESCRIBE_COLLECTION_(::Platform::Members::keys, name##Set, name)

// A hash map of values: name(key) gives a Lookup (the value type, or an optional of it); nameIs inserts or overwrites
// and returns the entry; nameDel removes and returns the value, the type's default when there was none.
#define KESTRIX_MAP(Key, Type, Lookup, name)                                                               \
  using name##Map = ::Platform::Map<Key, Type>;                                                            \
  KESTRIX_CONTAINER_(name##Map, name);                                                                     \
  Lookup name(const Key& key) const { return ::Platform::lookUp<Lookup>(name##_, key); }                   \
  Type& name##Is(const Key& key, Type value) { return ::Platform::store(name##_, key, std::move(value)); } \
  Type name##Del(const Key& key) { return ::Platform::takeOut(name##_, key); }                             \
  KESTRIX_DESCRIBE_COLLECTION_(::Platform::Members::mapped, name##Map, name)

// Values stored under a key of their own, `keyAttribute`, ascending: as KESTRIX_MAP, but nameIs takes the value alone.
// The second nameDel removes at a position and returns the one after it. nameReserve makes room for so many at once.
#define KESTRIX_VALUES(Key, Type, name, keyAttribute)                                                          \
  using name##Map = ::Platform::ValueMap<Key, Type>;                                                           \
  KESTRIX_CONTAINER_(name##Map, name);                                                                         \
  Type name(Key key) const { return ::Platform::lookUp<Type>(name##_, key); }                                  \
  Type& name##Is(const Type& value) { return ::Platform::store(name##_, value.keyAttribute(), value); }        \
  Type name##Del(Key key) { return ::Platform::takeOut(name##_, key); }                                        \
  name##Map::iterator name##Del(const name##Map::const_iterator& position) { return name##_.erase(position); } \
  void name##Reserve(size_t count) { name##_.reserve(count); }                                                 \
  KESTRIX_DESCRIBE_COLLECTION_(::Platform::Members::values, name##Map, name)

// Entities owned under their key: name(key) may be null; nameIs finds one, or makes it from its construction arguments,
// the key first (ReinstantiationError when it exists with others); nameDel removes and returns it, or null.
#define KESTRIX_ENTITIES(Key, Type, name)                                                                              \
  using name##Map = ::Platform::Map<Key, ::Platform::Ptr<Type>>;                                                       \
  KESTRIX_CONTAINER_(name##Map, name);                                                                                 \
  ::Platform::Ptr<Type> name(const Key& key) const { return ::Platform::lookUp<::Platform::Ptr<Type>>(name##_, key); } \
  template <class... Args>                                                                                             \
  ::Platform::Ptr<Type> name##Is(const Key& key, const Args&... args) {                                                \
    return ::Platform::findOrMake(name##_, key, args...);                                                              \
  }                                                                                                                    \
  ::Platform::Ptr<Type> name##Del(const Key& key) { return ::Platform::takeOut(name##_, key); }                        \
  KESTRIX_DESCRIBE_COLLECTION_(::Platform::Members::entities, name##Map, name)

// One owned entity: nameIs returns it, made empty when there is none; nameDel detaches and returns it.
#define KESTRIX_CHILD(Type, name)                                                                                \
 private:                                                                                                        \
  ::Platform::Ptr<Type> name##_;                                                                                 \
                                                                                                                 \
 public:                                                                                                         \
  const ::Platform::Ptr<Type>& name() const { return name##_; }                                                  \
  ::Platform::Ptr<Type> name##Is() { return name##_ ? name##_ : name##_ = ::Platform::make<Type>(); }            \
  ::Platform::Ptr<Type> name##Del() { return std::exchange(name##_, nullptr); }                                  \
  KESTRIX_DESCRIBE_(::Platform::Child<ModelSelf, Type>{#name, [](const ModelSelf& self) { return self.name(); }, \
                                                       [](ModelSelf& self) { return self.name##Is(); },          \
                                                       [](ModelSelf& self) { return self.name##Del(); }})

// A member function, declared before, that is called by name, too.
#define KESTRIX_OPERATION(name) \
  KESTRIX_DESCRIBE_(::Platform::Operation<ModelSelf, decltype(&ModelSelf::name)>{#name, &ModelSelf::name})
