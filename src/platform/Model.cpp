#include "platform/Model.h"

namespace Platform {

const AttributeRow& ModelType::row(std::string_view attribute) const {
  for (const auto& candidate : attributes) {
    if (candidate.name == attribute) return candidate;
  }
  throw UnknownAttributeError(fmt::format("{} has no attribute {}", name, attribute));
}

Value ModelType::read(const void* self, std::string_view attribute) const {
  const AttributeRow& found = row(attribute);
  if (found.read == nullptr) {
    throw AttributeAccessError(fmt::format("{}.{} is a collection and has no single value", name, attribute));
  }
  return found.read(self);
}

void ModelType::set(void* self, std::string_view attribute, const Value& value) const {
  const AttributeRow& found = row(attribute);
  if (found.kind == Kind::collection) {
    throw AttributeAccessError(fmt::format("{}.{} is a collection: its members are set one by one", name, attribute));
  }
  if (found.set == nullptr) {
    throw AttributeAccessError(fmt::format("{}.{} is {}", name, attribute, found.access));
  }
  try {
    found.set(self, value);
  } catch (const WrongTypeError& error) {
    throw WrongTypeError(fmt::format("{}.{}: {}", name, attribute, error.what()));
  } catch (const RangeError& error) {
    throw RangeError(fmt::format("{}.{}: {}", name, attribute, error.what()));
  }
}

}  // namespace Platform
