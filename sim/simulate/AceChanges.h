// What is other in an ACL than before, ACE by ACE. Values alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/runtime/Text.h"
#include "read/Configuration.h"

namespace Sim {

enum class AceChangeKind : uint8_t {
  added,
  removed,
  changed,          // Another rule by the same name, in its place among the others.
  moved,            // The same rule in another place among those that were there before.
  movedAndChanged,  // Both.
};

// One ACE that is not as and where it was.
struct AceChange {
  AceChangeKind kind = AceChangeKind::added;
  std::string name;
  // Which ACE of its ACL it was and is, from 1. What others do can shift it, too, which is no change of its own; and an
  // ACE that moved can have its number still.
  std::optional<size_t> before = {};  // None for one that was added,
  std::optional<size_t> after = {};   // and for one that was removed.

  bool operator==(const AceChange&) const = default;
};

// What leads from the ACEs of one ACL to those of the other; empty where these are the same. An ACE goes by its name,
// which is to be unique in its ACL. As few as possible are called moved. In the order of the ACEs after it; what was
// removed stands before the ACE, of those that did not move, that it was before. Takes O(n log n).
std::vector<AceChange> aceChanges(const AclConfiguration& before, const AclConfiguration& after);

}  // namespace Sim

template <>
inline constexpr Platform::EnumName<Sim::AceChangeKind> Platform::enumNames<Sim::AceChangeKind>[] = {
    {Sim::AceChangeKind::added, "added"},
    {Sim::AceChangeKind::removed, "removed"},
    {Sim::AceChangeKind::changed, "changed"},
    {Sim::AceChangeKind::moved, "moved"},
    {Sim::AceChangeKind::movedAndChanged, "moved-and-changed"}};
