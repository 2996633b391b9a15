// The library's traces, printed up to the level asked for.
#pragma once

#include "platform/runtime/Trace.h"

namespace Sim {

// Owns the trace handle's sink while it lives.
class TracePrinter {
 public:
  // Lines up to `level` go to standard error; none when it is negative.
  explicit TracePrinter(int level);
  ~TracePrinter();
  TracePrinter(const TracePrinter&) = delete;
  TracePrinter& operator=(const TracePrinter&) = delete;

  // Prints nothing while it is muted.
  void muteIs(bool mute) { mute_ = mute; }

 private:
  void print(const Platform::TraceRecord& record) const;

  int level_;
  bool mute_ = false;
};

}  // namespace Sim
