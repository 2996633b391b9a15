// What is wrong, or worth knowing, about an input document.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace Sim {

enum class Severity { error, warning };

struct Diagnostic {
  Severity severity = Severity::error;
  std::string code;  // Stable, for programs.
  std::string file;  // As named on the command line.
  std::string path;  // A JSON Pointer (RFC 6901) into the file; empty for the whole document.
  std::string acl;   // The ACL and the ACE it is about, by name, or empty.
  std::string ace;
  std::string message;  // What is wrong.
  std::string remedy;   // What to do about it.
};

class Diagnostics {
 public:
  void add(Diagnostic diagnostic) {
    if (diagnostic.severity == Severity::error) ++errors_;
    all_.push_back(std::move(diagnostic));
  }
  const std::vector<Diagnostic>& all() const { return all_; }
  // How many of them are errors.
  size_t errors() const { return errors_; }
  bool hasErrors() const { return errors_ != 0; }

 private:
  std::vector<Diagnostic> all_;
  size_t errors_ = 0;
};

}  // namespace Sim
