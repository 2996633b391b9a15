#include "command/Interruption.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

namespace Sim {
namespace {

constexpr std::array kSignals{SIGINT, SIGTERM};

// What a signal is written to: a handler is not told of any object.
volatile std::sig_atomic_t notedIn = -1;

void note(int /*signal*/) {
  const int error = errno;
  [[maybe_unused]] const ssize_t written = ::write(notedIn, "", 1);
  errno = error;
}

void handle(int signal, void (*handler)(int)) {
  struct sigaction before{};
  if (::sigaction(signal, nullptr, &before) != 0 || before.sa_handler == SIG_IGN) return;
  struct sigaction action{};
  action.sa_handler = handler;
  action.sa_flags = handler == SIG_DFL ? 0 : static_cast<int>(SA_RESETHAND);
  ::sigaction(signal, &action, nullptr);
}

}  // namespace

Interruption::Interruption() {
  if (::pipe2(files_, O_CLOEXEC | O_NONBLOCK) != 0) return;
  notedIn = files_[1];
  for (const int signal : kSignals) handle(signal, note);
}

Interruption::~Interruption() {
  if (files_[0] == -1) return;
  for (const int signal : kSignals) handle(signal, SIG_DFL);
  for (const int file : files_) ::close(file);
}

}  // namespace Sim
