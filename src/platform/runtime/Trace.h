// Trace handles, levels and the sink that receives the records.
// A trace point of a disabled level costs a load and a branch: nothing is formatted. Format strings are checked when
// they are compiled.
//
//   const TraceScope trace{handle, "KestrixAclHelper", "AclHelper", "hwInit"};
//   trace.level5("intf: {}", intf);
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>

#include <fmt/core.h>

#include "platform/runtime/Export.h"

namespace Platform {

// The levels in use. Failures are always on.
inline constexpr int kTraceFailure = 0;
inline constexpr int kTraceDecision = 5;  // Entries of operations, and what they decide.
inline constexpr int kTraceDetail = 6;    // The steps of an operation, and what it found.

// One trace line. The views are valid during the call of the sink only.
struct TraceRecord {
  std::string_view handle;     // The name of the handle.
  int level = 0;               // Of the trace point.
  std::string_view file;       // The component, or source file, of the trace point.
  int line = 0;                // In the source file of the trace point.
  std::string_view operation;  // What is being done.
  std::string_view className;  // Whose operation it is.
  std::string_view message;    // Formatted; empty when the entry of an operation says all.
};

// Whether there are trace points: not in a build that measures what they cost while they are off.
inline constexpr bool kHasTraces =
#ifdef KESTRIX_WITHOUT_TRACES
    false;
#else
    true;
#endif

// Takes the records of a handle. It must not throw: std::terminate is called when it does, as for a transport and a
// listener, whose operations are noexcept. It may drop the last reference to the helper that traces, but does not call
// its operations: the one that traces is in the middle.
using TraceSink = std::function<void(const TraceRecord&)>;

// A named switch: records up to and including `level` are formatted and given to the sink.
class TraceHandle {
 public:
  // Without a sink, at the level of failures. `name` must outlive the handle.
  explicit TraceHandle(std::string_view name) : name_(name) {}

  // Given at construction.
  std::string_view name() const { return name_; }
  // Sets the highest level that is on. Below kTraceFailure it is kTraceFailure: failures cannot be switched off.
  void levelIs(int level) { level_ = std::max(level, kTraceFailure); }
  // Whether trace points of `level` are on.
  bool enabled(int level) const { return level <= level_; }

  // Replaces the sink; an empty one drops all records. The sink may replace itself while it is called.
  void sinkIs(TraceSink sink) { sink_ = sink ? std::make_shared<const TraceSink>(std::move(sink)) : nullptr; }

  // Gives a record to the sink, whatever its level. A sink that throws ends the program.
  KESTRIX_API void emit(const TraceRecord& record) const noexcept;

 private:
  std::string_view name_;
  int level_ = kTraceFailure;
  std::shared_ptr<const TraceSink> sink_;
};

// A format string with the line it stands on, checked against the arguments it will get.
template <class... Args>
struct TraceFormat {
  // Implicit, as a trace point shall read like a call of fmt::format.
  template <class Text>
    requires std::convertible_to<const Text&, std::string_view>
  consteval TraceFormat(const Text& formatText, int formatLine = __builtin_LINE())
      : text(formatText), line(formatLine) {}

  fmt::format_string<Args...> text;  // As fmt reads it.
  int line;                          // Of the trace point.
};

// The trace points of one operation.
class TraceScope {
 public:
  // The views must outlive the scope; they are literals in practice.
  TraceScope(const TraceHandle& handle, std::string_view file, std::string_view className, std::string_view operation)
      : handle_(handle), file_(file), className_(className), operation_(operation) {}

  // Traces at kTraceFailure.
  template <class... Args>
  void failure(TraceFormat<std::type_identity_t<Args>...> format, const Args&... args) const {
    at(kTraceFailure, format, args...);
  }
  // Traces at kTraceDecision.
  template <class... Args>
  void level5(TraceFormat<std::type_identity_t<Args>...> format, const Args&... args) const {
    at(kTraceDecision, format, args...);
  }
  // Traces at kTraceDetail.
  template <class... Args>
  void level6(TraceFormat<std::type_identity_t<Args>...> format, const Args&... args) const {
    at(kTraceDetail, format, args...);
  }

 private:
  template <class... Args>
  void at(int level, const TraceFormat<std::type_identity_t<Args>...>& format, const Args&... args) const {
    if (!kHasTraces || !handle_.enabled(level)) [[likely]] {
      return;
    }
    write(handle_,
          {.handle = {},
           .level = level,
           .file = file_,
           .line = format.line,
           .operation = operation_,
           .className = className_,
           .message = {}},
          format.text, fmt::make_format_args(args...));
  }
  // Not told of the scope, but of what is in it: a scope of literals then takes no instructions while it is not used.
  KESTRIX_API static void write(const TraceHandle& handle, TraceRecord record, fmt::string_view format,
                                fmt::format_args args);

  const TraceHandle& handle_;
  std::string_view file_;
  std::string_view className_;
  std::string_view operation_;
};

// Traces `message` as a failure and raises ConsistencyError with it.
[[noreturn]] KESTRIX_API void consistencyFailure(const TraceScope& trace, TraceFormat<> message);

}  // namespace Platform
