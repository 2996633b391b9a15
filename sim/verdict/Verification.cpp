#include "verdict/Verification.h"

#include <algorithm>
#include <map>
#include <utility>

namespace Sim {
namespace {

namespace Layout = Kestrix::Layout;

std::optional<PacketChange> changeIn(const PacketSet& set, const FilterDump& expected, const FilterDump& found,
                                     const Readings& readings) {
  if (set.isEmpty()) return {};
  const Packet packet = telling(set);
  return PacketChange{packet, decide(expected, packet, readings), decide(found, packet, readings)};
}

// Filters of a device that differ alike are looked at once.
class ChangeFinder {
 public:
  explicit ChangeFinder(const Readings& readings) : readings_(readings) {}

  const PacketChanges& of(const FilterDump& expected, const FilterDump& found) {
    const auto [place, isNew] = known_.try_emplace({valuesOf(expected), valuesOf(found)});
    if (isNew) place->second = changesOf(expected, found, readings_);
    return place->second;
  }

 private:
  using Values = std::vector<uint32_t>;

  static Values valuesOf(const FilterDump& filter) {
    Values values(filter.values.begin(), filter.values.end());
    for (const SlotDump& slot : filter.slots) values.insert(values.end(), slot.values.begin(), slot.values.end());
    return values;
  }

  const Readings& readings_;
  std::map<std::pair<Values, Values>, PacketChanges> known_;
};

void compareFilters(const FilterDumps& expected, const FilterDumps& found, const Readings& readings,
                    Verification& verification) {
  ChangeFinder changes(readings);
  for (const auto& [filter, intfs] : distinct(expected)) {
    const FilterDump& other = found.of(filter->intf, filter->direction);
    ++verification.filtersCompared;
    verification.registersCompared += registersOf(*filter).size();
    if (*filter != other) verification.filters.push_back({intfs, *filter, other, changes.of(*filter, other)});
  }
}

void compareLinkMonitors(const Device& device, const RegisterAt& expected, const RegisterDump& dump,
                         Verification& verification) {
  for (const auto& [path, intfs] : linkMonitors(device)) {
    const auto found = dump.value(path);
    const uint32_t blocking = expected(path) & Layout::kLinkMonitorBlock;
    ++(found ? verification.linkMonitorsCompared : verification.linkMonitorsMissing);
    if (found && (*found & Layout::kLinkMonitorBlock) != blocking)
      verification.linkMonitors.push_back({intfs, path, *found, blocking != 0});
  }
}

Register mended(const LinkMonitorMismatch& monitor) {
  const uint32_t kept = monitor.found & Layout::kLinkMonitorKept;
  return {monitor.path, kept | (monitor.isToBlock ? Layout::kLinkMonitorBlock : 0)};
}

}  // namespace

PacketChanges changesOf(const FilterDump& expected, const FilterDump& found, const Readings& readings) {
  const PacketSet should = permittedBy(expected, readings), does = permittedBy(found, readings);
  if (should == does) return {};
  return {changeIn((does - should) & PacketSet::all(), expected, found, readings),
          changeIn((should - does) & PacketSet::all(), expected, found, readings)};
}

Verification verify(const Device& device, const RegisterAt& expected, const RegisterDump& dump,
                    const Readings& readings) {
  Verification verification;
  verification.others = dump.others();
  compareFilters({expected, device}, {dump.reader(), device}, readings, verification);
  compareLinkMonitors(device, expected, dump, verification);
  return verification;
}

std::vector<Register> repairOf(const FilterDump& expected, const FilterDump& found) {
  // What has no effect as long as `enable` is as found, and the rest.
  std::vector<Register> idle, effective;
  const auto registers = registersOf(expected), before = registersOf(found);
  for (size_t i = 0; i < registers.size(); ++i) {
    if (registers[i] == before[i]) continue;
    const bool isOfSlot = i >= Layout::kFilterRegisters.size();
    const size_t slot = isOfSlot ? (i - Layout::kFilterRegisters.size()) / Layout::kSlotRegisters.size() : 0;
    (isOfSlot && !found.slotEnabled(static_cast<uint8_t>(slot)) ? idle : effective).push_back(registers[i]);
  }
  std::vector<Register> writes = std::move(idle);
  if (effective.size() <= 1) {
    writes.insert(writes.end(), effective.begin(), effective.end());
    return writes;
  }
  // Without a bit of a permit, every slot and verdict denies. Not 0: with the other registers 0, there would be no ACL,
  // which lets everything pass.
  const std::string& action = registers[positionOf(Layout::kAction)].path;
  writes.push_back({action, Layout::kSource.mask});
  std::ranges::copy_if(effective, std::back_inserter(writes),
                       [&](const Register& each) { return each.path != action; });
  writes.push_back(registers[positionOf(Layout::kAction)]);
  return writes;
}

std::vector<Register> repairOf(const Verification& verification) {
  std::vector<Register> writes, unblocking;
  for (const LinkMonitorMismatch& each : verification.linkMonitors)
    (each.isToBlock ? writes : unblocking).push_back(mended(each));
  for (const FilterMismatch& each : verification.filters) {
    const auto repair = repairOf(each.expected, each.found);
    writes.insert(writes.end(), repair.begin(), repair.end());
  }
  writes.insert(writes.end(), unblocking.begin(), unblocking.end());
  return writes;
}

}  // namespace Sim
