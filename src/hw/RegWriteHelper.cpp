// Writing an image into the filter of an interface: regWriteHelper.

#include "helper/AclHelper.h"
#include "helper/Steps.h"
#include "hw/FilterAddress.h"
#include "hw/FilterRegisters.h"
#include "hw/FilterWriter.h"

namespace Kestrix {

AclHelper::AclCreateError AclHelper::regWriteHelper(const FilterRegisters& filterRegisters, IntfId intf,
                                                    Acl::AclDirection direction, bool enableRegOnly) {
  const OperationTrace trace(*this, "regWriteHelper");
  trace.level6("writing to intf: {}", intf);
  trace.level6("only writing to enable register: {}", enableRegOnly);

  FilterPath path(filterAddress(intf, intfMap()), direction);
  accessing_ = true;
  if (enableRegOnly) {
    writeEnable(*transport(), path, filterRegisters);
  } else {
    writeFilter(*transport(), path, filterRegisters, slotCount(direction));
  }
  accessing_ = false;

  if (transport()->error().error()) {
    trace.level6("I2C transaction error occured!! Has the FPGA been cleared?");
    transport()->error().errorIs(false);
    return AclCreateError::hardwareFailure;
  }
  trace.level6("success!");
  return AclCreateError::noError;
}

}  // namespace Kestrix
