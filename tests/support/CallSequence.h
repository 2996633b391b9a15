// Sequences of calls into the library, in the order a framework makes them and in any other, beside the reference
// machine that says what each must do.
#pragma once

#include <string>
#include <vector>

#include "support/Reference.h"

namespace Kestrix::Test {

// clang-format off
enum Operation : uint8_t {
  kAttach, kPrecreate, kRule, kVerdict, kFragments, kRefusedRule, kFinish, kDetach, kHandOver, kDestroy, kCleanUp, kDropDelay,
  kBlock,
  // What no framework does.
  kRuleOfTheOtherType, kOverfill, kDeleteRule, kTearDown, kSwitchIngress, kLoseFilters,
  kOperationCount
};
// clang-format on

struct Call {
  uint8_t operation = kAttach, acl = 0, intf = 0;  // Below the counts: of Operation, kAcls, kIntfs.
  uint8_t argument = 0;                            // What else the operation takes; any number.
  bool busFails = false;                           // For every access that concerns the interface.
  bool isOrderly = false;                          // Replaced by the next call that a framework would make now.
};
std::string textOf(const Call& call);
// The calls with these texts, one after the other, with "; " between them.
std::vector<Call> callsOf(const std::string& texts);

// Interferes with one call of a sequence, and records what shows.
struct Probe {
  size_t call = 0;
  std::set<size_t> failAt = {};  // Those of its accesses fail.
  int traceLevel = 0;
  Lines accesses = {};    // All that it made.
  Lines log = {};         // Every call, behind "> ", with all that it accessed, told and traced.
  bool isMended = false;  // The device holds what it must at the end of the sequence.
};

// How a sequence is made.
struct Setting {
  bool isHostile = true;  // Otherwise all calls are made as if orderly.
  Slots slots = {};
  Census* census = nullptr;  // Counts what happens.
  Probe* probe = nullptr;
};

// Makes the calls on a new helper. Returns what differs from the reference machine or breaks an invariant; empty when
// nothing does.
std::string faultsOf(const std::vector<Call>& calls, const Setting& setting);

}  // namespace Kestrix::Test
