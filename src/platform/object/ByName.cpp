#include "platform/object/ByName.h"

#include <map>

#include "platform/object/Describe.h"

namespace Platform {
namespace {

// Never freed: model types may outlive any static object.
std::map<std::string_view, const ModelType*>& registered() {
  static auto& types = *new std::map<std::string_view, const ModelType*>;
  return types;
}

}  // namespace

// --- Descriptions --------------------------------------------------------------------------------------------------

void Detail::requireCount(const Arguments& arguments, size_t count) {
  if (arguments.size() == count) return;
  throw WrongTypeError(fmt::format("number of arguments: {}, not {}", count, arguments.size()));
}

std::string Detail::argumentName(size_t position) { return fmt::format("argument {}", position + 1); }

void requireSameConstruction(const Entity& existing, const Entity& wanted) {
  const ModelType& type = existing.modelType();
  for (const AttributeRow& row : type.attributes) {
    if (row.access != Access::fixed || row.read(&existing).toText() == row.read(&wanted).toText()) continue;
    throw ReinstantiationError(fmt::format("{} exists with another value of its attribute {}", type.name, row.name));
  }
}

Detail::Registration::Registration(const ModelType& type) : type_(type) { registered().emplace(type.name, &type); }

Detail::Registration::~Registration() {
  const auto found = registered().find(type_.name);
  if (found != registered().end() && found->second == &type_) registered().erase(found);
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

bool ModelType::isA(std::string_view other) const { return name == other || (base != nullptr && base().isA(other)); }

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
  return {entity.modelType(), &entity, Ptr<const Entity>(entity.use_count() == 0 ? nullptr : &entity)};
}
ConstByName byName(const Entity& entity) {
  return {entity.modelType(), &entity, Ptr<const Entity>(entity.use_count() == 0 ? nullptr : &entity)};
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
