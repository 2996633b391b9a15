// For the one source of each model class: makes of its attribute declarations (Model.h) what equality, text forms and
// the access by name need.
//
//   KESTRIX_DEFINE_VALUE(AclRule)
#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "platform/object/ByName.h"
#include "platform/object/Collections.h"
#include "platform/object/Model.h"

// A value type without a text that is read back.
#define KESTRIX_DEFINE_PRINTED_VALUE(Type)                                                                     \
  KESTRIX_DEFINE_MODEL_(Type)                                                                                  \
  bool Type::operator==(const Type& other) const { return ::Platform::Detail::equalAttributes(*this, other); } \
  std::string Type::toText() const { return ::Platform::Detail::modelText(model(), this); }

#define KESTRIX_DEFINE_VALUE(Type)   \
  KESTRIX_DEFINE_PRINTED_VALUE(Type) \
  Type Type::modelRead(::Platform::TextCursor& text) { return ::Platform::Detail::readModel(model(), text).as<Type>(); }

#define KESTRIX_DEFINE_ENTITY(Type) KESTRIX_DEFINE_MODEL_(Type)

#define KESTRIX_DEFINE_MODEL_(Type)                                                           \
  const ::Platform::ModelType& Type::model() { return ::Platform::Detail::kModelType<Type>; } \
  const ::Platform::Detail::Registration Type::modelRegistration_(::Platform::Detail::kModelType<Type>);

namespace Platform::Detail {

// --- Steps that need no class --------------------------------------------------------------------------------------

// The model's notation of a value: Value('Kestrix::AclRule', ruleKey=0, ...). Absent attributes are left out.
std::string modelText(const ModelType& type, const void* self);
// Reads what modelText gives. Raises RangeError, with the attribute's name in front of what is wrong with its value.
Value readModel(const ModelType& type, TextCursor& cursor);
// Raises WrongTypeError for another number of arguments.
void requireCount(const Arguments& arguments, size_t count);
// How an error names an argument of an operation: "argument 1" for that at 0.
std::string argumentName(size_t position);

// Makes a type known to ModelType::find as long as it lives.
class Registration {
 public:
  explicit Registration(const ModelType& type);
  ~Registration();
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;

 private:
  const ModelType& type_;
};

// --- One attribute -------------------------------------------------------------------------------------------------

// The object of a row, as its class.
template <class Object>
const Object& objectOf(const void* self) {
  if constexpr (std::derived_from<Object, Entity>) {
    return static_cast<const Object&>(*static_cast<const Entity*>(self));
  } else {
    return *static_cast<const Object*>(self);
  }
}
template <class Object>
Object& objectOf(void* self) {
  return const_cast<Object&>(objectOf<Object>(static_cast<const void*>(self)));
}

// `value` as a T; `name` says what it is when it is none.
template <class T>
T convert(const Value& value, std::string_view name) try {
  return value.as<T>();
} catch (const ModelError& error) {
  error.raiseIn(name);
}

template <class T>
struct IsOptional : std::false_type {
  using Content = T;
};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {
  using Content = T;
};

// The value at the cursor, of the attribute `name`. Its text ends where its form does, or at the next delimiter.
template <class T>
T readToken(TextCursor& cursor, std::string_view name) try {
  if constexpr (FromCursor<T>) {
    return readText<T>(cursor);
  } else {
    static_assert(TextToken<T>, "where the text of this type ends is not clear: it needs a way to read a cursor");
    return fromText<T>(cursor.takeUntil(",)"));
  }
} catch (const ModelError& error) {
  error.raiseIn(name);
}
template <class T>
Value readValue(TextCursor& cursor, std::string_view name) {
  return readToken<T>(cursor, name);
}

template <class ObjectType, class T, Access access, auto kGet>
struct Scalar {
  using Object = ObjectType;
  using Type = T;
  static constexpr bool kIsFixed = access == Access::fixed;
  static constexpr bool kIsStored = access != Access::readOnly;

