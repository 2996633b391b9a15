// What the terminals at the standard streams can show.
#pragma once

#include "report/Page.h"

namespace Sim {

// How the report looks on standard output: plain and unbroken where that is no terminal. NO_COLOR and TERM=dumb take
// the colours away, COLUMNS overrides the width.
Looks looksOfOutput();

// Whether standard error can show a line that is written over again.
bool canOverwriteErrors();

}  // namespace Sim
