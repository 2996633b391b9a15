// The exceptions that may leave the library. Failures of ACLs are not among them: those are AclCreateError values.
// Besides these, there is std::bad_alloc alone. An operation that it leaves may have done a part of its work; called
// again, it does the rest, nothing twice, and also reports what failed in that part.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "platform/runtime/Export.h"

namespace Platform {

// Base of all misuse of the model by its caller. Whatever raises one has changed nothing.
class KESTRIX_API ModelError : public std::exception {
 public:
  // What went wrong, in one sentence without a full stop.
  explicit ModelError(std::string message) : message_(std::move(message)) {}

  // The message, as long as the error is not changed.
  const char* what() const noexcept override { return message_.c_str(); }
  // Puts `where` in front of the message: "where: message". For whoever passes the error on.
  void in(std::string_view where) { message_.insert(0, ": ").insert(0, where); }

 private:
  std::string message_;
};

// A text that does not parse, or a value outside the range of its attribute.
struct KESTRIX_API RangeError : ModelError {
  using ModelError::ModelError;
};

// An entity exists under the key, with other construction arguments.
struct KESTRIX_API ReinstantiationError : ModelError {
  using ModelError::ModelError;
};

// The alternative read is not the one that the union holds.
struct KESTRIX_API BadUnionAccessError : ModelError {
  using ModelError::ModelError;
};

// --- Of the access by name: each names the class and the attribute ---

// No attribute of that name.
struct KESTRIX_API UnknownAttributeError : ModelError {
  using ModelError::ModelError;
};

// The attribute is of a kind that has no such access: a scalar has no members, a collection no single value.
struct KESTRIX_API AttributeKindError : ModelError {
  using ModelError::ModelError;
};

// The attribute is given at construction.
struct KESTRIX_API FixedAttributeError : ModelError {
  using ModelError::ModelError;
};

// The attribute is changed by the object itself, or computed.
struct KESTRIX_API ReadOnlyAttributeError : ModelError {
  using ModelError::ModelError;
};

// False was given for a membership: members are taken out of a set by removing them.
struct KESTRIX_API SetFalseError : ModelError {
  using ModelError::ModelError;
};

// A value given has another type, and is no text either; or the number of arguments is another.
struct KESTRIX_API WrongTypeError : ModelError {
  using ModelError::ModelError;
};

// ---

// The framework broke the order of calls, or an invariant of the shadow is broken. Nothing after the check has
// happened.
struct KESTRIX_API ConsistencyError : std::logic_error {
  using std::logic_error::logic_error;
};

}  // namespace Platform
