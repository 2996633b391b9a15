#include "simulate/TraceCapture.h"

#include <algorithm>
#include <cstdio>

#include <fmt/format.h>

#include "model/AclTrace.h"

namespace Sim {

TraceCapture::TraceCapture(int printLevel) : printLevel_(printLevel) {
  Platform::TraceHandle& handle = Kestrix::aclTraceHandle();
  handle.levelIs(std::max(printLevel, Platform::kTraceFailure));
  handle.sinkIs([this](const Platform::TraceRecord& record) { take(record); });
}

TraceCapture::~TraceCapture() {
  Kestrix::aclTraceHandle().levelIs(Platform::kTraceFailure);
  Kestrix::aclTraceHandle().sinkIs({});
}

TraceCapture::Details::Details(const TraceCapture& capture) : capture_(capture) {
  Kestrix::aclTraceHandle().levelIs(std::max(capture_.printLevel_, Platform::kTraceDetail));
}

TraceCapture::Details::~Details() {
  Kestrix::aclTraceHandle().levelIs(std::max(capture_.printLevel_, Platform::kTraceFailure));
}

std::string TraceCapture::last(std::string_view operation) const {
  const auto found = lastMessages_.find(operation);
  return found == lastMessages_.end() ? std::string() : found->second;
}

void TraceCapture::take(const Platform::TraceRecord& record) {
  lastMessages_.insert_or_assign(std::string(record.operation), std::string(record.message));
  if (mute_ || record.level > printLevel_) return;
  fmt::print(stderr, "[{}] {}:{} {}::{} {}\n", record.level, record.file, record.line, record.className,
             record.operation, record.message);
}

}  // namespace Sim
