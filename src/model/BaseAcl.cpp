#include "model/BaseAcl.h"

#include "model/TracePoints.h"
#include "platform/object/Describe.h"

namespace Kestrix {

KESTRIX_DEFINE_ENTITY(BaseAcl)
KESTRIX_DEFINE_ENTITY(IpAcl)
KESTRIX_DEFINE_ENTITY(MacAcl)

uint8_t BaseAcl::getNextAclRuleKey() const {
  AclTrace("BaseAcl", "getNextAclRuleKey").level6("");
  if (rule().empty()) return 0;
  int previous = 0;  // So a run may begin at key 0 or at key 1.
  for (const auto& [key, aclRule] : rule()) {
    if (key - previous > 1) break;
    previous = key;
  }
  return static_cast<uint8_t>(previous + 1);
}

}  // namespace Kestrix
