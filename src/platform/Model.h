// Attribute declarations: one line per attribute is its storage, its reader and writer, and its description. Equality,
// text forms and access by name are loops over the descriptions.
//
//   class AclRule {
//     KESTRIX_VALUE(AclRule, "Kestrix::AclRule")
//     KESTRIX_FIXED(uint8_t, ruleKey)            // ruleKey()
//     KESTRIX_SETTABLE(uint16_t, port, 0)        // port(), portIs(value)
//     KESTRIX_VIEW(bool, l4, port() != 0)        // l4(), computed when asked
//    public:
//     explicit AclRule(uint8_t ruleKey) : ruleKey_(ruleKey) {}
//   };
//
// The declarations leave the access at `public`. An attribute `x` is stored in `x_`; a fixed one is set by the
// constructor, and the fixed attributes of a type, in their order, are its constructor's arguments.
#pragma once

#include <any>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <fmt/format.h>

#include "platform/Collections.h"
#include "platform/Errors.h"
#include "platform/Export.h"
#include "platform/Ptr.h"
#include "platform/Text.h"

namespace Platform {

enum class Kind : uint8_t { scalar, collection };
enum class Access : uint8_t {
  fixed,     // Given at construction.
  readOnly,  // Changed by the object itself, or computed.
  settable,
};

template <>
inline constexpr EnumName<Access> enumNames<Access>[] = {
    {Access::fixed, "fixed"}, {Access::readOnly, "read-only"}, {Access::settable, "settable"}};

// A value of any type, as it goes through the access by name. Text stands for any value that can be read from text.
class Value {
 public:
  Value(const char* text) : held_(std::string(text)) {}
  Value(std::string text) : held_(std::move(text)) {}
  template <class T>
    requires(!std::convertible_to<const T&, std::string_view> && !std::same_as<T, Value>)
  Value(T value) : held_(std::move(value)) {}

  // The value as a T. Raises WrongTypeError when it holds neither a T nor text, RangeError when the text is no T.
  template <class T>
  T as() const {
    if (const T* value = std::any_cast<T>(&held_)) return *value;
    if constexpr (FromText<T>) {
      if (const auto* text = std::any_cast<std::string>(&held_)) return fromText<T>(*text);
    }
    throw WrongTypeError("the value has another type");
  }

