// Where packets come in or go out, and what there is to decide them: for one packet, and for many.
#pragma once

#include <string>
#include <vector>

#include "platform/acl/AclTypes.h"
#include "platform/network/IntfId.h"
#include "read/Configuration.h"
#include "registers/RegisterWords.h"
#include "report/Json.h"
#include "report/Page.h"
#include "report/Report.h"
#include "simulate/Outcome.h"

namespace Sim {

// Refers to the report of a step and to its configuration.
struct PacketPlace {
  Platform::IntfId intf;
  Acl::AclDirection direction = Acl::AclDirection::in;
  const FilterDump* filter = nullptr;              // The one of the interface and direction.
  std::vector<const AclConfiguration*> acls = {};  // Those attached there that can be decided.
  bool isBlocked = false;                          // The interface: it passes no traffic.
  const AclConfiguration* foreign = nullptr;       // An ACL there, if no ACL there can be decided.
  std::vector<const IntfOutcome*> inactive = {};   // The ACLs there that are not in force.

  // "port-1 ingress".
  std::string toText() const;
};

// As it is after a step, whose configuration is `desired`.
PacketPlace placeOf(Platform::IntfId intf, Acl::AclDirection direction, const StepReport& step,
                    const Configuration& desired);

inline constexpr std::string_view kDisabledWords = "the interface is disabled";
inline constexpr std::string_view kBlockedWords = "the interface is blocked: it passes no traffic";
// Why it is not known what is to become of packets.
std::string foreignWords(const AclConfiguration& acl);
// "ACL web is refused here: port ranges unsupported".
std::string inactiveWords(const IntfOutcome& intf);
// A line for each ACL that is not in force.
void writeInactive(Page& page, const PacketPlace& place);
Json inactiveJson(const PacketPlace& place);

}  // namespace Sim
