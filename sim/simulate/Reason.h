// Why something is not as configured: by the library's own account, or by what the simulator sees itself.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "model/Refusal.h"
#include "simulate/Situation.h"

namespace Sim {

// What is no refusal of the library.
enum class OwnReason : uint8_t {
  notAttached,
  writeFailed,
  dropped,  // The helper knows nothing of an interface that it was told of.
};

struct OwnReasonRow {
  OwnReason reason;
  std::string_view text;
};

// A row for each reason, in the order of the reasons.
inline constexpr std::array kOwnReasons{
    OwnReasonRow{OwnReason::notAttached, "not attached to any interface"},
    OwnReasonRow{OwnReason::writeFailed, "a register write failed"},
    OwnReasonRow{OwnReason::dropped, "the helper does not know the interface for this ACL"},
};

constexpr const OwnReasonRow& rowOf(OwnReason reason) { return kOwnReasons[static_cast<size_t>(reason)]; }

static_assert(std::ranges::all_of(kOwnReasons, [](const OwnReasonRow& row) { return &rowOf(row.reason) == &row; }) &&
                  kOwnReasons.back().reason == OwnReason::dropped,
              "a reason has no row, or another one's");

struct Reason {
  std::string culprit = {};  // The ACE or interface that it comes from, when that is not the thing itself.
  std::variant<Kestrix::Refused, OwnReason> cause = {};
  Situation situation = {};  // As far as it is known.

  // Whether nothing is wrong.
  bool empty() const { return cause == decltype(cause){}; }
  // The cause in a few words, the library's where it has any.
  std::string text() const;
  // With the culprit.
  std::string words() const { return culprit.empty() ? text() : culprit + ": " + text(); }
};

}  // namespace Sim