 private:
  std::any held_;
};

// --- Descriptions, typed -------------------------------------------------------------------------------------------

template <int N>
using AttributeIndex = std::integral_constant<int, N>;

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

// Given at construction.
template <class Self, class T>
struct Fixed {
  using Type = T;
  static constexpr auto kAccess = Access::fixed;
  std::string_view name;
  Read<T> (*get)(const Self&);
};

template <class Self, class T>
struct Settable {
  using Type = T;
  static constexpr auto kAccess = Access::settable;
  std::string_view name;
  Read<T> (*get)(const Self&);
  void (*set)(Self&, T);
};

// Changed by the object itself, or computed when it is read.
template <class Self, class T>
struct View {
  using Type = T;
  static constexpr auto kAccess = Access::readOnly;
  std::string_view name;
  T (*get)(const Self&);
};

template <class Self, class Container>
struct Collection {
  static constexpr auto kAccess = Access::settable;
  std::string_view name;
  const Container& (*get)(const Self&);
};

template <class Description>
concept IsScalar = requires { typename Description::Type; };

// Calls `visit` with each description of T, those of its base first, in the order of declaration.
template <class T, int N = 0, class Visit>
constexpr void forEachAttribute(Visit&& visit) {
  if constexpr (N == 0 && requires { typename T::ModelBase; }) forEachAttribute<typename T::ModelBase>(visit);
  if constexpr (requires { T::modelAttribute(AttributeIndex<N>{}); }) {
    visit(T::modelAttribute(AttributeIndex<N>{}));
    forEachAttribute<T, N + 1>(visit);
  }
}

template <class T>
bool equalAttributes(const T& left, const T& right) {
  if (&left == &right) return true;
  bool equal = true;
  forEachAttribute<T>([&](const auto& attribute) { equal = equal && attribute.get(left) == attribute.get(right); });
  return equal;
}

// The text of an attribute's value; the empty text when it is absent.
template <class T>
std::string valueText(const T& value) {
  return fmt::format("{}", value);
}
template <class T>
std::string valueText(const std::optional<T>& value) {
  return value ? valueText(*value) : std::string();
}
template <class Key, class V>
std::string valueText(const Map<Key, V>& values) {
  std::string text;
  for (const auto& [key, value] : values) text += fmt::format("{}{}: {}", text.empty() ? "" : ", ", key, value);
  return "{" + text + "}";
}
template <class Key, class V>
std::string valueText(const ValueMap<Key, V>& values) {
  std::string text;
  for (const auto& [key, value] : values) text += fmt::format("{}{}", text.empty() ? "" : ", ", value);
  return "{" + text + "}";
}

// The model's notation of a value: Value('Kestrix::AclRule', ruleKey=0, ...).
template <class T>
std::string modelText(const T& value) {
  std::string text = fmt::format("Value('{}'", T::modelName());
  forEachAttribute<T>([&](const auto& attribute) {
    if (const std::string part = valueText(attribute.get(value)); !part.empty()) {
      text += fmt::format(", {}={}", attribute.name, part);
    }
  });
  return text + ")";
}

// Raises ReinstantiationError when a fixed attribute of `entity` differs from its construction argument.
template <class T, int N = 0, class First, class... Rest>
void requireSameConstruction(const T& entity, const First& first, const Rest&... rest) {
  constexpr auto attribute = T::modelAttribute(AttributeIndex<N>{});
  if constexpr (attribute.kAccess != Access::fixed) {
    requireSameConstruction<T, N + 1>(entity, first, rest...);
  } else {
    if (!(attribute.get(entity) == first)) {
      throw ReinstantiationError(
          fmt::format("{} exists with another value of its attribute {}", T::modelName(), attribute.name));
    }
    if constexpr (sizeof...(rest) != 0) requireSameConstruction<T, N + 1>(entity, rest...);
  }
}

// The entity under `key` of an owning collection, made from its construction arguments when there is none.
template <class Entities, class Key, class... Args>
typename Entities::mapped_type findOrMake(Entities& entities, const Key& key, const Args&... args) {
  using E = typename Entities::mapped_type::element_type;
  if (const auto found = entities.find(key); found != entities.end()) {
    requireSameConstruction(*found->second, key, args...);
    return found->second;
  }
  return entities.emplace(key, make<E>(key, args...)).first->second;
}

// --- Descriptions, erased: access by name --------------------------------------------------------------------------

struct AttributeRow {
  std::string_view name;
  Kind kind;
  Access access;
  Value (*read)(const void* self);              // Null for a collection.
  void (*set)(void* self, const Value& value);  // Null unless settable.
};

struct KESTRIX_API ModelType {
  std::string_view name;
  std::span<const AttributeRow> attributes;

  // The attribute's value. Raises UnknownAttributeError, or AttributeAccessError for a collection.
  Value read(const void* self, std::string_view attribute) const;
  // Sets the attribute. Raises UnknownAttributeError, AttributeAccessError, WrongTypeError or RangeError, and has then
  // changed nothing.
  void set(void* self, std::string_view attribute, const Value& value) const;

 private:
  const AttributeRow& row(std::string_view attribute) const;
};

namespace Detail {
template <class T>
constexpr size_t attributeCount() {
  size_t count = 0;
  forEachAttribute<T>([&](const auto&) { ++count; });
  return count;
}

// `T` is the described class, `Owner` the class (T or its base) that declares attribute N.
template <class T, class Owner, int N>
struct Erased {
  static constexpr auto kAttribute = Owner::modelAttribute(AttributeIndex<N>{});
  using Description = std::remove_cv_t<decltype(kAttribute)>;

  static Value read(const void* self) {
    return typename Description::Type(kAttribute.get(*static_cast<const T*>(self)));
  }
  static void set(void* self, const Value& value) {
    kAttribute.set(*static_cast<T*>(self), value.as<typename Description::Type>());
  }
  static constexpr AttributeRow row() {
    if constexpr (!IsScalar<Description>) {
      return {kAttribute.name, Kind::collection, kAttribute.kAccess, nullptr, nullptr};
    } else if constexpr (kAttribute.kAccess == Access::settable) {
      return {kAttribute.name, Kind::scalar, kAttribute.kAccess, read, set};
    } else {
      return {kAttribute.name, Kind::scalar, kAttribute.kAccess, read, nullptr};
    }
  }
};

template <class T, class Owner, int N, class Rows>
constexpr void addRows(Rows& rows, size_t& next) {
  if constexpr (N == 0 && requires { typename Owner::ModelBase; }) {
    addRows<T, typename Owner::ModelBase, 0>(rows, next);
  }
  if constexpr (requires { Owner::modelAttribute(AttributeIndex<N>{}); }) {
    rows[next++] = Erased<T, Owner, N>::row();
    addRows<T, Owner, N + 1>(rows, next);
  }
}

template <class T>
constexpr auto erasedRows() {
  std::array<AttributeRow, attributeCount<T>()> rows{};
  size_t next = 0;
  addRows<T, T, 0>(rows, next);
  return rows;
}
template <class T>
inline constexpr auto kErasedRows = erasedRows<T>();
template <class T>
inline constexpr ModelType kModelType{T::modelName(), kErasedRows<T>};
}  // namespace Detail

// The description of T, for access by name.
template <class T>
constexpr const ModelType& modelTypeOf() {
  return Detail::kModelType<T>;
}

// A model type that is a node: its attributes are reached by name through virtual operations.
class KESTRIX_API Entity : public Node {
 public:
  virtual const ModelType& modelType() const = 0;