  static Value read(const void* self) { return Value(T(std::invoke(kGet, objectOf<Object>(self)))); }
  static bool equal(const Object& left, const Object& right) {
    return std::invoke(kGet, left) == std::invoke(kGet, right);
  }
  static constexpr void fill(AttributeRow& row) {
    row.access = access;
    row.isOptional = IsOptional<T>::value;
    row.read = read;
    if constexpr (kIsStored && !std::derived_from<Object, Entity>) {
      row.fromText = readValue<typename IsOptional<T>::Content>;
    }
  }
};

template <class Object, class T, auto kGet>
struct Fixed : Scalar<Object, T, Access::fixed, kGet> {};

template <class Object, class T, auto kGet>
struct View : Scalar<Object, T, Access::readOnly, kGet> {};

template <class Object, class T, auto kGet, auto kSet>
struct Settable : Scalar<Object, T, Access::settable, kGet> {
  static void set(void* self, const Value& value) { std::invoke(kSet, objectOf<Object>(self), value.as<T>()); }
  static constexpr void fill(AttributeRow& row) {
    Scalar<Object, T, Access::settable, kGet>::fill(row);
    row.set = set;
  }
};

template <class Object, class T, auto kMember>
struct Child : Scalar<Object, Ptr<T>, Access::readOnly, kMember> {
  static Value insert(void* self, const Arguments& arguments) {
    requireCount(arguments, 0);
    Ptr<T>& child = objectOf<Object>(self).*kMember;
    if (!child) child = make<T>();
    return child;
  }
  static Value erase(void* self, const Value& key) {
    if (key.hasValue()) throw WrongTypeError("a single owned entity has no key");
    return std::exchange(objectOf<Object>(self).*kMember, nullptr);
  }
  static constexpr void fill(AttributeRow& row) {
    Scalar<Object, Ptr<T>, Access::readOnly, kMember>::fill(row);
    row.insert = insert;
    row.erase = erase;
  }
};

// What the collections have in common. `Members` says what a member is: its value, how one is looked up and inserted.
template <class ObjectType, auto kMember, class Members>
struct CollectionOf {
  using Object = ObjectType;
  using Container = std::remove_reference_t<decltype(std::declval<Object&>().*kMember)>;
  using Key = typename Container::key_type;
  static constexpr bool kIsFixed = false;
  static constexpr bool kIsStored = true;

  static const Container& of(const void* self) { return objectOf<Object>(self).*kMember; }
  static Container& of(void* self) { return objectOf<Object>(self).*kMember; }
  static Key keyFrom(const Value& value) { return convert<Key>(value, "key"); }

  static bool equal(const Object& left, const Object& right) { return left.*kMember == right.*kMember; }
  static Value lookUp(const void* self, const Value& key) { return Members::lookUp(of(self), keyFrom(key)); }
  static bool contains(const void* self, const Value& key) { return of(self).contains(keyFrom(key)); }
  static size_t count(const void* self) { return of(self).size(); }
  static void forEach(const void* self, const MemberVisit& visit) {
    const Container& container = of(self);
    forEachStable(container, [&](const Key& key) { visit(key, Members::member(container, key)); });
  }
  static Value erase(void* self, const Value& key) { return Members::take(of(self), keyFrom(key)); }
  static void clear(void* self) { of(self).clear(); }

