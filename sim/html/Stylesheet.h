// The looks of a page: page.css, as the build has found it.
#pragma once

#include <string_view>

namespace Sim {

extern const std::string_view kStylesheet;

}  // namespace Sim
