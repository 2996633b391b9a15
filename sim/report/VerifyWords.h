// What is not as expected on a device, in words.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "verdict/Verification.h"

namespace Sim {

// A register, as it is and as it should be.
struct RegisterPair {
  std::string_view name;
  int digits = 8;  // Of the value.
  uint32_t expected = 0;
  uint32_t found = 0;
  std::string missing = {};     // The bits that only the expected value has, and
  std::string unexpected = {};  // those that only the other has, in words; empty in a slot.

  std::string foundText() const { return valueText(found); }
  std::string expectedText() const { return valueText(expected); }

 private:
  std::string valueText(uint32_t value) const;
};

struct SlotPair {
  uint8_t slot = 0;
  std::string expected;  // In words.
  std::string found;
  std::vector<RegisterPair> registers;  // Those that differ.
};

// Registers of the whole filter that differ.
std::vector<RegisterPair> registerPairs(const FilterMismatch& filter);
// Slots that hold or mean something else than they should.
std::vector<SlotPair> slotPairs(const FilterMismatch& filter);

// What is said of a filter with other registers that does the same.
inline constexpr std::string_view kDecidesAsExpected = "decides every packet as expected, by the readings taken";

// "port-1, port-2".
std::string namesOf(const std::vector<Platform::IntfId>& intfs);

// How far an interface is blocked, and is to be.
std::string_view blockingWords(const LinkMonitorMismatch& monitor);
std::string_view expectedBlockingWords(const LinkMonitorMismatch& monitor);

// What was compared.
struct TotalWords {
  std::string filters;       // "2 of 10 filters differ".
  std::string registers;     // "200 registers".
  std::string linkMonitors;  // "1 of 10 link monitors differ".
  std::string missing;       // "3 have no line: ..."; empty for none.
  std::string others;
};
TotalWords totalWords(const Verification& verification);

// What stands before the writes that mend a device.
std::string_view repairWords(const std::vector<Register>& repair);

}  // namespace Sim