  static constexpr void fill(AttributeRow& row) {
    row.kind = Kind::collection;
    row.access = Access::settable;
    row.lookUp = lookUp;
    row.contains = contains;
    row.count = count;
    row.forEach = forEach;
    row.insert = Members::insert;
    row.erase = erase;
    row.clear = clear;
  }
};

template <class Object, class Key, auto kMember>
struct KeySet : CollectionOf<Object, kMember, KeySet<Object, Key, kMember>> {
  static bool lookUp(const Set<Key>& set, const Key& key) { return set.contains(key); }
  static bool member(const Set<Key>&, const Key&) { return true; }
  static bool take(Set<Key>& set, const Key& key) { return set.erase(key) != 0; }
  static Value insert(void* self, const Arguments& arguments) {
    const bool isMember = arguments.size() != 2 || convert<bool>(arguments[1], "membership");
    requireCount(arguments, arguments.size() == 2 ? 2 : 1);
    const Key key = convert<Key>(arguments[0], "key");
    if (!isMember) throw SetFalseError("a member is taken out by removing it, not by setting it to false");
    (objectOf<Object>(self).*kMember).insert(key);
    return true;
  }
};

// Of the maps: a member is the value.
struct MappedMembers {
  template <class Container, class Key>
  static Value member(const Container& container, const Key& key) {
    return container.at(key);
  }
  template <class Container, class Key>
  static Value take(Container& container, const Key& key) {
    return takeOut(container, key);
  }
};

template <class Object, class T, auto kMember, class Lookup>
struct KeyedMap : CollectionOf<Object, kMember, KeyedMap<Object, T, kMember, Lookup>>, MappedMembers {
  template <class Container, class Key>
  static Value lookUp(const Container& container, const Key& key) {
    return Platform::lookUp<Lookup>(container, key);
  }
  static Value insert(void* self, const Arguments& arguments) {
    requireCount(arguments, 2);
    auto& container = objectOf<Object>(self).*kMember;
    const auto key = KeyedMap::keyFrom(arguments[0]);
    return store(container, key, convert<T>(arguments[1], "value"));
  }
};

template <class Object, class T, auto kMember, auto kInsert>
struct OwnKeyedMap : CollectionOf<Object, kMember, OwnKeyedMap<Object, T, kMember, kInsert>>, MappedMembers {
  template <class Container, class Key>
  static Value lookUp(const Container& container, const Key& key) {
    return Platform::lookUp<T>(container, key);
  }
  static Value insert(void* self, const Arguments& arguments) {
    requireCount(arguments, 1);
    return std::invoke(kInsert, objectOf<Object>(self), convert<T>(arguments[0], "value"));
  }
  static constexpr void fill(AttributeRow& row) {
    CollectionOf<Object, kMember, OwnKeyedMap>::fill(row);
    row.hasOwnKeys = true;
  }
};

template <class Object, class T, auto kMember>
struct EntityMap : CollectionOf<Object, kMember, EntityMap<Object, T, kMember>>, MappedMembers {
  template <class Container, class Key>
  static Value lookUp(const Container& container, const Key& key) {
    return Platform::lookUp<Ptr<T>>(container, key);
  }
  static Value insert(void* self, const Arguments& arguments) {
    const Ptr<T> wanted = T::model().construct(arguments).template as<Ptr<T>>();
    const auto key = EntityMap::keyFrom(arguments[0]);
    const auto [entry, isNew] = (objectOf<Object>(self).*kMember).try_emplace(key, wanted);
    if (!isNew) requireSameConstruction(*entry->second, *wanted);
    return entry->second;
  }
};

template <class ObjectType, auto kMethod>
struct Operation {
  using Object = ObjectType;
  static constexpr bool kIsFixed = false;
  static constexpr bool kIsStored = false;

