#include "report/VerifyWords.h"

#include <utility>

#include <fmt/format.h>

namespace Sim {
namespace {

namespace Layout = Kestrix::Layout;

// What `bits` of a register of the filter mean.
std::string wordsOf(const FilterMismatch& filter, const Layout::FilterRegister& row, uint32_t bits) {
  FilterDump with{.intf = filter.found.intf};
  with.values[positionOf(row)] = bits;
  return with.words(row);
}

}  // namespace

std::string RegisterPair::valueText(uint32_t value) const { return fmt::format("0x{:0{}x}", value, digits); }

std::vector<RegisterPair> registerPairs(const FilterMismatch& filter) {
  std::vector<RegisterPair> pairs;
  for (const auto& row : Layout::kFilterRegisters) {
    const uint32_t expected = filter.expected.value(row), found = filter.found.value(row);
    if (expected == found) continue;
    pairs.push_back({row.name, 8, expected, found, wordsOf(filter, row, expected & ~found),
                     wordsOf(filter, row, found & ~expected)});
  }
  return pairs;
}

std::vector<SlotPair> slotPairs(const FilterMismatch& filter) {
  std::vector<SlotPair> pairs;
  for (size_t i = 0; i < filter.expected.slots.size(); ++i) {
    const SlotDump &expected = filter.expected.slots[i], &found = filter.found.slots[i];
    SlotPair pair{expected.slot, filter.expected.slotWords(expected), filter.found.slotWords(found), {}};
    for (const auto& row : Layout::kSlotRegisters) {
      if (expected.value(row) == found.value(row)) continue;
      pair.registers.push_back({row.name, row.width / 4, expected.value(row), found.value(row)});
    }
    if (pair.expected != pair.found || !pair.registers.empty()) pairs.push_back(std::move(pair));
  }
  return pairs;
}

std::string namesOf(const std::vector<Platform::IntfId>& intfs) {
  std::string names;
  for (const Platform::IntfId intf : intfs) names += (names.empty() ? "" : ", ") + intf.toText();
  return names;
}

std::string_view blockingWords(const LinkMonitorMismatch& monitor) {
  const uint32_t bits = monitor.found & Layout::kLinkMonitorBlock;
  return bits == 0 ? "not blocked" : bits == Layout::kLinkMonitorBlock ? "blocked" : "blocked by one bit of two";
}

std::string_view expectedBlockingWords(const LinkMonitorMismatch& monitor) {
  return monitor.isToBlock ? "blocked" : "not blocked";
}

TotalWords totalWords(const Verification& verification) {
  const auto& [filters, linkMonitors, filtersCompared, registers, compared, missing, others] = verification;
  return {fmt::format("{} of {} filters differ", filters.size(), filtersCompared),
          fmt::format("{} registers", registers),
          fmt::format("{} of {} link monitors differ", linkMonitors.size(), compared),
          missing == 0 ? std::string() : fmt::format("{} have no line: whether they block is not known", missing),
          fmt::format("lines of other registers: {}", others)};
}

std::string_view repairWords(const std::vector<Register>& repair) {
  return repair.empty() ? "Nothing is to be mended." : "To mend it, write in this order:";
}

}  // namespace Sim
