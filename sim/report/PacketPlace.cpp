#include "report/PacketPlace.h"

#include <algorithm>

#include <fmt/format.h>

#include "report/Explanations.h"
#include "verdict/Configured.h"

namespace Sim {
namespace {

Json inactiveJson(const IntfOutcome& intf) {
  return {{"acl", intf.acl},
          {"state", Platform::nameOf(intf.state)},
          {"code", explain(intf.reason).code},
          {"reason", intf.reason.words()},
          {"keepsPrevious", intf.keepsPrevious}};
}

}  // namespace

std::string PacketPlace::toText() const { return fmt::format("{} {}", intf, directionName(direction)); }

PacketPlace placeOf(Platform::IntfId intf, Acl::AclDirection direction, const StepReport& step,
                    const Configuration& desired) {
  PacketPlace place{intf, direction, &step.filters.of(intf, direction)};
  place.isBlocked = std::ranges::find(step.outcome.blocked, intf) != step.outcome.blocked.end();
  for (const Attachment& each : desired.attachments) {
    if (each.intf == intf && each.direction == direction)
      place.acls.push_back(&*std::ranges::find(desired.acls, each.acl, &AclConfiguration::name));
  }
  const AclConfiguration* const first = place.acls.empty() ? nullptr : place.acls.front();
  std::erase_if(place.acls, [](const AclConfiguration* acl) { return !canBeDecided(*acl); });
  if (place.acls.empty()) place.foreign = first;
  for (const IntfOutcome& each : step.outcome.intfs) {
    const bool isHere = each.intf == intf && each.direction == direction;
    if (isHere && each.state != IntfState::active) place.inactive.push_back(&each);
  }
  return place;
}

std::string foreignWords(const AclConfiguration& acl) {
  return fmt::format("not known: ACL {} is of type {}", acl.name, acl.typeName);
}

std::string inactiveWords(const IntfOutcome& intf) {
  return fmt::format("ACL {} {} here: {}{}", intf.acl, intf.state == IntfState::refused ? "is refused" : "failed",
                     intf.reason.words(), intf.keepsPrevious ? "; its previous version stays in force" : "");
}

void writeInactive(Page& page, const PacketPlace& place) {
  for (const IntfOutcome* each : place.inactive) page.line({{"  "}, {inactiveWords(*each), Style::bad}});
}

Json inactiveJson(const PacketPlace& place) {
  Json json = Json::array();
  for (const IntfOutcome* each : place.inactive) json.push_back(inactiveJson(*each));
  return json;
}

}  // namespace Sim
