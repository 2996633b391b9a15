// An end of a run that a person, or a script, asks for.
#pragma once

namespace Sim {

// As long as it lives, SIGINT and SIGTERM are only noted, unless the program was started to ignore them. A second one
// of the same kind ends it as ever.
class Interruption {
 public:
  Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;
  ~Interruption();

  // A file from which something can be read once there was a signal; -1 where the system has none.
  int file() const { return files_[0]; }

 private:
  int files_[2] = {-1, -1};
};

}  // namespace Sim
