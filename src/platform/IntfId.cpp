#include "platform/IntfId.h"

#include <cstring>
#include <map>

#include <fmt/format.h>

#include "platform/Errors.h"

namespace Platform {
namespace {
constexpr size_t kLongestName = 255;
}  // namespace

struct IntfId::Record {
  std::string name;
  size_t hash = 0;
  uint32_t coreId = 0;

  static Record* of(std::string_view name) {
    static auto& records = *new std::map<std::string, Record, std::less<>>;  // Never freed: ids may outlive any static.
    const auto found = records.find(name);
    if (found != records.end()) return &found->second;
    return &records.try_emplace(std::string(name), Record{std::string(name), std::hash<std::string_view>{}(name)})
                .first->second;
  }
};

IntfId::IntfId(std::string_view name) {
  if (name.empty() || name.size() > kLongestName) {
    throw RangeError(fmt::format("an interface name has 1 to {} characters, not {}", kLongestName, name.size()));
  }
  record_ = Record::of(name);
}

const std::string& IntfId::toText() const { return record_->name; }

size_t IntfId::hash() const noexcept { return record_->hash; }

std::strong_ordering IntfId::operator<=>(const IntfId& other) const {
  if (record_ == other.record_) return std::strong_ordering::equal;
  const int byNumber = strverscmp(record_->name.c_str(), other.record_->name.c_str());
  // strverscmp stops at a NUL, which a name may contain.
  return byNumber != 0 ? byNumber <=> 0 : record_->name <=> other.record_->name;
}

uint32_t DownstreamIntfId::coreId(IntfId intf) { return intf.record_->coreId; }

void DownstreamIntfId::coreIdIs(IntfId intf, uint32_t coreId) { intf.record_->coreId = coreId; }

}  // namespace Platform
