// The nodes of the model.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "platform/runtime/Export.h"
#include "platform/runtime/Ptr.h"
#include "platform/runtime/Text.h"

namespace Platform {

struct ModelType;
class Value;
// Of an insertion, a call or a construction, in order.
using Arguments = std::vector<Value>;

// A model type that is a node. Held through a Ptr; printed, where it is a value, as a reference.
class KESTRIX_API Entity : public Node {
 public:
  ~Entity() override;

  // The description of the object's class.
  virtual const ModelType& modelType() const = 0;
  // Whether the object is of the model type `name`, or of one derived from it.
  bool isA(std::string_view name) const;

  // A text that stands for this object as long as it lives, and for no other one ever: its class, a number, and its key
  // where it has one. "Kestrix::IpAcl#3(edge-in(ipv4,in))", and of a const object "const Kestrix::IpAcl#3(...)".
  std::string reference();
  std::string reference() const;
  // The object that the reference at the cursor stands for, the key of which may be left out; null for "null". Raises
  // RangeError when it is none, its object is gone, or is no `modelName`; the first one also for a const object.
  static Ptr<Entity> fromReference(TextCursor& cursor, std::string_view modelName);
  static Ptr<const Entity> fromConstReference(TextCursor& cursor, std::string_view modelName);

 private:
  mutable uint64_t referenceNumber_ = 0;  // 0 until the first reference is printed.
};

// The text of a reference to any node, through which it may be changed or not: that of an entity, or whether there is
// one.
KESTRIX_API std::string referenceText(const Node* node, bool isConst);

template <std::derived_from<Entity> T>
struct CursorText<Ptr<T>> {
  static Ptr<T> read(TextCursor& cursor) {
    if constexpr (std::is_const_v<T>) {
      return Ptr<T>(static_cast<T*>(Entity::fromConstReference(cursor, T::modelName()).get()));
    } else {
      return Ptr<T>(static_cast<T*>(Entity::fromReference(cursor, T::modelName()).get()));
    }
  }
};

}  // namespace Platform

// References to entities as Entity gives them; other nodes have no text of their own.
template <class T>
  requires std::derived_from<T, Platform::Node>
struct fmt::formatter<boost::intrusive_ptr<T>, char> {
  constexpr auto parse(fmt::format_parse_context& context) const { return context.begin(); }
  auto format(const boost::intrusive_ptr<T>& object, fmt::format_context& context) const {
    const std::string text = Platform::referenceText(object.get(), std::is_const_v<T>);
    return std::copy(text.begin(), text.end(), context.out());
  }
};
