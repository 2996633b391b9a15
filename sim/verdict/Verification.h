// A device's registers against those that are expected: what differs, what that changes, and what mends it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "read/Device.h"
#include "registers/RegisterDump.h"
#include "registers/RegisterWords.h"
#include "verdict/Comparison.h"
#include "verdict/Readings.h"

namespace Sim {

// A packet that a filter decides in another way than is expected.
struct PacketChange {
  Packet packet;
  FilterDecision expected;
  FilterDecision found;
};

// One packet each way, where there is one.
struct PacketChanges {
  std::optional<PacketChange> more;  // That the device lets through, and should not.
  std::optional<PacketChange> less;  // That it stops, and should not.
};

// By the readings, of which none may be open.
PacketChanges changesOf(const FilterDump& expected, const FilterDump& found, const Readings& readings);

// A filter with registers that are not as expected.
struct FilterMismatch {
  std::vector<Platform::IntfId> intfs;  // All that share it.
  FilterDump expected;
  FilterDump found;
  PacketChanges changes;
};

// A link monitor that blocks, and should not, or the other way round; or of whose bits for that only some are set.
struct LinkMonitorMismatch {
  std::vector<Platform::IntfId> intfs;  // All that share it.
  std::string path;
  uint32_t found = 0;
  bool isToBlock = false;
};

// What came of a comparison.
struct Verification {
  std::vector<FilterMismatch> filters;  // Those that differ, in the order of the device.
  std::vector<LinkMonitorMismatch> linkMonitors;
  size_t filtersCompared = 0;
  size_t registersCompared = 0;  // Of filters.
  size_t linkMonitorsCompared = 0;
  size_t linkMonitorsMissing = 0;  // Without a line.
  size_t others = 0;               // Lines of other registers.

  bool isEqual() const { return filters.empty() && linkMonitors.empty(); }
};

// Compares all filters of a device, and of the link monitors whether they block. `expected` are the registers that it
// should have. Not for a dump that leaves a register of a filter out.
Verification verify(const Device& device, const RegisterAt& expected, const RegisterDump& dump,
                    const Readings& readings);

// The writes, in order, that make `expected` of `found`. Whatever the readings, the filter never lets a packet through
// on the way that neither of the two does: where more than one register with an effect is another, everything is denied
// until the last write.
std::vector<Register> repairOf(const FilterDump& expected, const FilterDump& found);

// The writes that mend all of it: what is to block does so first, what is not to no sooner than the filters are as they
// should be. The bits of link monitors that the library leaves alone stay as they are.
std::vector<Register> repairOf(const Verification& verification);

}  // namespace Sim