  // Each argument converted to the type of its parameter.
  template <class Result, class Owner, class... Parameters, size_t... I>
  static Value callWith(Object& object, const Arguments& arguments, Result (Owner::*)(Parameters...),
                        std::index_sequence<I...>) {
    requireCount(arguments, sizeof...(I));
    std::tuple<std::remove_cvref_t<Parameters>...> converted{
        convert<std::remove_cvref_t<Parameters>>(arguments[I], argumentName(I))...};
    if constexpr (std::is_void_v<Result>) {
      (object.*kMethod)(std::get<I>(converted)...);
      return {};
    } else {
      return (object.*kMethod)(std::get<I>(converted)...);
    }
  }
  template <class Result, class Owner, class... Parameters>
  static Value call(Object& object, const Arguments& arguments, Result (Owner::*method)(Parameters...)) {
    return callWith(object, arguments, method, std::index_sequence_for<Parameters...>());
  }
  template <class Result, class Owner, class... Parameters>
  static Value call(Object& object, const Arguments& arguments, Result (Owner::*)(Parameters...) const) {
    return call(object, arguments, static_cast<Result (Owner::*)(Parameters...)>(nullptr));
  }
  static Value callByName(void* self, const Arguments& arguments) {
    return call(objectOf<Object>(self), arguments, kMethod);
  }
  static constexpr void fill(AttributeRow& row) {
    row.kind = Kind::operation;
    row.call = callByName;
  }
};

// --- A class -------------------------------------------------------------------------------------------------------

template <class T, int kLine>
using AttributeAt = decltype(T::modelAttribute(Line<T::kModelFirstLine + kLine>()));

// Whether T, and not a base that it adds nothing to, declares an attribute so many lines below its opening.
template <class T, int kLine>
concept DeclaresAt = requires { requires std::same_as<typename AttributeAt<T, kLine>::Object, T>; };

// The positions in `chosen` that are true.
template <auto chosen>
constexpr auto positions() {
  std::array<int, static_cast<size_t>(std::count(chosen.begin(), chosen.end(), true))> found{};
  size_t next = 0;
  for (size_t i = 0; i < chosen.size(); ++i) {
    if (chosen[i]) found[next++] = static_cast<int>(i);
  }
  return found;
}

// The lines, below its opening, on which T declares attributes.
template <class T>
inline constexpr auto kLines = []<int... kLine>(std::integer_sequence<int, kLine...>) {
  return positions<std::array<bool, kMostLines>{DeclaresAt<T, kLine>...}>();
}(std::make_integer_sequence<int, kMostLines>());

// Calls `visit` with those lines as its template arguments whose attributes `Chosen` chooses.
template <class T, template <class> class Chosen, class Visit>
constexpr decltype(auto) withLines(const Visit& visit) {
  return [&]<size_t... I>(std::index_sequence<I...>) -> decltype(auto) {
    constexpr auto kChosen =
        positions<std::array<bool, sizeof...(I)>{Chosen<AttributeAt<T, kLines<T>[I]>>::value...}>();
    return [&]<size_t... J>(std::index_sequence<J...>) -> decltype(auto) {
      return visit.template operator()<kLines<T>[static_cast<size_t>(kChosen[J])]...>();
    }(std::make_index_sequence<kChosen.size()>());
  }(std::make_index_sequence<kLines<T>.size()>());
}

template <class>
using Every = std::true_type;
template <class Attribute>
using IfFixed = std::bool_constant<Attribute::kIsFixed>;
template <class Attribute>
using IfStored = std::bool_constant<Attribute::kIsStored>;

template <class T, int kLine>
constexpr std::string_view nameAt() {
  return T::modelAttributeName(Line<T::kModelFirstLine + kLine>());
}

// The rows of T: those of its base first.
template <class T>
constexpr auto rowsOf() {
  constexpr auto kOwn = withLines<T, Every>([]<int... kLine>() {
    const auto row = []<int kAt>(std::integral_constant<int, kAt>) {
      AttributeRow made{.name = nameAt<T, kAt>()};
      AttributeAt<T, kAt>::fill(made);
      return made;
    };
    return std::array<AttributeRow, sizeof...(kLine)>{row(std::integral_constant<int, kLine>())...};
  });
  if constexpr (requires { typename T::ModelBase; }) {
    constexpr auto kBase = rowsOf<typename T::ModelBase>();
    std::array<AttributeRow, kBase.size() + kOwn.size()> rows;
    std::copy(kOwn.begin(), kOwn.end(), std::copy(kBase.begin(), kBase.end(), rows.begin()));
    return rows;
  } else {
    return kOwn;
  }
}
template <class T>
inline constexpr auto kRows = rowsOf<T>();

template <class T>
bool equalAttributes(const T& left, const T& right) {
  if (&left == &right) return true;
  return withLines<T, IfStored>([&]<int... kLine>() { return (AttributeAt<T, kLine>::equal(left, right) && ...); });
}

// The arguments of T's constructor, as a tuple: its fixed attributes. A class that has none takes those of its base.
template <class T>
auto constructorArguments(const Arguments& arguments) {
  return withLines<T, IfFixed>([&]<int... kLine>() {
    if constexpr (requires { typename T::ModelBase; }) {
      static_assert(sizeof...(kLine) == 0, "a derived class has the constructor of its base");
      return constructorArguments<typename T::ModelBase>(arguments);
    } else {
      requireCount(arguments, sizeof...(kLine));
      return [&]<size_t... I>(std::index_sequence<I...>) {
        return std::tuple<typename AttributeAt<T, kLine>::Type...>{
            convert<typename AttributeAt<T, kLine>::Type>(arguments[I], nameAt<T, kLine>())...};
      }(std::make_index_sequence<sizeof...(kLine)>());
    }
  });
}

template <class T>
Value construct(const Arguments& arguments) {
  if constexpr (requires { T::modelConstruct(arguments); }) {
    return T::modelConstruct(arguments);
  } else {
    return std::apply(
        [](const auto&... args) -> Value {
          if constexpr (requires { T::modelMake(args...); }) {
            return T::modelMake(args...);
          } else if constexpr (std::derived_from<T, Entity>) {
            return make<T>(args...);
          } else {
            return T(args...);
          }
        },
        constructorArguments<T>(arguments));
  }
}

template <class T>
constexpr const ModelType& (*baseModel())() {
  if constexpr (requires { typename T::ModelBase; }) return &T::ModelBase::model;
  return nullptr;
}
template <class T>
inline constexpr ModelType kModelType{T::modelName(), baseModel<T>(), kRows<T>, construct<T>};

}  // namespace Platform::Detail
