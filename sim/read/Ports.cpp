#include "read/Ports.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "read/MatchFields.h"
#include "read/Quote.h"

namespace Sim {
namespace {

std::string remedy() {
  return fmt::format(
      R"(Write one port, such as {{"port": 443}}, or leave it out for every port: the hardware matches no other ranges.{})",
      kWithoutPorts);
}

constexpr std::string_view kNumberRemedy = "Write a port from 1 to 65535.";
constexpr uint64_t kLastPort = 65535;

// From `low` to `high`, both included.
struct Range {
  uint64_t low;
  uint64_t high;
};

// What an operator makes of its port.
struct Operator {
  std::string_view name;
  Range (*range)(uint64_t port);
};
constexpr Operator kOperators[] = {
    {"eq", [](uint64_t port) { return Range{port, port}; }},
    {"lte", [](uint64_t port) { return Range{0, port}; }},
    {"gte", [](uint64_t port) { return Range{port, kLastPort}; }},
    // All ports but one are two ranges. Each is refused by the helper unless it is a single port, so the wider one
    // stands for both.
    {"neq", [](uint64_t port) { return port < 32768 ? Range{port + 1, kLastPort} : Range{0, port - 1}; }},
};

// What is meant where there is no operator.
constexpr const Operator& kEquals = kOperators[0];

std::string operatorNames() {
  std::string names;
  for (const Operator& each : kOperators) names += fmt::format("{}{}", names.empty() ? "" : ", ", each.name);
  return names;
}

std::optional<Ports> portsOf(const Place& place, const Range& range) {
  if (range.low == 0 && range.high == kLastPort) return Ports{};
  if (range.high == 0) {
    place.error(
        "port-zero", "port 0 would match every port: the hardware reads it as any",
        fmt::format("Leave out the port if any port is meant. Port 0 itself cannot be matched.{}", kWithoutPorts));
    return {};
  }
  const auto low = static_cast<uint16_t>(range.low);
  const auto high = static_cast<uint16_t>(range.high);
  return Ports{.port = low == high ? low : uint16_t{0}, .low = low, .high = high};
}

std::optional<uint64_t> readNumber(const std::optional<Place>& place) {
  return place ? place->number(0, kLastPort, kNumberRemedy) : std::nullopt;
}

std::optional<Ports> readRange(const Place& place) {
  const auto lowPlace = place.required("lower-port", remedy());
  const auto highPlace = place.required("upper-port", remedy());
  const auto low = readNumber(lowPlace);
  const auto high = readNumber(highPlace);
  if (!low || !high) return {};
  if (*low > *high) {
    place.error("out-of-range", fmt::format("lower-port {} is above upper-port {}", *low, *high), remedy());
    return {};
  }
  return portsOf(place, {*low, *high});
}

// Null, after a diagnostic, when there is no such operator.
const Operator* operatorOf(const Place& place) {
  const auto name = place.text();
  if (!name) return nullptr;
  const auto* row = std::find_if(std::begin(kOperators), std::end(kOperators),
                                 [&](const Operator& each) { return each.name == *name; });
  if (row != std::end(kOperators)) return row;
  place.error("out-of-range", fmt::format("{} is none of {}", inQuotes(*name), operatorNames()), remedy());
  return nullptr;
}

std::optional<Ports> readOperator(const Place& place) {
  const auto namePlace = place.member("operator");
  const Operator* const row = namePlace ? operatorOf(*namePlace) : &kEquals;
  const auto port = readNumber(place.required("port", remedy()));
  if (row == nullptr || !port) return {};
  auto ports = portsOf(place, row->range(*port));
  if (ports && row->name == "neq") ports->except = static_cast<uint16_t>(*port);
  return ports;
}

}  // namespace

std::optional<Ports> readPorts(const Place& place) {
  if (!place.isObject()) return {};
  place.onlyMembers({"operator", "port", "lower-port", "upper-port"}, kWithoutPorts);
  const bool isRange = place.member("lower-port") || place.member("upper-port");
  const bool isOperator = place.member("operator") || place.member("port");
  if (isRange && isOperator) {
    place.error("conflicting-members", "a port is given both by an operator and as a range", remedy());
    return {};
  }
  if (isRange) return readRange(place);
  return isOperator ? readOperator(place) : Ports{};
}

}  // namespace Sim
