// What an input says, as messages repeat it: cut, so that no document makes a message long.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Sim {

// The characters of UTF-8 text, which is also the length of a YANG string.
size_t characters(std::string_view text);

// The first `most` characters of `text`, followed by "..." when there are more.
std::string cut(std::string_view text, size_t most);

// `text` in double quotes, at most 64 characters of it. If there are more, it says how many.
std::string inQuotes(std::string_view text);

}  // namespace Sim
