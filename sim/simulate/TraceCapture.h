// The library's traces: printed up to the level asked for, and searched for the reasons of its refusals.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "platform/runtime/Trace.h"

namespace Sim {

// Owns the trace handle's sink while it lives.
class TraceCapture {
 public:
  // Lines up to `printLevel` go to standard error; none when it is negative.
  explicit TraceCapture(int printLevel);
  ~TraceCapture();
  TraceCapture(const TraceCapture&) = delete;
  TraceCapture& operator=(const TraceCapture&) = delete;

  // Prints nothing while it is muted; reasons are captured all the same.
  void muteIs(bool mute) { mute_ = mute; }
  // While it lives, details are captured, too, as some reasons are traced as such. Formatting them takes its time.
  class Details {
   public:
    explicit Details(const TraceCapture& capture);
    ~Details();
    Details(const Details&) = delete;
    Details& operator=(const Details&) = delete;

   private:
    const TraceCapture& capture_;
  };
  // Forgets what was captured.
  void clear() { lastMessages_.clear(); }
  // The last message that `operation` has traced since then; empty when there is none.
  std::string last(std::string_view operation) const;

 private:
  void take(const Platform::TraceRecord& record);

  int printLevel_;
  bool mute_ = false;
  std::map<std::string, std::string, std::less<>> lastMessages_;
};

}  // namespace Sim
