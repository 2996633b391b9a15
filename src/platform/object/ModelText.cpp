// The text forms of model values, from the rows of their attributes.

#include <utility>
#include <vector>

#include "platform/object/Describe.h"

namespace Platform {
namespace {

std::string collectionText(const AttributeRow& row, const void* self) {
  std::string text;
  row.forEach(self, [&](const Value& key, const Value& member) {
    if (!text.empty()) text += ", ";
    text += row.hasOwnKeys ? member.toText() : fmt::format("{}: {}", key, member);
  });
  return "{" + text + "}";
}

// The attribute that comes next; no value of an optional one that does not.
Value readNext(TextCursor& cursor, const AttributeRow& row) {
  const std::string opening = fmt::format(", {}=", row.name);
  if (!row.isOptional) {
    cursor.require(opening);
  } else if (!cursor.skip(opening)) {
    return {};
  }
  return row.fromText(cursor, row.name);
}

}  // namespace

std::string valueOpening(std::string_view modelName) { return fmt::format("Value('{}'", modelName); }

std::string Detail::modelText(const ModelType& type, const void* self) {
  std::string text = valueOpening(type.name);
  for (const AttributeRow& row : type.attributes) {
    if (!row.isStored()) continue;
    if (row.kind == Kind::collection) {
      text += fmt::format(", {}={}", row.name, collectionText(row, self));
    } else if (const Value value = row.read(self); value.hasValue()) {
      text += fmt::format(", {}={}", row.name, value);
    }
  }
  return text + ")";
}

Value Detail::readModel(const ModelType& type, TextCursor& cursor) {
  cursor.require(valueOpening(type.name));
  Arguments fixed;
  std::vector<std::pair<const AttributeRow*, Value>> settable;
  for (const AttributeRow& row : type.attributes) {
    if (!row.isStored()) continue;
    Value value = readNext(cursor, row);
    if (row.access == Access::fixed) {
      fixed.push_back(std::move(value));
    } else {
      settable.emplace_back(&row, std::move(value));
    }
  }
  cursor.require(")");
  Value made = type.construct(fixed);
  const ByName object = made.attributes().value();
  for (const auto& [row, value] : settable) object.set(row->name, value);
  return made;
}

}  // namespace Platform
