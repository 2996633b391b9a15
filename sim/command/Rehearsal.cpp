#include "command/Rehearsal.h"

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "simulate/Framework.h"
#include "simulate/SimFpga.h"

namespace Sim {
namespace {

// A device, and what is to be applied to it.
struct Stage {
  Device device;
  Configuration desired = {};
  std::set<std::pair<std::string, Acl::AclDirection>> placed = {};  // ACLs.
  size_t standIns = 0;                                              // Interfaces that stand for others, so far.
};

// Adds an interface, with a filter of its own, to a device whose interfaces each have one.
Platform::IntfId addInterface(Device& device, uint16_t core, const std::string& name) {
  const Platform::IntfId id(name);
  device.byName.emplace(name, device.interfaces.size());
  device.interfaces.push_back({id, core, static_cast<uint16_t>(device.interfaces.size() + 1)});
  return id;
}

Device withoutSharing(const Device& device) {
  Device apart = device;
  apart.interfaces.clear();
  apart.byName.clear();
  for (const Interface& each : device.interfaces) addInterface(apart, each.core, each.id.toText());
  return apart;
}

void placeSomewhere(const std::string& acl, Acl::AclDirection direction, Stage& stage) {
  if (!stage.placed.emplace(acl, direction).second) return;
  std::string name;
  do {
    name = fmt::format("?{}", ++stage.standIns);
  } while (stage.device.find(name) != nullptr);
  stage.desired.attachments.push_back({addInterface(stage.device, 1, name), direction, acl});
}

// Where several ACLs of a type are to be attached to one interface, for an error, the first one is.
void place(const Configuration& desired, Stage& stage) {
  std::map<std::string, Acl::AclType> typeOf;
  for (const AclConfiguration& acl : desired.acls) typeOf.emplace(acl.name, acl.type);
  std::set<std::tuple<Platform::IntfId, Acl::AclDirection, Acl::AclType>> taken;
  std::vector<UnplacedAcl> unplaced = desired.unplaced;
  for (const Attachment& each : desired.attachments) {
    if (taken.emplace(each.intf, each.direction, typeOf.at(each.acl)).second) {
      stage.desired.attachments.push_back(each);
      stage.placed.emplace(each.acl, each.direction);
    } else {
      unplaced.push_back({each.acl, each.direction});
    }
  }
  for (const auto& [acl, direction] : unplaced) {
    if (typeOf.contains(acl)) placeSomewhere(acl, direction, stage);
  }
}

// Gives each ACL that is on no interface one. Returns their names.
std::set<std::string> placeTheRest(Stage& stage) {
  std::set<std::string> attached, rest;
  for (const auto& [acl, direction] : stage.placed) attached.insert(acl);
  const Device& device = stage.device;
  const auto likely = device.inRules >= device.outRules ? Acl::AclDirection::in : Acl::AclDirection::out;
  for (const AclConfiguration& acl : stage.desired.acls) {
    if (attached.contains(acl.name) || !rest.insert(acl.name).second) continue;
    placeSomewhere(acl.name, likely, stage);
  }
  return rest;
}

}  // namespace

StepReport rehearse(const Device& device, const Configuration& desired, StepState state, TracePrinter& traces,
                    Progress& progress) {
  Stage stage{withoutSharing(device)};
  stage.desired.acls = desired.acls;
  place(desired, stage);
  const auto unattached = state == StepState::hasErrors ? placeTheRest(stage) : std::set<std::string>();
  traces.muteIs(true);
  const auto fpga = Platform::make<SimFpga>();
  Outcome outcome = Framework(stage.device, fpga, progress.counter()).apply(stage.desired);
  traces.muteIs(false);
  outcome.changes.clear();
  outcome.writes = 0;
  for (AclOutcome& acl : outcome.acls) acl.isAttached = acl.isAttached && !unattached.contains(acl.key.name);
  return {.file = {},
          .settings = {},
          .outcome = std::move(outcome),
          .filters = {*fpga, stage.device},
          .deviations = {},
          .state = state};
}

}  // namespace Sim
