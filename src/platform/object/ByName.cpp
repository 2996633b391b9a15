#include "platform/object/ByName.h"

#include <map>
#include <unordered_map>

#include "platform/object/Erased.h"

namespace Platform {
namespace {

// Neither is ever freed: entities and model types may outlive any static object.
std::unordered_map<uint64_t, const Entity*>& referred() {
  static auto& entities = *new std::unordered_map<uint64_t, const Entity*>;
  return entities;
}
std::map<std::string_view, const ModelType*>& registered() {
  static auto& types = *new std::map<std::string_view, const ModelType*>;
  return types;
}

// The text of an entity's key in parentheses; nothing when it has none.
std::string keyText(const Entity& entity) {
  const auto attributes = entity.modelType().attributes;
  if (attributes.empty() || attributes.front().access != Access::fixed) return {};
  const Value key = byName(entity).read(attributes.front().name);
  return key.isReference() ? std::string() : fmt::format("({})", key);
}

}  // namespace

// --- References ----------------------------------------------------------------------------------------------------

Entity::~Entity() {
  if (referenceNumber_ != 0) referred().erase(referenceNumber_);
}

std::string Entity::reference() const {
  static uint64_t last = 0;
  if (referenceNumber_ == 0) {
    referenceNumber_ = ++last;
    referred().emplace(referenceNumber_, this);
  }
  return fmt::format("{}#{}{}", modelType().name, referenceNumber_, keyText(*this));
}

Ptr<Entity> Entity::fromReference(TextCursor& cursor) {
  const std::string_view name = cursor.takeUntil("#,)");
  if (!cursor.skip("#")) throw RangeError(fmt::format("{} is not a reference to an object", quoted(name)));
  const auto number = fromText<uint64_t>(cursor.takeUntil("(,)"));
  const auto found = referred().find(number);
  // Without references it is being constructed or destroyed: one more would destroy it again.
  if (found == referred().end() || found->second->use_count() == 0 || found->second->modelType().name != name) {
    throw RangeError(fmt::format("there is no object {}", quoted(fmt::format("{}#{}", name, number))));
  }
  if (cursor.rest().starts_with('(')) cursor.require(keyText(*found->second));
  return Ptr<Entity>(const_cast<Entity*>(found->second));
}

// --- Values --------------------------------------------------------------------------------------------------------

std::string Value::toText() const {
  if (const auto* text = std::any_cast<std::string>(&held_)) return *text;
  if (const auto* integer = std::any_cast<Integer>(&held_)) {
    return integer->isNegative ? fmt::format("-{}", ~integer->number + 1) : fmt::format("{}", integer->number);
  }
  if (const auto* reference = std::any_cast<Reference>(&held_)) {
    return reference->entity ? valueText(reference->entity) : valueText(reference->node);
  }
  return hasValue() ? type_->text(held_) : std::string(kAbsentText);
}

bool Value::isReference() const { return std::any_cast<Reference>(&held_) != nullptr; }

Ptr<Entity> Value::entity() const {
  const auto* reference = std::any_cast<Reference>(&held_);
  return reference == nullptr || !reference->isMutable ? nullptr
                                                       : Ptr<Entity>(const_cast<Entity*>(reference->entity.get()));
}

std::optional<ByName> Value::attributes() & {
  if (!hasValue() || type_ == nullptr || type_->modelType == nullptr) return {};
  return ByName(*type_->modelType, type_->self(held_));
}

WrongTypeError Value::wrongType() const {
  return WrongTypeError(hasValue() ? fmt::format("{} has another type", quoted(toText())) : "a value is needed");
}

// --- Descriptions --------------------------------------------------------------------------------------------------

void Detail::requireCount(const Arguments& arguments, size_t count) {
  if (arguments.size() == count) return;
  throw WrongTypeError(fmt::format("number of arguments: {}, not {}", count, arguments.size()));
}

Detail::Registration::Registration(const ModelType& type) : type_(type) { registered().emplace(type.name, &type); }

Detail::Registration::~Registration() {
  const auto found = registered().find(type_.name);
  if (found != registered().end() && found->second == &type_) registered().erase(found);
}

bool Detail::isA(const Entity* entity, std::string_view modelName) {
  return entity != nullptr && entity->modelType().isA(modelName);
}

const ModelType* ModelType::find(std::string_view name) {
  const auto found = registered().find(name);
  return found == registered().end() ? nullptr : found->second;
}

std::vector<const ModelType*> ModelType::all() {
  std::vector<const ModelType*> types;
  for (const auto& [name, type] : registered()) types.push_back(type);
  return types;
}

Value ModelType::make(const Arguments& arguments) const try {
  return construct(arguments);
} catch (const ModelError& error) {
  error.raiseIn(name);
}

bool ModelType::isA(std::string_view other) const { return name == other || (base != nullptr && base->isA(other)); }

const AttributeRow& ModelType::attribute(std::string_view attribute) const {
  for (const auto& row : attributes) {
    if (row.name == attribute) return row;
  }
  throw UnknownAttributeError(fmt::format("{} has no attribute {}", name, quoted(attribute)));
}

// --- Access --------------------------------------------------------------------------------------------------------

namespace {

std::string qualified(const ModelType& type, std::string_view attribute) {
  return fmt::format("{}.{}", type.name, attribute);
}

// Does what `operation`, a member of AttributeRow, is for; the errors say where it was. `what` is what an attribute
// cannot do when it has no such operation.
template <class Result, class... Parameters, class... Args>
Result perform(const ModelType& type, std::string_view attribute, Result (*AttributeRow::*operation)(Parameters...),
               std::string_view what, Args&&... args) {
  const AttributeRow& row = type.attribute(attribute);
  if (row.*operation == nullptr) {
    throw AttributeKindError(fmt::format("{}, {} {}, {}", qualified(type, attribute),
                                         row.kind == Kind::operation ? "an" : "a", row.kind, what));
  }
  try {
    return (row.*operation)(std::forward<Args>(args)...);
  } catch (const ModelError& error) {
    error.raiseIn(qualified(type, attribute));
  }
}

}  // namespace

// An entity without references is being made or destroyed: a reference to it would destroy it again.
ByName byName(Entity& entity) {
  return {entity.modelType(), entity.modelSelf(), Ptr<const Entity>(entity.use_count() == 0 ? nullptr : &entity)};
}
ConstByName byName(const Entity& entity) {
  return {entity.modelType(), entity.modelSelf(), Ptr<const Entity>(entity.use_count() == 0 ? nullptr : &entity)};
}

Value ConstByName::read(std::string_view attribute) const {
  return perform(*type_, attribute, &AttributeRow::read, "has no single value", self_);
}

Value ConstByName::lookUp(std::string_view collection, const Value& key) const {
  return perform(*type_, collection, &AttributeRow::lookUp, "has no members", self_, key);
}

bool ConstByName::contains(std::string_view collection, const Value& key) const {
  return perform(*type_, collection, &AttributeRow::contains, "has no members", self_, key);
}

size_t ConstByName::count(std::string_view collection) const {
  return perform(*type_, collection, &AttributeRow::count, "has no members", self_);
}

void ConstByName::forEach(std::string_view collection, const MemberVisit& visit) const {
  const AttributeRow& row = type_->attribute(collection);
  // Not through `perform`: the errors of `visit` are its own.
  if (row.forEach != nullptr && visit) {
    const ConstByName keep(*this);  // `visit` may drop this access.
    return row.forEach(self_, visit);
  }
  if (row.forEach != nullptr)
    throw WrongTypeError(qualified(*type_, collection) + ": nothing to visit the members with");
  perform(*type_, collection, &AttributeRow::forEach, "has no members", self_, visit);
}

void ByName::set(std::string_view attribute, const Value& value) const {
  const AttributeRow& row = type().attribute(attribute);
  if (row.kind == Kind::scalar && row.access == Access::fixed) {
    throw FixedAttributeError(fmt::format("{} is fixed at construction", qualified(type(), attribute)));
  }
  if (row.kind == Kind::scalar && row.access == Access::readOnly) {
    throw ReadOnlyAttributeError(fmt::format("{} is read-only", qualified(type(), attribute)));
  }
  perform(type(), attribute, &AttributeRow::set, "is not set as a whole", self_, value);
}

Value ByName::insert(std::string_view collection, const Arguments& arguments) const {
  return perform(type(), collection, &AttributeRow::insert, "has no members", self_, arguments);
}

Value ByName::erase(std::string_view collection, const Value& key) const {
  return perform(type(), collection, &AttributeRow::erase, "has no members", self_, key);
}

void ByName::clear(std::string_view collection) const {
  perform(type(), collection, &AttributeRow::clear, "has no members", self_);
}

Value ByName::call(std::string_view operation, const Arguments& arguments) const {
  return perform(type(), operation, &AttributeRow::call, "is not called", self_, arguments);
}

}  // namespace Platform
