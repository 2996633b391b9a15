#include "platform/network/IntfId.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <map>
#include <numeric>
#include <string>

#include <fmt/format.h>

#include "platform/runtime/Errors.h"

namespace Platform {
namespace {
constexpr size_t kLongestName = 255;

void requireName(std::string_view name) {
  if (!name.empty() && name.size() <= kLongestName) return;
  throw RangeError(fmt::format("an interface name has 1 to {} characters, not {}", kLongestName, name.size()));
}

std::string_view leadingDigits(std::string_view text) { return text.substr(0, text.find_first_not_of("0123456789")); }

std::strong_ordering compareNumbers(std::string_view left, std::string_view right) {
  left.remove_prefix(std::min(left.find_first_not_of('0'), left.size()));
  right.remove_prefix(std::min(right.find_first_not_of('0'), right.size()));
  const auto byLength = left.size() <=> right.size();
  return byLength != 0 ? byLength : left <=> right;
}

// The order of names.
std::strong_ordering compareNames(std::string_view left, std::string_view right) {
  auto byZeros = std::strong_ordering::equal;  // What the first run that differs in leading zeros alone says.
  while (!left.empty() && !right.empty()) {
    const std::string_view leftRun = leadingDigits(left), rightRun = leadingDigits(right);
    const bool areNumbers = !leftRun.empty() && !rightRun.empty();
    const auto order = areNumbers ? compareNumbers(leftRun, rightRun)
                                  : static_cast<uint8_t>(left.front()) <=> static_cast<uint8_t>(right.front());
    if (order != 0) return order;
    if (byZeros == 0) byZeros = leftRun.size() <=> rightRun.size();
    left.remove_prefix(areNumbers ? leftRun.size() : 1);
    right.remove_prefix(areNumbers ? rightRun.size() : 1);
  }
  const auto byLength = left.size() <=> right.size();
  return byLength != 0 ? byLength : byZeros;
}
}  // namespace

struct IntfId::Record {
  size_t hash = 0;
  uint64_t position = 0;  // Ascends as the names do: all that a comparison looks at.
  uint32_t coreId = 0;
  const std::string* name = nullptr;
};

// All names. The records stand close together, as every lookup and every comparison goes to one.
class IntfId::Names {
 public:
  // Never freed: ids may outlive any static.
  static Names& all() {
    static auto& names = *new Names;
    return names;
  }

  // Null for a name that is not interned.
  Record* find(std::string_view name) const {
    const auto found = records_.find(name);
    return found == records_.end() ? nullptr : found->second;
  }

  Record* record(const std::string& name) {
    if (Record* const found = find(name)) return found;
    // The record first: no entry is ever without one. Without memory for the entry, the record stays unused.
    Record& record = storage_.emplace_back(Record{.hash = std::hash<std::string>{}(name)});
    const auto entry = records_.emplace(name, &record).first;
    record.name = &entry->first;
    place(entry);
    return &record;
  }

 private:
  struct InOrder {
    using is_transparent = void;
    bool operator()(std::string_view left, std::string_view right) const { return compareNames(left, right) < 0; }
  };
  using Records = std::map<std::string, Record*, InOrder>;

  // Gives a new name a position between its neighbours; where there is none left, all get new ones.
  void place(Records::iterator added) {
    constexpr uint64_t kDistance = uint64_t{1} << 32;
    const uint64_t before = added == records_.begin() ? 0 : std::prev(added)->second->position;
    const auto next = std::next(added);
    const uint64_t after = next == records_.end() ? before + 2 * kDistance : next->second->position;
    added->second->position = std::midpoint(before, after);
    if (added->second->position > before) return;
    uint64_t position = 0;
    for (const auto& [name, record] : records_) record->position = position += kDistance;
  }

  Records records_;
  std::deque<Record> storage_;
};

IntfId::IntfId(std::string_view name) {
  requireName(name);
  record_ = Names::all().record(std::string(name));
}

std::optional<IntfId> IntfId::known(std::string_view name) {
  requireName(name);
  Record* const record = Names::all().find(name);
  return record == nullptr ? std::nullopt : std::optional(IntfId(record));
}

const std::string& IntfId::toText() const { return *record_->name; }

size_t IntfId::hash() const noexcept { return record_->hash; }

std::strong_ordering IntfId::operator<=>(const IntfId& other) const {
  return record_->position <=> other.record_->position;
}

uint32_t DownstreamIntfId::coreId(IntfId intf) { return intf.record_->coreId; }

void DownstreamIntfId::coreIdIs(IntfId intf, uint32_t coreId) { intf.record_->coreId = coreId; }

}  // namespace Platform
