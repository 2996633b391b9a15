#include "platform/object/Entity.h"

#include <unordered_map>

#include "platform/object/ByName.h"
#include "platform/runtime/Errors.h"

namespace Platform {
namespace {

// Never freed: entities may outlive any static object.
std::unordered_map<uint64_t, const Entity*>& referred() {
  static auto& entities = *new std::unordered_map<uint64_t, const Entity*>;
  return entities;
}

constexpr std::string_view kConst = "const ";

// The text of an entity's key in parentheses; nothing when it has none.
std::string keyText(const Entity& entity) {
  const auto attributes = entity.modelType().attributes;
  if (attributes.empty() || attributes.front().access != Access::fixed) return {};
  const Value key = byName(entity).read(attributes.front().name);
  return key.isReference() ? std::string() : fmt::format("({})", key);
}

}  // namespace

Entity::~Entity() {
  if (referenceNumber_ != 0) referred().erase(referenceNumber_);
}

bool Entity::isA(std::string_view name) const { return modelType().isA(name); }

std::string Entity::reference() const { return std::string(kConst) + const_cast<Entity*>(this)->reference(); }

std::string Entity::reference() {
  static uint64_t last = 0;
  if (referenceNumber_ == 0) {
    referenceNumber_ = ++last;
    referred().emplace(referenceNumber_, this);
  }
  return fmt::format("{}#{}{}", modelType().name, referenceNumber_, keyText(*this));
}

Ptr<const Entity> Entity::fromConstReference(TextCursor& cursor, std::string_view modelName) {
  cursor.skip(kConst);
  return fromReference(cursor, modelName);
}

Ptr<Entity> Entity::fromReference(TextCursor& cursor, std::string_view modelName) {
  if (cursor.skip("null")) return nullptr;
  const std::string_view name = cursor.takeUntil("#,)");
  if (name.starts_with(kConst)) throw RangeError(fmt::format("{} refers to a const object", quoted(name)));
  if (!cursor.skip("#")) throw RangeError(fmt::format("{} is not a reference to an object", quoted(name)));
  const auto number = fromText<uint64_t>(cursor.takeUntil("(,)"));
  const auto found = referred().find(number);
  // Without references it is being constructed or destroyed: one more would destroy it again.
  if (found == referred().end() || found->second->use_count() == 0 || found->second->modelType().name != name) {
    throw RangeError(fmt::format("there is no object {}", quoted(fmt::format("{}#{}", name, number))));
  }
  if (cursor.rest().starts_with('(')) cursor.require(keyText(*found->second));
  Ptr<Entity> entity(const_cast<Entity*>(found->second));
  if (!entity->isA(modelName)) {
    throw RangeError(fmt::format("cannot convert {} to {}", entity->reference(), modelName));
  }
  return entity;
}

std::string referenceText(const Node* node, bool isConst) {
  const auto* const entity = dynamic_cast<const Entity*>(node);
  if (entity != nullptr) return isConst ? entity->reference() : const_cast<Entity*>(entity)->reference();
  return node != nullptr ? "present" : "null";
}

}  // namespace Platform
