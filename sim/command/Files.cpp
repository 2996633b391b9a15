#include "command/Files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <list>
#include <system_error>
#include <utility>

#include <fmt/format.h>

#include "text/Shown.h"

namespace Sim {
namespace {

std::string lastError() { return std::generic_category().message(errno); }

// What of a file is still to be read.
FileText restOf(int file) {
  FileText read;
  std::array<char, 65536> part{};
  for (;;) {
    const ssize_t length = ::read(file, part.data(), part.size());
    if (length == 0) return read;
    if (length > 0) {
      read.text.append(part.data(), static_cast<size_t>(length));
    } else if (errno != EINTR) {
      return {.fault = lastError()};
    }
  }
}

// Whether all of `text` was written; errno otherwise says why not.
bool writeAll(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t length = ::write(file, text.data(), text.size());
    if (length >= 0) {
      text.remove_prefix(static_cast<size_t>(length));
    } else if (errno == EAGAIN) {
      pollfd room{file, POLLOUT, 0};
      ::poll(&room, 1, /*timeout=*/-1);
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

// Whether the file was written; errno otherwise says why not.
bool writeFile(const OutputFile& wanted) {
  const int file = ::open(wanted.name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file == -1) return false;
  if (writeAll(file, wanted.text)) return ::close(file) == 0;
  const int why = errno;
  ::close(file);
  errno = why;
  return false;
}

// A file that nobody had made before, and that does not stay unless it is kept.
class FreshFile {
 public:
  explicit FreshFile(const NewFile& wanted)
      : wanted_(wanted), file_(::open(wanted.name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) {
    if (file_ == -1) fail();
  }
  FreshFile(const FreshFile&) = delete;
  FreshFile& operator=(const FreshFile&) = delete;
  ~FreshFile() {
    if (file_ != -1) ::close(file_);
    if (isMade_ && !isKept_) ::unlink(wanted_.name.c_str());
  }

  // Some file systems tell only at the end that there was no room.
  void write() {
    const bool isWritten = writeAll(file_, wanted_.text);
    if (!isWritten) fail();
    if (::close(std::exchange(file_, -1)) != 0 && isWritten) fail();
  }
  void keep() { isKept_ = true; }
  // None as long as all went well.
  const std::optional<WriteFault>& fault() const { return fault_; }

 private:
  void fail() {
    const bool exists = errno == EEXIST;
    fault_ = WriteFault{wanted_.name, lastError(), exists};
  }

  const NewFile& wanted_;
  std::optional<WriteFault> fault_;
  int file_;
  const bool isMade_ = file_ != -1;
  bool isKept_ = false;
};

}  // namespace

void holdStandardStreams() {
  for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(file, F_GETFD) != -1) continue;
    // The lowest number that is free, which is this one, and the wrong way round: it cannot be used.
    if (::open("/dev/null", file == STDIN_FILENO ? O_WRONLY : O_RDONLY) == -1) return;
  }
}

FileText readFile(const std::string& name) {
  if (name == kStandardInput) return restOf(STDIN_FILENO);
  const int file = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
  if (file == -1) return {.fault = lastError()};
  FileText read = restOf(file);
  ::close(file);
  return read;
}

std::optional<WriteFault> createFiles(const std::string& folder, const std::vector<NewFile>& files) {
  if (::mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST) return WriteFault{folder, lastError(), false};
  std::list<FreshFile> made;
  for (const NewFile& each : files) {
    made.emplace_back(each);
    if (made.back().fault()) return made.back().fault();
  }
  for (FreshFile& each : made) {
    each.write();
    if (each.fault()) return each.fault();
  }
  for (FreshFile& each : made) each.keep();
  return {};
}

void tell(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stderr); }

int finish(const RunResult& result) {
  tell(result.complaint);
  int status = result.exitStatus;
  for (const OutputFile& each : result.files) {
    if (writeFile(each)) continue;
    tell(fmt::format("kestrix-sim: cannot write to {}: {}\n", Shown(each.name).text(), lastError()));
    status = kReportLost;
  }
  if (result.output.empty()) return status;
  // Some file systems tell only at the end that there was no room.
  if (writeAll(STDOUT_FILENO, result.output) && ::close(STDOUT_FILENO) == 0) return status;
  if (errno != EPIPE) tell(fmt::format("kestrix-sim: cannot write to standard output: {}\n", lastError()));
  return kReportLost;
}

}  // namespace Sim
