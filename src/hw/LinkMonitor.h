// Blocking an interface's traffic, in the link-monitor control register of its receive port.
#pragma once

#include <cstdint>
#include <string>

#include "hw/FilterAddress.h"

namespace Kestrix {

// The path of the register, in the receive port that the same indices name as the filters.
std::string linkMonitorPath(const FilterAddress& address);

// The register's new value: the low three bits as they were, the two block bits set or clear, the rest zero.
uint32_t linkMonitorValue(uint32_t old, bool block);

}  // namespace Kestrix
