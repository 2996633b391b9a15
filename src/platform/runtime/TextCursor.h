// A position in a text that is being parsed.
#pragma once

#include <string>
#include <string_view>

#include "platform/runtime/Export.h"

namespace Platform {

// `text` in quotation marks, for a message: what does not print is escaped, a long text is cut.
KESTRIX_API std::string quoted(std::string_view text);

// Reads `text` from its start to its end. Does not own the text; the views it gives are parts of it.
class KESTRIX_API TextCursor {
 public:
  explicit TextCursor(std::string_view text) : text_(text), rest_(text) {}

  // What is not read yet.
  std::string_view rest() const { return rest_; }

  // Reads `literal`, when it comes next, and says whether it did.
  bool skip(std::string_view literal);
  // Reads `literal`. Raises RangeError when something else comes next.
  void require(std::string_view literal);
  // Raises RangeError when there is anything left.
  void requireEnd() const;
  // Reads up to the first of `delimiters`, which stays, or to the end.
  std::string_view takeUntil(std::string_view delimiters);

 private:
  std::string_view text_;
  std::string_view rest_;
};

}  // namespace Platform
