// For the one source of each model class: makes of its attribute declarations (Model.h) what text forms and the access
// by name need.
//
//   KESTRIX_DEFINE_VALUE(AclRule)
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include <boost/mp11/algorithm.hpp>
#include <boost/mp11/list.hpp>

#include "platform/object/ByName.h"
#include "platform/object/Collections.h"
#include "platform/object/Model.h"

// A value type without a text that is read back.
#define KESTRIX_DEFINE_PRINTED_VALUE(Type) \
  KESTRIX_DEFINE_MODEL_(Type)              \
  std::string Type::toText() const { return ::Platform::Detail::modelText(model(), this); }

#define KESTRIX_DEFINE_VALUE(Type)   \
  KESTRIX_DEFINE_PRINTED_VALUE(Type) \
  Type Type::modelRead(::Platform::TextCursor& text) { return ::Platform::Detail::readModel(model(), text).as<Type>(); }

#define KESTRIX_DEFINE_ENTITY(Type) KESTRIX_DEFINE_MODEL_(Type)

#define KESTRIX_DEFINE_MODEL_(Type)                                                           \
  const ::Platform::ModelType& Type::model() { return ::Platform::Detail::kModelType<Type>; } \
  const ::Platform::Detail::Registration Type::modelRegistration_(::Platform::Detail::kModelType<Type>);

namespace Platform::Detail {

namespace mp11 = boost::mp11;

// --- Steps that need no class --------------------------------------------------------------------------------------

// The model's notation of a value: Value('Kestrix::AclRule', ruleKey=0, ...). Absent attributes are left out.
std::string modelText(const ModelType& type, const void* self);
// Reads what modelText gives. Raises RangeError, with the attribute's name in front of what is wrong with its value.
Value readModel(const ModelType& type, TextCursor& cursor);
// Raises WrongTypeError for another number of arguments.
void requireCount(const Arguments& arguments, size_t count);
// How errors name the arguments of a constructor, by the fixed attributes; of an operation, by their numbers.
using ArgumentName = std::string (*)(const ModelType* type, size_t position);
std::string fixedName(const ModelType* type, size_t position);
std::string numberName(const ModelType* type, size_t position);

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
} catch (ModelError& error) {
  error.in(name);
  throw;
}
// The same as far as it is known, with the same errors: a text does not become a T that is kept for ever.
template <class T>
std::optional<T> known(const Value& value, std::string_view name) try {
  return value.asKnown<T>();
} catch (ModelError& error) {
  error.in(name);
  throw;
}
template <class Key>
std::optional<Key> knownKey(const Value& value) {
  return known<Key>(value, "key");
}

// The arguments as the tuple `Types`. Nothing is kept for ever before all of them are known to be good.
template <class Types>
Types convertAll(const Arguments& arguments, ArgumentName name, const ModelType* type = nullptr) {
  requireCount(arguments, std::tuple_size_v<Types>);
  return [&]<size_t... I>(std::index_sequence<I...>) {
    if constexpr ((KeptForEver<std::tuple_element_t<I, Types>> || ...)) {
      (known<std::tuple_element_t<I, Types>>(arguments[I], name(type, I)), ...);
    }
    return Types{convert<std::tuple_element_t<I, Types>>(arguments[I], name(type, I))...};
  }(std::make_index_sequence<std::tuple_size_v<Types>>());
}

// The value at the cursor, of the attribute `name`. Its text ends where its form does, or at the next delimiter.
template <class T>
T readToken(TextCursor& cursor, std::string_view name) try {
  if constexpr (FromCursor<T>) {
    return readText<T>(cursor);
  } else {
    static_assert(TextToken<T>, "where the text of this type ends is not clear: it needs a way to read a cursor");
    return fromText<T>(cursor.takeUntil(",)"));
  }
} catch (ModelError& error) {
  error.in(name);
  throw;
}

template <class T>
struct Optional : std::false_type {
  using Content = T;
};
template <class T>
struct Optional<std::optional<T>> : std::true_type {
  using Content = T;
};

// A scalar.
template <What what, class ObjectType, class T, auto kGet, auto... kSet>
  requires(what <= What::child)
