// Which FPGA port group serves each interface.
#pragma once

#include <cstdint>

#include "platform/network/IntfId.h"
#include "platform/object/Model.h"

namespace Kestrix {

// The port-group numbers, 1-based, of the interfaces. Filled by whoever builds the helper, and only read from then on.
class IntfIdToPortGroupId {
  KESTRIX_PRINTED_VALUE(IntfIdToPortGroupId, "Kestrix::IntfIdToPortGroupId");
  // The port group of each interface; 0 for an interface that is not in the map.
  KESTRIX_MAP(Platform::IntfId, uint16_t, uint16_t, portGroupMap);

 public:
  // Whether there is any interface in the map.
  explicit operator bool() const { return !portGroupMap().empty(); }
};

}  // namespace Kestrix
