// Blocking an interface's traffic: blockIntf.

#include "helper/AclHelper.h"
#include "hw/LinkMonitor.h"
#include "model/TracePoints.h"

namespace Kestrix {

void AclHelper::blockIntf(IntfId intf, bool block, uint32_t /*reason*/) {
  const Ptr<AclHelper> self(this);  // The callback may drop the last other reference.
  AclTrace("AclHelper", "blockIntf").level5("intf: {} block: {}", intf, block);
  const std::string path = linkMonitorPath(filterAddress(intf, intfMap()));
  transport()->regWrite(path, linkMonitorValue(transport()->regRead(path), block));
  // A failed access stays in the transport's error flag, for the next write of a filter to report.
  if (block) {
    aclIntfBlockedStatusIs(intf, true);
  } else {
    aclIntfBlockedStatusDel(intf);
  }
}

}  // namespace Kestrix
