#include "platform/runtime/Trace.h"

#include <iterator>
#include <string>

#include <fmt/format.h>

#include "platform/runtime/Errors.h"

namespace Platform {

void TraceHandle::emit(const TraceRecord& record) const noexcept {
  if (const auto sink = sink_) (*sink)(record);  // Held: it may replace itself.
}

void TraceScope::write(const TraceHandle& handle, TraceRecord record, fmt::string_view format, fmt::format_args args) {
  fmt::memory_buffer message;
  fmt::vformat_to(std::back_inserter(message), format, args);
  record.handle = handle.name();
  record.message = {message.data(), message.size()};
  handle.emit(record);
}

void consistencyFailure(const TraceScope& trace, TraceFormat<> message) {
  trace.failure(message);
  throw ConsistencyError(fmt::format(message.text));
}

}  // namespace Platform
