#include "verdict/Readings.h"

#include <fmt/format.h>

namespace Sim {

Readings Readings::allOpen() {
  Readings readings;
  readings.taken_.fill(std::nullopt);
  return readings;
}

PacketSet Readings::other(Reading reading) const {
  const auto number = static_cast<size_t>(reading);
  if (!taken_[number]) return PacketSet::ifChosen(number, true);
  return *taken_[number] ? ~PacketSet() : PacketSet();
}

PacketSet Readings::chosenIn(PacketSet set) const {
  for (size_t number = 0; number < taken_.size(); ++number) {
    if (taken_[number]) set = set.given(number, *taken_[number]);
  }
  return set;
}

std::string Readings::assume(std::string_view text) {
  const auto equals = text.find('=');
  const std::string_view name = text.substr(0, equals);
  const auto* row = std::ranges::find(kReadings, name, &ReadingRow::name);
  if (row == kReadings.end()) {
    std::string names;
    for (const ReadingRow& each : kReadings) names += fmt::format("{}{}", names.empty() ? "" : ", ", each.name);
    return fmt::format("no reading has this name; there are: {}", names);
  }
  const std::string_view value = equals == text.npos ? std::string_view() : text.substr(equals + 1);
  if (value != row->standard.name && value != row->other.name) {
    return fmt::format("{} is {} or {}", row->name, row->standard.name, row->other.name);
  }
  set(row->reading, value == row->other.name);
  return {};
}

}  // namespace Sim
