// Writing an image into the filter of an interface: regWriteHelper.

#include "helper/AclHelper.h"
#include "hw/FilterAddress.h"
#include "hw/FilterRegisters.h"
#include "hw/FilterWriter.h"
#include "model/TracePoints.h"

namespace Kestrix {

AclHelper::AclCreateError AclHelper::regWriteHelper(const FilterRegisters& filterRegisters, IntfId intf,
                                                    Acl::AclDirection direction, bool enableRegOnly) {
  const Ptr<AclHelper> self(this);  // The transport may drop the last other reference.
  const AclTrace trace("AclHelper", "regWriteHelper");
  trace.level6("writing to intf: {}", intf);
  trace.level6("only writing to enable register: {}", enableRegOnly);

  FilterPath path(filterAddress(intf, intfMap()), direction);
  if (enableRegOnly) {
    writeEnable(*transport(), path, filterRegisters);
  } else {
    writeFilter(*transport(), path, filterRegisters, slotCount(direction));
  }

  if (transport()->error().error()) {
    trace.level6("I2C transaction error occured!! Has the FPGA been cleared?");
    transport()->error().errorIs(false);
    return AclCreateError::hardwareFailure;
  }
  trace.level6("success!");
  return AclCreateError::noError;
}

}  // namespace Kestrix
