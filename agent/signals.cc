#include "agent/signals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Agent {

Signals::Signals(std::initializer_list<int> signals) {
  sigset_t set;
  sigemptyset(&set);
  for (int const signal : signals) sigaddset(&set, signal);
  int const error = ::pthread_sigmask(SIG_BLOCK, &set, &_before);
  if (error != 0) throw std::system_error(error, std::generic_category(), "pthread_sigmask");
  _fd = Glim::FileDescriptor(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
  if (!_fd) throw std::system_error(errno, std::generic_category(), "signalfd");
}

Signals::~Signals() {
  while (take() != 0) {
  }  // one that came and was not heeded must not strike now
  ::pthread_sigmask(SIG_SETMASK, &_before, nullptr);
}

int Signals::take() {
  signalfd_siginfo info{};
  ssize_t const n = ::read(_fd.get(), &info, sizeof info);
  return n == static_cast<ssize_t>(sizeof info) ? static_cast<int>(info.ssi_signo) : 0;
}

}  // namespace Agent
