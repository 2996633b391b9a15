// Makes the rows of ByName.h from the descriptions of Attributes.h. Nothing outside Model.h needs it.
#pragma once

#include <array>
#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

#include "platform/object/Attributes.h"
#include "platform/object/ByName.h"
#include "platform/object/Collections.h"

namespace Platform::Detail {

// The argument at `index` as a T; `name` says which it is when it is none.
template <class T>
T argument(const Arguments& arguments, size_t index, std::string_view name) try {
  return arguments.at(index).as<T>();
} catch (const ModelError& error) {
  error.raiseIn(name);
}

KESTRIX_API void requireCount(const Arguments& arguments, size_t count);

// The arguments as the tuple `Types`, by their numbers.
template <class Types>
Types argumentTuple(const Arguments& arguments) {
  requireCount(arguments, std::tuple_size_v<Types>);
  return [&]<size_t... I>(std::index_sequence<I...>) {
    return Types{argument<std::tuple_element_t<I, Types>>(arguments, I, fmt::format("argument {}", I + 1))...};
  }(std::make_index_sequence<std::tuple_size_v<Types>>());
}

// The arguments of E's constructor, by their attributes' names.
template <class E>
auto constructorArguments(const Arguments& arguments) {
  return withFixedAttributes<E>([&]<class... Attributes>(const Attributes&... attribute) {
    requireCount(arguments, sizeof...(attribute));
    return [&]<size_t... I>(std::index_sequence<I...>) {
      return std::tuple<typename Attributes::Type...>{
          argument<typename Attributes::Type>(arguments, I, attribute.name)...};
    }(std::index_sequence_for<Attributes...>());
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

// What `method` of `self` returns for the arguments, each converted to the type of its parameter.
template <class Types, class Self, class Method>
Value callWith(Self& self, Method method, const Arguments& arguments) {
  return std::apply(
      [&](const auto&... args) -> Value {
        if constexpr (std::is_void_v<decltype((self.*method)(args...))>) {
          (self.*method)(args...);
          return {};
        } else {
          return (self.*method)(args...);
        }
      },
      argumentTuple<Types>(arguments));
}
template <class Self, class Owner, class Result, class... Parameters>
Value call(Self& self, Result (Owner::*method)(Parameters...), const Arguments& arguments) {
  return callWith<std::tuple<std::remove_cvref_t<Parameters>...>>(self, method, arguments);
}
template <class Self, class Owner, class Result, class... Parameters>
Value call(Self& self, Result (Owner::*method)(Parameters...) const, const Arguments& arguments) {
  return callWith<std::tuple<std::remove_cvref_t<Parameters>...>>(self, method, arguments);
}

// Attribute I of T, as functions over the erased object.
template <class T, size_t I>
struct Erased {
  using Description = AttributeOf<T, I>;
  static constexpr const Description& kAttribute = std::get<I>(attributesOf<T>);

  static const T& constSelf(const void* self) { return *static_cast<const T*>(self); }
  static T& mutableSelf(void* self) { return *static_cast<T*>(self); }

  static Value read(const void* self) { return typename Description::Type(kAttribute.get(constSelf(self))); }
  static void set(void* self, const Value& value) {
    kAttribute.set(mutableSelf(self), value.as<typename Description::Type>());
  }
  static Value insertChild(void* self, const Arguments& arguments) {
    requireCount(arguments, 0);
    return kAttribute.insert(mutableSelf(self));
  }
  static Value eraseChild(void* self, const Value& key) {
    if (key.hasValue()) throw WrongTypeError("a single owned entity has no key");
    return kAttribute.erase(mutableSelf(self));
  }

  static Value lookUp(const void* self, const Value& key) {
    return kAttribute.functions.lookUp(constSelf(self), typedKey(key));
  }
  static bool contains(const void* self, const Value& key) {
    return kAttribute.get(constSelf(self)).contains(typedKey(key));
  }
  static size_t count(const void* self) { return kAttribute.get(constSelf(self)).size(); }
  static void forEach(const void* self, const MemberVisit& visit) {
    const auto& container = kAttribute.get(constSelf(self));
    forEachStable(container, [&](const auto& key) {
      if constexpr (kAttribute.kMembers == Members::keys) {
        visit(key, true);
      } else {
        visit(key, Value(container.at(key)));
      }
    });
  }
  static Value insert(void* self, const Arguments& arguments) {
    T& object = mutableSelf(self);
    if constexpr (kAttribute.kMembers == Members::keys) {
      const bool isMember = arguments.size() != 2 || argument<bool>(arguments, 1, "membership");
      requireCount(arguments, arguments.size() == 2 ? 2 : 1);
      const auto key = typedKey(arguments[0]);
      if (!isMember) throw SetFalseError("a member is taken out by removing it, not by setting it to false");
      kAttribute.functions.insert(object, key);
      return true;
    } else if constexpr (kAttribute.kMembers == Members::mapped) {
      requireCount(arguments, 2);
      using Mapped = typename Description::Container::mapped_type;
      return Value(
          kAttribute.functions.insert(object, typedKey(arguments[0]), argument<Mapped>(arguments, 1, "value")));
    } else if constexpr (kAttribute.kMembers == Members::values) {
      requireCount(arguments, 1);
      using Mapped = typename Description::Container::mapped_type;
      return Value(kAttribute.functions.insert(object, argument<Mapped>(arguments, 0, "value")));
    } else {
      using E = typename Description::Container::mapped_type::element_type;
      return std::apply([&](const auto&... args) -> Value { return kAttribute.functions.insert(object, args...); },
                        constructorArguments<E>(arguments));
    }
  }
  static Value erase(void* self, const Value& key) {
    return kAttribute.functions.erase(mutableSelf(self), typedKey(key));
  }
  static void clear(void* self) { kAttribute.functions.clear(mutableSelf(self)); }

  static Value call(void* self, const Arguments& arguments) {
    return Detail::call(mutableSelf(self), kAttribute.method, arguments);
  }

  static constexpr AttributeRow row() {
    AttributeRow row{.name = kAttribute.name, .kind = kAttribute.kKind, .access = kAttribute.kAccess};
    if constexpr (kAttribute.kKind == Kind::scalar) {
      row.read = read;
      if constexpr (kAttribute.kAccess == Access::settable) row.set = set;
      if constexpr (requires { kAttribute.insert; }) {
        row.insert = insertChild;
        row.erase = eraseChild;
      }
    } else if constexpr (kAttribute.kKind == Kind::collection) {
      row.lookUp = lookUp;
      row.contains = contains;
      row.count = count;
      row.forEach = forEach;
      row.insert = insert;
      row.erase = erase;
      row.clear = clear;
    } else {
      row.call = call;
    }
    return row;
  }

 private:
  static auto typedKey(const Value& value) try {
    return value.as<typename Description::Container::key_type>();
  } catch (const ModelError& error) {
    error.raiseIn("key");
  }
};

template <class T>
constexpr auto erasedRows() {
  return [&]<size_t... I>(std::index_sequence<I...>) {
    return std::array<AttributeRow, sizeof...(I)>{Erased<T, I>::row()...};
  }(std::make_index_sequence<attributeCount<T>>());
}
template <class T>
inline constexpr auto kErasedRows = erasedRows<T>();

template <class T>
constexpr const ModelType* baseTypeOf() {
  if constexpr (requires { typename T::ModelBase; }) {
    return &modelTypeOf<typename T::ModelBase>();
  } else {
    return nullptr;
  }
}
template <class T>
inline constexpr ModelType kModelType{T::modelName(), baseTypeOf<T>(), kErasedRows<T>, construct<T>};

// Makes a type known to ModelType::find as long as it lives.
class KESTRIX_API Registration {
 public:
  explicit Registration(const ModelType& type);
  ~Registration();
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;

 private:
  const ModelType& type_;
};

}  // namespace Platform::Detail

namespace Platform {

template <class T>
constexpr const ModelType& modelTypeOf() {
  return Detail::kModelType<T>;
}

}  // namespace Platform
