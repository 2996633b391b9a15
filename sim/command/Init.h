// kestrix-sim init: documents to start from.
#pragma once

#include <string>

#include "command/ExitStatus.h"

namespace Sim {

// Writes device.json and acls.json to `folder`, which is made where there is none, and says how to go on. A file that
// is there already is never touched: then nothing is written, which is kBadInput. Nor does a failure (kReportLost)
// leave one of the two behind.
RunResult init(const std::string& folder);

}  // namespace Sim
