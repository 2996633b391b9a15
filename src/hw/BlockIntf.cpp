// Blocking an interface's traffic: blockIntf.

#include "helper/AclHelper.h"
#include "helper/Steps.h"
#include "hw/LinkMonitor.h"

namespace Kestrix {

void AclHelper::blockIntf(IntfId intf, bool block, uint32_t /*reason*/) {
  const OperationTrace trace(*this, "blockIntf");
  trace.level5("intf: {} block: {}", intf, block);
  const std::string path = linkMonitorPath(filterAddress(intf, intfMap()));
  accessing_ = true;
  transport()->regWrite(path, linkMonitorValue(transport()->regRead(path), block));
  accessing_ = false;
  // A failed access stays in the transport's error flag, for the next write of a filter to report.
  if (block) {
    aclIntfBlockedStatusIs(intf, true);
  } else {
    aclIntfBlockedStatusDel(intf);
  }
}

}  // namespace Kestrix
