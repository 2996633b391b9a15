#include "read/Device.h"

#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "read/Document.h"

namespace Sim {
namespace {

constexpr std::string_view kInterfaceRemedy =
    R"(An interface is {"name": "port-1", "core": 1, "portGroup": 1}; core and port group count from 1.)";

std::optional<Interface> readInterface(const Place& place) {
  place.onlyMembers({"name", "core", "portGroup"});
  const auto namePlace = place.required("name", kInterfaceRemedy);
  const auto corePlace = place.required("core", kInterfaceRemedy);
  const auto groupPlace = place.required("portGroup", kInterfaceRemedy);
  if (!namePlace || !corePlace || !groupPlace) return {};
  const auto name = namePlace->text();
  const auto core = corePlace->number(1, 65535);
  const auto group = groupPlace->number(1, 65535);
  if (!name || !core || !group) return {};
  if (name->empty() || name->size() > 64) {
    namePlace->error("out-of-range", "an interface name has 1 to 64 characters", "Choose another name.");
    return {};
  }
  return Interface{Platform::IntfId(*name), static_cast<uint16_t>(*core), static_cast<uint16_t>(*group)};
}

void warnOfSharing(const Place& place, const Interface& added, const std::vector<Interface>& others) {
  const auto other = std::find_if(others.begin(), others.end(), [&](const auto& o) { return shareFilters(added, o); });
  if (other == others.end()) return;
  place.warning("shared-filter",
                fmt::format("\"{}\" and \"{}\" share the filters of core {}, port group {}", added.id, other->id,
                            added.core, added.portGroup),
                "Give them the same ACLs: what one has filters the traffic of both.");
}

void addInterface(const Place& place, Device& device) {
  if (!place.isObject()) return;
  const auto interface = readInterface(place);
  if (!interface) return;
  const std::string name = interface->id.toText();
  if (!device.byName.try_emplace(name, device.interfaces.size()).second) {
    return place.member("name")->error("duplicate-name", fmt::format("there is another interface \"{}\"", name),
                                       "Give each interface a name of its own.");
  }
  warnOfSharing(place, *interface, device.interfaces);
  device.interfaces.push_back(*interface);
}

// How many rule slots the member `name` says that a filter has.
uint8_t readRules(const Place& root, std::string_view name) {
  const auto place = root.required(name, "Say how many rule slots a filter of this direction has, 0 to 24.");
  const auto number = place ? place->number(0, 255) : std::nullopt;
  return static_cast<uint8_t>(number.value_or(0));
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
  device.inRules = readRules(root, "inRules");
  device.outRules = readRules(root, "outRules");
  device.aclDropDelay = root.read("aclDropDelay", [](const Place& place) { return place.boolean(); });
  if (const auto list = root.required("interfaces", kInterfaceRemedy)) {
    list->forEachElement([&](const Place& each) { addInterface(each, device); });
  }
  return device;
}

}  // namespace Sim
