#include "read/Device.h"

#include <optional>
#include <utility>

#include <fmt/format.h>

#include "hw/RegisterLayout.h"
#include "read/Document.h"
#include "read/Quote.h"

namespace Sim {
namespace {

constexpr std::string_view kInterfaceRemedy =
    R"(An interface is {"name": "port-1", "core": 1, "portGroup": 1}; core and port group count from 1.)";
constexpr std::string_view kNameRemedy = "Give each interface a name of its own, of 1 to 64 characters.";

class InterfaceReader {
 public:
  explicit InterfaceReader(Device& device) : device_(device) {}

  void read(const Place& place) {
    if (!place.isObject()) {
      device_.namesKnown = false;
      return;
    }
    place.onlyMembers({"name", "core", "portGroup"});
    const auto name = readName(place);
    const uint16_t core = readNumber(place, "core");
    const uint16_t portGroup = readNumber(place, "portGroup");
    if (!name) return;
    const Interface added{Platform::IntfId(*name), core, portGroup};
    if (core != 0 && portGroup != 0) warnOfSharing(place, added);
    device_.interfaces.push_back(added);
  }

 private:
  // None, after a diagnostic, when there is none or another interface has it.
  std::optional<std::string> readName(const Place& interface) {
    const auto place = interface.required("name", kInterfaceRemedy);
    auto name = place ? place->text() : std::nullopt;
    if (!name || name->empty() || characters(*name) > 64) {
      device_.namesKnown = false;
      if (name) place->error("out-of-range", "an interface name has 1 to 64 characters", std::string(kNameRemedy));
      return {};
    }
    if (device_.byName.try_emplace(*name, device_.interfaces.size()).second) return name;
    place->error("duplicate-name", fmt::format("there is another interface {}", inQuotes(*name)),
                 std::string(kNameRemedy));
    return {};
  }

  // 0, after a diagnostic, when it cannot be read.
  static uint16_t readNumber(const Place& interface, std::string_view name) {
    const auto place = interface.required(name, kInterfaceRemedy);
    const auto number = place ? place->number(1, 65535) : std::nullopt;
    return static_cast<uint16_t>(number.value_or(0));
  }

  void warnOfSharing(const Place& place, const Interface& added) {
    const auto [first, isFirst] = firstOf_.try_emplace({added.core, added.portGroup}, added.id);
    if (isFirst) return;
    place.warning("shared-filter",
                  fmt::format("\"{}\" and \"{}\" share the filters of core {}, port group {}", added.id, first->second,
                              added.core, added.portGroup),
                  "Give them the same ACLs: what one has filters the traffic of both.");
  }

  Device& device_;
  std::map<std::pair<uint16_t, uint16_t>, Platform::IntfId> firstOf_;  // By core and port group.
};

// How many rule slots the member `name` says that a filter has.
uint8_t readRules(const Place& root, std::string_view name) {
  constexpr uint8_t kMost = Kestrix::Layout::kMaxSlots;
  const std::string remedy = fmt::format("Say how many rule slots a filter of this direction has, 0 to {}.", kMost);
  const auto place = root.required(name, remedy);
  const auto number = place ? place->number(0, kMost, remedy) : std::nullopt;
  return static_cast<uint8_t>(number.value_or(0));
}

Device deviceOf(Document& document) {
  Device device;
  const Place root = document.root();
  if (document.isBroken() || !root.isObject()) return device;
  root.onlyMembers({"inRules", "outRules", "aclDropDelay", "interfaces"});
  device.inRules = readRules(root, "inRules");
  device.outRules = readRules(root, "outRules");
  device.aclDropDelay = root.read("aclDropDelay", [](const Place& place) { return place.boolean(); });
  const auto list = root.required("interfaces", kInterfaceRemedy);
  device.namesKnown = list && list->isArray();
  if (!device.namesKnown) return device;
  InterfaceReader interfaces(device);
  list->forEachElement([&](const Place& each) { interfaces.read(each); });
  return device;
}

}  // namespace

const Interface* Device::find(std::string_view name) const {
  const auto found = byName.find(name);
  return found == byName.end() ? nullptr : &interfaces[found->second];
}

Device readDevice(const std::string& file, std::string_view text, Diagnostics& diagnostics) {
  Document document(file, text, diagnostics);
  Device device = deviceOf(document);
  if (!device.namesKnown) {
    document.report(Severity::warning, "", "not-checked",
                    "no interface that a configuration names was checked, as it is not known which there are",
                    "Mend the device description first.");
  }
  return device;
}

}  // namespace Sim
