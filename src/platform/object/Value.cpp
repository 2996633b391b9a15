#include "platform/object/Value.h"

#include "platform/object/ByName.h"

namespace Platform {

Ptr<Entity> Value::entity() const {
  const auto* const reference = std::any_cast<Reference>(&held_);
  if (reference == nullptr || !reference->isMutable) return nullptr;
  return Ptr<Entity>(const_cast<Entity*>(dynamic_cast<const Entity*>(reference->node.get())));
}

std::optional<ByName> Value::attributes() & {
  if (!hasValue() || type_->model == nullptr) return {};
  return ByName(type_->model(), type_->self(held_));
}

void Value::raiseWrongType(std::string_view wanted) const {
  if (!hasValue()) throw WrongTypeError(fmt::format("a value is needed, of type {}", wanted));
  throw WrongTypeError(fmt::format("{} has another type than {}", quoted(toText()), wanted));
}

std::optional<std::string> Value::heldNumber() const {
  const bool isNumber = std::any_cast<uint64_t>(&held_) != nullptr || std::any_cast<int64_t>(&held_) != nullptr;
  return isNumber ? std::optional(toText()) : std::nullopt;
}

const Node* Value::referredNode(bool isMutable, std::string_view wanted) const {
  const auto* const reference = std::any_cast<Reference>(&held_);
  if (reference == nullptr) raiseWrongType(wanted);
  if (isMutable && !reference->isMutable && reference->node != nullptr) {
    throw WrongTypeError(fmt::format("{} refers to a const object", quoted(toText())));
  }
  return reference->node.get();
}

const Entity* Value::referredEntity(bool isMutable, std::string_view wanted) const {
  const Node* const node = referredNode(isMutable, wanted);
  const auto* const entity = dynamic_cast<const Entity*>(node);
  if (node != nullptr && (entity == nullptr || !entity->isA(wanted))) raiseWrongType(wanted);
  return entity;
}

}  // namespace Platform
