// Processes that a test has forked.
#pragma once

#include <sys/wait.h>

namespace Support {

// False once it has ended, which leaves it to be waited for as before.
inline bool isRunning(pid_t child) {
  siginfo_t ended{};
  return ::waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         ended.si_pid == 0;
}

}  // namespace Support
