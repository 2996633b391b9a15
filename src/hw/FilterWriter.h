// Writes a register image into a filter.
#pragma once

#include <cstdint>

#include "hw/FilterAddress.h"
#include "hw/FilterRegisters.h"
#include "platform/agent/TransportMethod.h"

namespace Kestrix {

// The `enable` register alone.
void writeEnable(Platform::TransportMethod& transport, FilterPath& path, const FilterRegisters& image);

// The whole filter: the four filter-wide registers, `enable` first, then each of `slotCount` slots; a slot without an
// entry in the image is zeroed, which removes the rule of an earlier image. All writes are issued, whatever happens to
// them: the transport's error flag tells.
void writeFilter(Platform::TransportMethod& transport, FilterPath& path, const FilterRegisters& image,
                 uint8_t slotCount);

}  // namespace Kestrix
