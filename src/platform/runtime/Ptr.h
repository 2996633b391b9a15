// Reference-counted nodes and the pointer that holds them.
// The count is not atomic: one event thread owns all nodes. A node is made with `make` and lives as long as a Ptr to
// it; it is never put on the stack.
//
//   Ptr<ShadowFilters> filters = make<ShadowFilters>();
#pragma once

#include <utility>

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include "platform/runtime/Export.h"

// What the agent's runtime gives.
namespace Platform {

// Base of everything that is held through a Ptr.
class KESTRIX_API Node : public boost::intrusive_ref_counter<Node, boost::thread_unsafe_counter> {
 public:
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;
  virtual ~Node() = default;

 protected:
  Node() = default;
};

// Shares a node; null by default.
template <class T>
using Ptr = boost::intrusive_ptr<T>;

// A new node, owned by the pointer returned.
template <class T, class... Args>
Ptr<T> make(Args&&... args) {
  return Ptr<T>(new T(std::forward<Args>(args)...));
}

}  // namespace Platform
