// The exceptions that may leave the library. Failures of ACLs are not among them: those are AclCreateError values.
#pragma once

#include <stdexcept>
#include <string>

#include "platform/Export.h"

namespace Platform {

// Base of all misuse of the model by its caller. Whatever raises one has changed nothing.
struct KESTRIX_API ModelError : std::runtime_error {
  using std::runtime_error::runtime_error;
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

// No attribute of that name.
struct KESTRIX_API UnknownAttributeError : ModelError {
  using ModelError::ModelError;
};

// The attribute is fixed at construction, read-only, or of another kind than the access needs.
struct KESTRIX_API AttributeAccessError : ModelError {
  using ModelError::ModelError;
};

// The value given for an attribute has another type, and is no text either.
struct KESTRIX_API WrongTypeError : ModelError {
  using ModelError::ModelError;
};

// The framework broke the order of calls, or an invariant of the shadow is broken. Nothing after the check has
// happened.
struct KESTRIX_API ConsistencyError : std::logic_error {
  using std::logic_error::logic_error;
};

}  // namespace Platform
