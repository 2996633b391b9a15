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

void Value::raiseWrongType() const {
  throw WrongTypeError(hasValue() ? fmt::format("{} has another type", quoted(toText())) : "a value is needed");
}

std::optional<std::string> Value::heldNumber() const {
  const bool isNumber = std::any_cast<uint64_t>(&held_) != nullptr || std::any_cast<int64_t>(&held_) != nullptr;
  return isNumber ? std::optional(toText()) : std::nullopt;
}

const Node* Value::referred(bool isMutable) const {
  const auto* const reference = std::any_cast<Reference>(&held_);
  if (reference == nullptr || (isMutable && !reference->isMutable)) raiseWrongType();
  return reference->node.get();
}

const Entity* Value::referred(bool isMutable, std::string_view modelName) const {
  const Node* const node = referred(isMutable);
  const auto* const entity = dynamic_cast<const Entity*>(node);
  if (node != nullptr && (entity == nullptr || !entity->isA(modelName))) raiseWrongType();
  return entity;
}

}  // namespace Platform