struct Attribute<what, ObjectType, T, kGet, kSet...> {
  using Object = ObjectType;
  using Type = T;
  static constexpr bool kIsFixed = what == What::fixed;
  static Value makeChild(void* self, const Arguments& arguments) {
    requireCount(arguments, 0);
    T& child = objectOf<Object>(self).*kGet;
    return child ? child : child = make<typename T::element_type>();
  }
  static Value takeChild(void* self, const Value& key) {
    if (key.hasValue()) throw WrongTypeError("a single owned entity has no key");
    return std::exchange(objectOf<Object>(self).*kGet, nullptr);
  }
  static constexpr AttributeRow row(std::string_view name) {
    AttributeRow row{.name = name, .access = kIsFixed ? Access::fixed : Access::readOnly};
    row.isOptional = Optional<T>::value;
    row.read = [](const void* self) { return Value(T(std::invoke(kGet, objectOf<Object>(self)))); };
    if constexpr (what == What::settable) {
      row.access = Access::settable;
      row.set = [](void* self, const Value& value) { std::invoke(kSet..., objectOf<Object>(self), value.as<T>()); };
    } else if constexpr (what == What::child) {
      row.access = Access::owned;
      row.insert = makeChild;
      row.erase = takeChild;
    }
    if constexpr (what <= What::settable && !std::derived_from<Object, Entity>) {
      row.fromText = [](TextCursor& cursor, std::string_view called) {
        return Value(readToken<typename Optional<T>::Content>(cursor, called));
      };
    }
    return row;
  }
};

// A collection.
template <What what, class ObjectType, class T, auto kMember, auto... kInsert>
  requires(what > What::child && what < What::operation)
struct Attribute<what, ObjectType, T, kMember, kInsert...> {
  using Object = ObjectType;
  using Container = std::remove_reference_t<decltype(std::declval<Object&>().*kMember)>;
  using Key = typename Container::key_type;
  static constexpr bool kIsFixed = false;

  static const Container& of(const void* self) { return objectOf<Object>(self).*kMember; }
  static Container& of(void* self) { return objectOf<Object>(self).*kMember; }
  static Key keyFrom(const Value& value) { return convert<Key>(value, "key"); }

  static Value lookUp(const void* self, const Value& key) {
    const std::optional<Key> known = knownKey<Key>(key);
    if constexpr (what == What::set) {
      return known && of(self).contains(*known);
    } else {
      return known ? Platform::lookUp<T>(of(self), *known) : absentValue<T>();
    }
  }
  static bool contains(const void* self, const Value& key) {
    const std::optional<Key> known = knownKey<Key>(key);
    return known && of(self).contains(*known);
  }
  static void forEach(const void* self, const MemberVisit& visit) {
    forEachStable(of(self), [&](const Key& key) {
      if constexpr (what == What::set) {
        visit(key, true);
      } else {
        visit(key, Value(of(self).at(key)));
      }
    });
  }
  static Value insert(void* self, const Arguments& arguments) {
    if constexpr (what == What::set) {
      const bool isMember = arguments.size() != 2 || convert<bool>(arguments[1], "membership");
      requireCount(arguments, arguments.size() == 2 ? 2 : 1);
      knownKey<Key>(arguments[0]);
      if (!isMember) throw SetFalseError("a member is taken out by removing it, not by setting it to false");
      of(self).insert(keyFrom(arguments[0]));
      return true;
    } else if constexpr (what == What::map) {
      requireCount(arguments, 2);
      knownKey<Key>(arguments[0]);
      auto value = convert<typename Container::mapped_type>(arguments[1], "value");
      return store(of(self), keyFrom(arguments[0]), std::move(value));
    } else if constexpr (what == What::values) {
      requireCount(arguments, 1);
      return std::invoke(kInsert..., objectOf<Object>(self), convert<T>(arguments[0], "value"));
    } else {
      const T wanted = T::element_type::model().construct(arguments).template as<T>();
      const auto [entry, isNew] = of(self).try_emplace(keyFrom(arguments[0]), wanted);
      if (!isNew) requireSameConstruction(*entry->second, *wanted);
      return entry->second;
    }
  }
  static Value erase(void* self, const Value& key) {
    const std::optional<Key> known = knownKey<Key>(key);
    if constexpr (what == What::set) {
      return known && of(self).erase(*known) != 0;
    } else {
      return known ? takeOut(of(self), *known) : absentValue<typename Container::mapped_type>();
    }
  }
  static constexpr AttributeRow row(std::string_view name) {
    AttributeRow row{.name = name, .kind = Kind::collection, .access = Access::settable};
    row.hasOwnKeys = what == What::values;
    row.lookUp = lookUp;
    row.contains = contains;
    row.count = [](const void* self) { return of(self).size(); };
    row.forEach = forEach;
    row.insert = insert;
    row.erase = erase;
    row.clear = [](void* self) { of(self).clear(); };
    return row;
  }
};