  // The value of a scalar attribute. Raises as ModelType::read does.
  Value attribute(std::string_view name) const { return modelType().read(modelSelf(), name); }
  // Sets a settable scalar attribute. Raises as ModelType::set does.
  void attributeIs(std::string_view name, const Value& value) {
    modelType().set(const_cast<void*>(modelSelf()), name, value);
  }

 protected:
  // This object as the class that modelType() describes.
  virtual const void* modelSelf() const = 0;
};

}  // namespace Platform

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

// A plain value: copied, compared attribute by attribute.
#define KESTRIX_VALUE(Type, qualifiedName)                                                                         \
  KESTRIX_MODEL(Type, qualifiedName);                                                                              \
  friend bool operator==(const Type& left, const Type& right) { return ::Platform::equalAttributes(left, right); } \
  std::string toText() const { return ::Platform::modelText(*this); }                                              \
  static_assert(true, "")

// A node whose attributes are reached by name; KESTRIX_DEFINE_ENTITY belongs into one .cpp file.
#define KESTRIX_ENTITY(Type, qualifiedName)                \
  KESTRIX_MODEL(Type, qualifiedName);                      \
  const ::Platform::ModelType& modelType() const override; \
                                                           \
 protected:                                                \
  const void* modelSelf() const override { return this; }  \
                                                           \
 public:                                                   \
  static_assert(true, "")

#define KESTRIX_DEFINE_ENTITY(Type) \
  const ::Platform::ModelType& Type::modelType() const { return ::Platform::modelTypeOf<Type>(); }

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
  KESTRIX_DESCRIBE_(::Platform::Collection<ModelSelf, Container>{  \
      #name, [](const ModelSelf& self) -> const Container& { return self.name(); }})

// A set of keys: name(key) is membership; nameIs inserts; nameDel removes and says whether it was there.
#define KESTRIX_SET(Key, name)                                       \
  KESTRIX_CONTAINER_(::Platform::Set<Key>, name);                    \
  bool name(const Key& key) const { return name##_.contains(key); }  \
  void name##Is(const Key& key) { name##_.insert(key); }             \
  bool name##Del(const Key& key) { return name##_.erase(key) != 0; } \
  static_assert(true, "")

// A hash map of values: name(key) gives a Lookup (the value type, or an optional of it); nameIs inserts or overwrites
// and returns the entry; nameDel removes and returns the value, the type's default when there was none.
#define KESTRIX_MAP(Key, Type, Lookup, name)                                                               \
  using name##Map = ::Platform::Map<Key, Type>;                                                            \
  KESTRIX_CONTAINER_(name##Map, name);                                                                     \
  Lookup name(const Key& key) const { return ::Platform::lookUp<Lookup>(name##_, key); }                   \
  Type& name##Is(const Key& key, Type value) { return ::Platform::store(name##_, key, std::move(value)); } \
  Type name##Del(const Key& key) { return ::Platform::takeOut(name##_, key); }                             \
  static_assert(true, "")

// Values stored under a key of their own, `keyAttribute`, ascending: as KESTRIX_MAP, but nameIs takes the value alone.
// The second nameDel removes at a position and returns the one after it.
#define KESTRIX_VALUES(Key, Type, name, keyAttribute)                                                          \
  using name##Map = ::Platform::ValueMap<Key, Type>;                                                           \
  KESTRIX_CONTAINER_(name##Map, name);                                                                         \
  Type name(Key key) const { return ::Platform::lookUp<Type>(name##_, key); }                                  \
  Type& name##Is(const Type& value) { return ::Platform::store(name##_, value.keyAttribute(), value); }        \
  Type name##Del(Key key) { return ::Platform::takeOut(name##_, key); }                                        \
  name##Map::iterator name##Del(const name##Map::const_iterator& position) { return name##_.erase(position); } \
  static_assert(true, "")

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
  KESTRIX_DESCRIBE_(                                                                                  \
      ::Platform::View<ModelSelf, ::Platform::Ptr<Type>>{#name, [](const ModelSelf& self) { return self.name(); }})
