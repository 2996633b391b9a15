#include "simulate/TracePrinter.h"

#include <algorithm>
#include <cstdio>

#include <fmt/format.h>

#include "model/AclTrace.h"
#include "text/Shown.h"

namespace Sim {

TracePrinter::TracePrinter(int level) : level_(level) {
  Platform::TraceHandle& handle = Kestrix::aclTraceHandle();
  handle.levelIs(std::max(level, Platform::kTraceFailure));
  handle.sinkIs([this](const Platform::TraceRecord& record) { print(record); });
}

TracePrinter::~TracePrinter() {
  Kestrix::aclTraceHandle().levelIs(Platform::kTraceFailure);
  Kestrix::aclTraceHandle().sinkIs({});
}

void TracePrinter::print(const Platform::TraceRecord& record) const {
  if (mute_ || record.level > level_) return;
  const Shown line = fmt::format("[{}] {}:{} {}::{} {}", record.level, record.file, record.line, record.className,
                                 record.operation, record.message);
  // Where standard error cannot be written, the traces are lost, and the run goes on: this must not throw.
  std::fputs((line.text() + "\n").c_str(), stderr);
}

}  // namespace Sim
