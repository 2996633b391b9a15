#include "read/Ports.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

#include <fmt/format.h>

namespace Sim {
namespace {

constexpr std::string_view kRemedy =
    R"(Write {"operator": "eq", "port": 443} or {"lower-port": 1024, "upper-port": 65535}.)";
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
    {"lte", [](uint64_t port) { return Range{0, port}; }},
    {"gte", [](uint64_t port) { return Range{port, kLastPort}; }},
    {"eq", [](uint64_t port) { return Range{port, port}; }},
    // All ports but one are two ranges. Each is refused by the helper unless it is a single port, so the wider one
    // stands for both.
    {"neq", [](uint64_t port) { return port < 32768 ? Range{port + 1, kLastPort} : Range{0, port - 1}; }},
};

std::string operatorNames() {
  std::string names;
  for (const Operator& each : kOperators) names += fmt::format("{}{}", names.empty() ? "" : ", ", each.name);
  return names;
}

std::optional<Ports> portsOf(const Place& place, const Range& range) {
  if (range.low == 0 && range.high == kLastPort) return Ports{};
  if (range.high == 0) {
    place.error("port-zero", "port 0 would match every port: the hardware reads it as any",
                "Leave out the port if any port is meant. Port 0 itself cannot be matched.");
    return {};
  }
  const auto low = static_cast<uint16_t>(range.low);
  const auto high = static_cast<uint16_t>(range.high);
  return Ports{.port = low == high ? low : uint16_t{0}, .low = low, .high = high};
}

std::optional<Ports> readRange(const Place& place) {
  const auto lowPlace = place.required("lower-port", kRemedy);
  const auto highPlace = place.required("upper-port", kRemedy);
  if (!lowPlace || !highPlace) return {};
  const auto low = lowPlace->number(0, kLastPort);
  const auto high = highPlace->number(0, kLastPort);
  if (!low || !high) return {};
  if (*low > *high) {
    place.error("out-of-range", fmt::format("lower-port {} is above upper-port {}", *low, *high), std::string(kRemedy));
    return {};
  }
  return portsOf(place, {*low, *high});
}

std::optional<Ports> readOperator(const Place& place) {
  const auto portPlace = place.required("port", kRemedy);
  const auto namePlace = place.member("operator");
  const auto name = namePlace ? namePlace->text() : "eq";
  if (!portPlace || !name) return {};
  const auto port = portPlace->number(0, kLastPort);
  if (!port) return {};
  const auto* row = std::find_if(std::begin(kOperators), std::end(kOperators),
                                 [&](const Operator& each) { return each.name == *name; });
  if (row != std::end(kOperators)) return portsOf(place, row->range(*port));
  namePlace->error("out-of-range", fmt::format("\"{}\" is none of {}", *name, operatorNames()), std::string(kRemedy));
  return {};
}

}  // namespace

std::optional<Ports> readPorts(const Place& place) {
  if (!place.isObject()) return {};
  place.onlyMembers({"operator", "port", "lower-port", "upper-port"});
  const bool isRange = place.member("lower-port") || place.member("upper-port");
  const bool isOperator = place.member("operator") || place.member("port");
  if (isRange && isOperator) {
    place.error("conflicting-members", "a port is given both by an operator and as a range", std::string(kRemedy));
    return {};
  }
  if (isRange) return readRange(place);
  return isOperator ? readOperator(place) : Ports{};
}

}  // namespace Sim
