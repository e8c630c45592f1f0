#include "bench/other_process.h"

#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <system_error>

namespace Bench {

namespace {

void stayOn(int core) {
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(static_cast<std::size_t>(core), &set);
  sched_setaffinity(0, sizeof set, &set);
}

struct Cores {
  int first = -1;
  int last = -1;

  Cores() {
    cpu_set_t set;
    CPU_ZERO(&set);
    sched_getaffinity(0, sizeof set, &set);
    for (int core = 0; core < CPU_SETSIZE; ++core) {
      if (!CPU_ISSET(static_cast<std::size_t>(core), &set)) continue;
      if (first < 0) first = core;
      last = core;
    }
    if (first != last) stayOn(first);
  }
};

Cores const& cores() {
  static Cores const found;
  return found;
}

}  // namespace

bool twoCores() { return cores().first != cores().last; }

void becomeCompanion(pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);  // it ended before that
  if (twoCores()) stayOn(cores().last);
}

OtherProcess::~OtherProcess() { stop(); }

void OtherProcess::start(std::function<void(Progress&)> const& work) {
  twoCores();
  pid_t const parent = getpid();
  std::fflush(nullptr);
  _pid = fork();
  if (_pid < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (_pid == 0) {
    becomeCompanion(parent);
    try {
      work(_progress[0]);
    } catch (std::exception const& exception) {
      std::fprintf(stderr, "the other process: %s\n", exception.what());
      _exit(1);
    }
    _exit(0);
  }
  _started = true;
  using namespace std::chrono_literals;
  auto const patience = std::chrono::steady_clock::now() + 30s;
  while (!_progress[0].ready) {
    if (waitpid(_pid, nullptr, WNOHANG) == _pid) {
      _pid = -1;
      throw std::runtime_error("the other process did not begin");
    }
    if (std::chrono::steady_clock::now() > patience) {
      kill(_pid, SIGKILL);
      throw std::runtime_error("the other process takes too long");
    }
    usleep(1000);
  }
}

void OtherProcess::stop() {
  if (_pid <= 0) return;
  _progress[0].stop = true;
  int status = 0;
  waitpid(_pid, &status, 0);
  _pid = -1;
  if (status != 0) _progress[0].count(false);
}

void OtherProcess::finish() {
  stop();
  if (!_started) return;
  if (_progress[0].done == 0) throw std::runtime_error("the other process did nothing");
  if (_progress[0].failed != 0) throw std::runtime_error("the other process met a wrong row");
}

}  // namespace Bench