// The types that the parameters of an operation are given as, and of its result.
template <class Method>
struct Signature;
template <class Owner, class ResultType, class... Parameters>
struct Signature<ResultType (Owner::*)(Parameters...)> {
  using Result = ResultType;
  using Types = std::tuple<std::remove_cvref_t<Parameters>...>;
};
template <class Owner, class Result, class... Parameters>
struct Signature<Result (Owner::*)(Parameters...) const> : Signature<Result (Owner::*)(Parameters...)> {};

template <class ObjectType, class T, auto kMethod>
struct Attribute<What::operation, ObjectType, T, kMethod> {
  using Object = ObjectType;
  static constexpr bool kIsFixed = false;

  static Value call(void* self, const Arguments& arguments) {
    using Of = Signature<decltype(kMethod)>;
    return std::apply(
        [&](const auto&... each) -> Value {
          if constexpr (std::is_void_v<typename Of::Result>) {
            (objectOf<Object>(self).*kMethod)(each...);
            return {};
          } else {
            return (objectOf<Object>(self).*kMethod)(each...);
          }
        },
        convertAll<typename Of::Types>(arguments, numberName));
  }
  static constexpr AttributeRow row(std::string_view name) {
    return {.name = name, .kind = Kind::operation, .call = call};
  }
};

// --- A class -------------------------------------------------------------------------------------------------------

// The attribute that T, or a base of it, declares so many lines below its opening.
template <class T, class Below>
using AttributeAt = decltype(T::modelAttribute(Line<T::kModelFirstLine + Below::value>()));
// Whether there is one, of T itself and not of a base that it adds nothing to. Not a requirement within a requirement,
// at which clang 19 breaks down.
template <class T, class Below>
concept DeclaresItself = std::same_as<typename AttributeAt<T, Below>::Object, T>;
template <class T>
struct DeclaresAt {
  template <class Below>
  using fn = mp11::mp_bool<DeclaresItself<T, Below>>;
};
// Those lines, as a list of numbers.
template <class T>
using Lines = mp11::mp_copy_if_q<mp11::mp_iota_c<kMostLines>, DeclaresAt<T>>;

template <class T, class... Below>
constexpr auto ownRows(mp11::mp_list<Below...>) {
  return std::array<AttributeRow, sizeof...(Below)>{
      AttributeAt<T, Below>::row(T::modelAttributeName(Line<T::kModelFirstLine + Below::value>()))...};
}

// The rows of T: those of its base first.
template <class T>
inline constexpr auto kRows = [] {
  constexpr auto kOwn = ownRows<T>(Lines<T>());
  if constexpr (requires { typename T::ModelBase; }) {
    constexpr auto& kBase = kRows<typename T::ModelBase>;
    std::array<AttributeRow, kBase.size() + kOwn.size()> rows;
    size_t next = 0;
    for (const AttributeRow& row : kBase) rows[next++] = row;
    for (const AttributeRow& row : kOwn) rows[next++] = row;
    return rows;
  } else {
    return kOwn;
  }
}();

// The types of T's fixed attributes, which its constructor takes, as a tuple. A derived class takes what its base does.
template <class T>
struct FixedTypes {
  template <class Below>
  using IsFixed = mp11::mp_bool<AttributeAt<T, Below>::kIsFixed>;
  template <class Below>
  using TypeAt = typename AttributeAt<T, Below>::Type;
  using type = mp11::mp_rename<mp11::mp_transform<TypeAt, mp11::mp_copy_if<Lines<T>, IsFixed>>, std::tuple>;
};
template <class T>
  requires requires { typename T::ModelBase; }
struct FixedTypes<T> : FixedTypes<typename T::ModelBase> {};

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
        convertAll<typename FixedTypes<T>::type>(arguments, fixedName, &T::model()));
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
