#pragma once

namespace Sim {

inline constexpr int kAllApplied = 0;
inline constexpr int kNotAllApplied = 1;  // Something was refused, or failed on the device.
inline constexpr int kBadInput = 2;       // Or bad usage.

}  // namespace Sim
