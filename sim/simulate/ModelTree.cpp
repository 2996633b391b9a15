#include "simulate/ModelTree.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <set>
#include <utility>

#include <fmt/format.h>

namespace Sim {
namespace {

using Platform::AttributeRow;
using Platform::ByName;
using Platform::Kind;
using Platform::Value;

// --- Reading -------------------------------------------------------------------------------------------------------

class TreeBuilder {
 public:
  // The node of a value, and of what it refers to.
  ModelNode node(std::string name, Value value, bool isSettable) {
    ModelNode made{std::move(name), value.toText(), isSettable, {}};
    if (const auto entity = value.entity()) {
      if (shown_.insert(made.value).second) addAttributes(byName(*entity), made);
    } else if (const auto attributes = value.attributes()) {
      addReferred(*attributes, made);
    }
    return made;
  }

 private:
  void addAttributes(const ByName& object, ModelNode& to) {
    for (const AttributeRow& row : object.type().attributes) {
      if (row.kind == Kind::scalar) {
        to.members.push_back(node(std::string(row.name), object.read(row.name), row.set != nullptr));
      } else if (row.kind == Kind::collection) {
        to.members.push_back(collection(object, row));
      }
    }
  }

  // The text of a value says all but what its references stand for.
  void addReferred(const ByName& value, ModelNode& to) {
    for (const AttributeRow& row : value.type().attributes) {
      if (row.kind != Kind::scalar) continue;
      try {
        Value part = value.read(row.name);
        if (part.entity()) to.members.push_back(node(std::string(row.name), std::move(part), row.set != nullptr));
      } catch (const Platform::BadUnionAccessError&) {
        continue;  // The alternative that is not held.
      }
    }
  }

  ModelNode collection(const ByName& object, const AttributeRow& row) {
    const size_t count = object.count(row.name);
    ModelNode made{std::string(row.name), fmt::format("{} member{}", count, count == 1 ? "" : "s"), false, {}};
    object.forEach(row.name, [&](const Value& key, const Value& member) {
      made.members.push_back(node(fmt::format("[{}]", key), member, false));
    });
    std::sort(made.members.begin(), made.members.end(), [](const ModelNode& left, const ModelNode& right) {
      return strverscmp(left.name.c_str(), right.name.c_str()) < 0;
    });
    return made;
  }

  std::set<std::string> shown_;  // Entities, by their references.
};

// --- Setting -------------------------------------------------------------------------------------------------------

struct PathStep {
  std::string_view attribute;
  std::optional<std::string_view> key;
};

// Reads the steps of a path up to the "=" behind it.
std::vector<PathStep> pathSteps(Platform::TextCursor& cursor) {
  std::vector<PathStep> steps;
  do {
    PathStep step{cursor.takeUntil(".[="), {}};
    if (cursor.skip("[")) {
      // A key may have brackets of its own: it ends where the path goes on.
      const std::string_view rest = cursor.rest();
      const size_t end = std::min(rest.find("]."), rest.find("]="));
      if (end == rest.npos) throw Platform::RangeError("a key ends with ], and more follows");
      step.key = rest.substr(0, end);
      cursor.require(rest.substr(0, end + 1));
    }
    steps.push_back(step);
  } while (cursor.skip("."));
  cursor.require("=");
  return steps;
}

// Sets what the steps from `step` on lead to. A value on the way is a copy, which is put back in its place.
void setBelow(const ByName& object, const std::vector<PathStep>& steps, size_t step, std::string_view text) {
  const auto& [attribute, key] = steps[step];
  const Value keyValue = key ? Value(*key) : Value();
  if (step + 1 == steps.size()) {
    if (key) {
      object.insert(attribute, {keyValue, text});
    } else {
      object.set(attribute, text);
    }
    return;
  }
  const std::string where = fmt::format("{}.{}{}", object.type().name, attribute, key ? fmt::format("[{}]", *key) : "");
  if (key && !object.contains(attribute, keyValue)) throw Platform::RangeError(where + ": there is no such member");
  Value next = key ? object.lookUp(attribute, keyValue) : object.read(attribute);
  if (const auto entity = next.entity()) {
    setBelow(byName(*entity), steps, step + 1, text);
  } else if (const auto attributes = next.attributes()) {
    setBelow(*attributes, steps, step + 1, text);
    if (key) {
      object.insert(attribute, {next});
    } else {
      object.set(attribute, next);
    }
  } else {
    throw Platform::RangeError(fmt::format("{}: {} has no attributes", where, next));
  }
}

}  // namespace

ModelNode modelTree(const Platform::Ptr<Platform::Entity>& helper) {
  return TreeBuilder().node("helper", helper, false);
}

void setByPath(Platform::Entity& root, std::string_view setting) {
  Platform::TextCursor cursor(setting);
  const std::vector<PathStep> steps = pathSteps(cursor);
  setBelow(byName(root), steps, 0, cursor.rest());
}

}  // namespace Sim
