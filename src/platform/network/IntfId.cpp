#include "platform/network/IntfId.h"

#include <cstring>
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

  Record* record(const std::string& name) {
    const auto [entry, isNew] = records_.try_emplace(name);
    if (isNew) {
      entry->second = &storage_.emplace_back(Record{.hash = std::hash<std::string>{}(name), .name = &entry->first});
      place(entry);
    }
    return entry->second;
  }

 private:
  // Digit runs by their number.
  struct ByNumber {
    bool operator()(const std::string& left, const std::string& right) const {
      const int byNumber = strverscmp(left.c_str(), right.c_str());
      return byNumber != 0 ? byNumber < 0 : left < right;  // strverscmp stops at a NUL, which a name may contain.
    }
  };
  using Records = std::map<std::string, Record*, ByNumber>;

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
  if (name.empty() || name.size() > kLongestName) {
    throw RangeError(fmt::format("an interface name has 1 to {} characters, not {}", kLongestName, name.size()));
  }
  record_ = Names::all().record(std::string(name));
}

const std::string& IntfId::toText() const { return *record_->name; }

size_t IntfId::hash() const noexcept { return record_->hash; }

std::strong_ordering IntfId::operator<=>(const IntfId& other) const {
  return record_->position <=> other.record_->position;
}

uint32_t DownstreamIntfId::coreId(IntfId intf) { return intf.record_->coreId; }

void DownstreamIntfId::coreIdIs(IntfId intf, uint32_t coreId) { intf.record_->coreId = coreId; }

}  // namespace Platform
