#include "simulate/AceChanges.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

namespace Sim {
namespace {

constexpr size_t kNone = static_cast<size_t>(-1);

// Where the ACEs of `in` are in `others`, by name; kNone for those that are not.
std::vector<size_t> placesOf(const std::vector<Ace>& in, const std::vector<Ace>& others) {
  std::unordered_map<std::string_view, size_t> byName;
  for (size_t i = 0; i < others.size(); ++i) byName.emplace(others[i].name, i);
  std::vector<size_t> places;
  places.reserve(in.size());
  for (const Ace& ace : in) {
    const auto found = byName.find(ace.name);
    places.push_back(found == byName.end() ? kNone : found->second);
  }
  return places;
}

// Which of the places are in one longest ascending sequence of those that there are: the ACEs that have not moved.
std::vector<bool> longestAscent(const std::vector<size_t>& places) {
  std::vector<size_t> ends;  // At n: which place ends a sequence of n + 1; the least one of those that do.
  std::vector<size_t> previous(places.size(), kNone);
  for (size_t i = 0; i < places.size(); ++i) {
    if (places[i] == kNone) continue;
    const auto end = std::ranges::lower_bound(ends, places[i], {}, [&](size_t each) { return places[each]; });
    if (end != ends.begin()) previous[i] = *(end - 1);
    if (end == ends.end()) {
      ends.push_back(i);
    } else {
      *end = i;
    }
  }
  std::vector<bool> isIn(places.size());
  for (size_t i = ends.empty() ? kNone : ends.back(); i != kNone; i = previous[i]) isIn[i] = true;
  return isIn;
}

// None where the ACE is as and where it was.
std::optional<AceChangeKind> kindOf(bool hasMoved, bool isChanged) {
  if (hasMoved) return isChanged ? AceChangeKind::movedAndChanged : AceChangeKind::moved;
  return isChanged ? std::optional(AceChangeKind::changed) : std::nullopt;
}

}  // namespace

std::vector<AceChange> aceChanges(const AclConfiguration& before, const AclConfiguration& after) {
  const std::vector<size_t> old = placesOf(after.aces, before.aces);
  const std::vector<size_t> now = placesOf(before.aces, after.aces);
  const std::vector<bool> stays = longestAscent(old);

  std::vector<AceChange> changes;
  size_t passed = 0;  // How many of the old ACEs have been looked at for one that was removed.
  const auto removeUpTo = [&](size_t end) {
    for (; passed < end; ++passed) {
      if (now[passed] == kNone) changes.push_back({AceChangeKind::removed, before.aces[passed].name, passed + 1, {}});
    }
  };
  for (size_t i = 0; i < after.aces.size(); ++i) {
    const Ace& ace = after.aces[i];
    if (old[i] == kNone) {
      changes.push_back({AceChangeKind::added, ace.name, {}, i + 1});
      continue;
    }
    if (stays[i]) removeUpTo(old[i]);
    if (const auto kind = kindOf(!stays[i], ace != before.aces[old[i]]))
      changes.push_back({*kind, ace.name, old[i] + 1, i + 1});
  }
  removeUpTo(before.aces.size());
  return changes;
}

}  // namespace Sim
