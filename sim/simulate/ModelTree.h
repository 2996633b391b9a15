// The helper's model as a tree of names and texts, read and set through the access by name alone.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/object/ByName.h"

namespace Sim {

// An attribute, or a member of a collection, which has its key in brackets for a name.
struct ModelNode {
  std::string name;
  std::string value;
  bool isSettable = false;  // By setByPath.
  std::vector<ModelNode> members;
};

// All that `helper` holds or refers to, each entity with its attributes where it comes first. Members are in the order
// of their keys, digit runs by their number.
ModelNode modelTree(const Platform::Ptr<Platform::Entity>& helper);

// Sets what "PATH=VALUE" says. PATH is the names of a tree's nodes below its root, joined by dots, keys as they are:
// outShadowFilter.shadowFilter[port-1].multicast=1. Raises Platform::ModelError, and has then set nothing.
void setByPath(Platform::Entity& root, std::string_view setting);

}  // namespace Sim
