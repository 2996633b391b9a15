#include "simulate/Outcome.h"

#include <algorithm>

namespace Sim {

bool Outcome::isAllApplied() const {
  return std::all_of(acls.begin(), acls.end(), [](const AclOutcome& acl) {
    return acl.state == AclState::applied || acl.state == AclState::notAttached;
  });
}

}  // namespace Sim
