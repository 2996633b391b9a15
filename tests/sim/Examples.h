// The bundled documents.
#pragma once

#include <string>

#include "support/Docs.h"

namespace Sim {

// The text of a document of examples/.
inline std::string example(const std::string& name) {
  return Kestrix::Test::textOfFile(KESTRIX_ROOT "examples/" + name);
}

}  // namespace Sim
