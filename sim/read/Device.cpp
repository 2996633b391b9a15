#include "read/Device.h"

#include <fmt/format.h>

#include "read/Document.h"

namespace Sim {
namespace {

constexpr std::string_view kInterfaceRemedy =
    R"(An interface is {"name": "port-1", "core": 1, "portGroup": 1}; core and port group count from 1.)";

void readInterface(const Place& place, Device& device) {
  if (!place.isObject()) return;
  place.onlyMembers({"name", "core", "portGroup"});
  const auto namePlace = place.required("name", kInterfaceRemedy);
  const auto corePlace = place.required("core", kInterfaceRemedy);
  const auto groupPlace = place.required("portGroup", kInterfaceRemedy);
  if (!namePlace || !corePlace || !groupPlace) return;
  const auto name = namePlace->text();
  const auto core = corePlace->number(1, 65535);
  const auto group = groupPlace->number(1, 65535);
  if (!name || !core || !group) return;
  if (name->empty() || name->size() > 64) {
    return namePlace->error("out-of-range", "an interface name has 1 to 64 characters", "Choose another name.");
  }
  if (device.find(*name) != nullptr) {
    return namePlace->error("duplicate-name", fmt::format("there is another interface \"{}\"", *name),
                            "Give each interface a name of its own.");
  }
  const Interface added{Platform::IntfId(*name), static_cast<uint16_t>(*core), static_cast<uint16_t>(*group)};
  for (const Interface& other : device.interfaces) {
    if (!shareFilters(added, other)) continue;
    place.warning("shared-filter",
                  fmt::format("\"{}\" and \"{}\" share the filters of core {}, port group {}", *name, other.id,
                              added.core, added.portGroup),
                  "Give them the same ACLs: what one has filters the traffic of both.");
    break;
  }
  device.byName.emplace(*name, device.interfaces.size());
  device.interfaces.push_back(added);
}

}  // namespace

const Interface* Device::find(std::string_view name) const {
  const auto found = byName.find(name);
  return found == byName.end() ? nullptr : &interfaces[found->second];
}

Device readDevice(const std::string& file, std::string_view text, Diagnostics& diagnostics) {
  Device device;
  Document document(file, text, diagnostics);
  const Place root = document.root();
  if (document.isBroken() || !root.isObject()) return device;
  root.onlyMembers({"inRules", "outRules", "aclDropDelay", "interfaces"});
  auto readRules = [&](std::string_view name, uint8_t& rules) {
    const auto place = root.required(name, "Say how many rule slots a filter of this direction has, 0 to 24.");
    if (!place) return;
    if (const auto number = place->number(0, 255)) rules = static_cast<uint8_t>(*number);
  };
  readRules("inRules", device.inRules);
  readRules("outRules", device.outRules);
  if (const auto place = root.member("aclDropDelay")) device.aclDropDelay = place->boolean().value_or(false);
  if (const auto place = root.required("interfaces", kInterfaceRemedy)) {
    place->forEachElement([&](const Place& each) { readInterface(each, device); });
  }
  return device;
}

}  // namespace Sim
