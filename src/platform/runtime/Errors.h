// The exceptions that may leave the library. Failures of ACLs are not among them: those are AclCreateError values.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/runtime/Export.h"

namespace Platform {

// Base of all misuse of the model by its caller. Whatever raises one has changed nothing.
struct KESTRIX_API ModelError : std::runtime_error {
  using std::runtime_error::runtime_error;

  // Raises this error again, of the same class, with `where` in front of its message: "where: message".
  [[noreturn]] void raiseIn(std::string_view where) const { std::rethrow_exception(within(where)); }

 private:
  virtual std::exception_ptr within(std::string_view where) const = 0;
};

// What the errors below are derived from; each names itself as `Self`.
template <class Self>
struct KESTRIX_API ModelErrorOf : ModelError {
  using ModelError::ModelError;

 private:
  std::exception_ptr within(std::string_view where) const final {
    return std::make_exception_ptr(Self(std::string(where).append(": ").append(what())));
  }
};

// A text that does not parse, or a value outside the range of its attribute.
struct KESTRIX_API RangeError : ModelErrorOf<RangeError> {
  using ModelErrorOf::ModelErrorOf;
};

// An entity exists under the key, with other construction arguments.
struct KESTRIX_API ReinstantiationError : ModelErrorOf<ReinstantiationError> {
  using ModelErrorOf::ModelErrorOf;
};

// The alternative read is not the one that the union holds.
struct KESTRIX_API BadUnionAccessError : ModelErrorOf<BadUnionAccessError> {
  using ModelErrorOf::ModelErrorOf;
};

// --- Of the access by name: each names the class and the attribute ---

// No attribute of that name.
struct KESTRIX_API UnknownAttributeError : ModelErrorOf<UnknownAttributeError> {
  using ModelErrorOf::ModelErrorOf;
};

// The attribute is of a kind that has no such access: a scalar has no members, a collection no single value.
struct KESTRIX_API AttributeKindError : ModelErrorOf<AttributeKindError> {
  using ModelErrorOf::ModelErrorOf;
};

// The attribute is given at construction.
struct KESTRIX_API FixedAttributeError : ModelErrorOf<FixedAttributeError> {
  using ModelErrorOf::ModelErrorOf;
};

// The attribute is changed by the object itself, or computed.
struct KESTRIX_API ReadOnlyAttributeError : ModelErrorOf<ReadOnlyAttributeError> {
  using ModelErrorOf::ModelErrorOf;
};

// False was given for a membership: members are taken out of a set by removing them.
struct KESTRIX_API SetFalseError : ModelErrorOf<SetFalseError> {
  using ModelErrorOf::ModelErrorOf;
};

// A value given has another type, and is no text either; or the number of arguments is another.
struct KESTRIX_API WrongTypeError : ModelErrorOf<WrongTypeError> {
  using ModelErrorOf::ModelErrorOf;
};

// ---

// The framework broke the order of calls, or an invariant of the shadow is broken. Nothing after the check has
// happened.
struct KESTRIX_API ConsistencyError : std::logic_error {
  using std::logic_error::logic_error;
};

}  // namespace Platform
