#include "tests/platform/glim/crash/crash_point.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <string_view>

namespace GlimCrash {

namespace {

// What parent and child both see. There is one child at a time.
struct Shared {
  std::uint64_t steps;
  bool finished;
};
Shared& shared() {
  static Shared& instance = *static_cast<Shared*>(
      ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  return instance;
}

std::uint64_t dieAt = 0;  // 0: steps are not counted
Glim::Words::Memory* theSaboteur = nullptr;

[[noreturn]] void die() {
  ::kill(::getpid(), SIGKILL);
  for (;;) ::pause();
}

void beforeStore(Glim::Word*, Glim::Word) { step(); }

// For what no writer may ever do: the test then finds a process that was not killed.
void forbid(bool condition) {
  if (condition && dieAt != 0) ::_exit(2);
}

bool isWorkingFile(char const* name) { return std::string_view(name).ends_with(".new"); }

// A call is two steps: one before, one when it is done.
template <class Call>
auto asSteps(Call call) {
  step();
  auto const result = call();
  int const error = errno;
  step();
  errno = error;
  return result;
}

}  // namespace

void step() {
  if (dieAt == 0) return;
  if (++shared().steps == dieAt) die();
}

void countStepsAndDieAt(std::uint64_t at) {
  Glim::Words::storeHook = &beforeStore;
  if (at == 0) {
    shared().finished = true;
    die();
  }
  Glim::Words::memory = theSaboteur;
  dieAt = at;
}

void saboteurIs(Glim::Words::Memory* saboteur) { theSaboteur = saboteur; }

End waitForEnd(pid_t child) {
  int status = 0;
  ::waitpid(child, &status, 0);
  End const end{shared().steps, shared().finished,
                WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL};
  shared() = {};
  return end;
}

}  // namespace GlimCrash

using GlimCrash::asSteps;
using GlimCrash::forbid;
using GlimCrash::isWorkingFile;

extern "C" {

int __real_openat(int directory, char const* name, int flags, ...);
int __wrap_openat(int directory, char const* name, int flags, ...) {
  if ((flags & O_CREAT) == 0) return __real_openat(directory, name, flags);
  va_list rest;
  va_start(rest, flags);
  mode_t const mode = va_arg(rest, mode_t);
  va_end(rest);
  return asSteps([&] { return __real_openat(directory, name, flags, mode); });
}

int __real_mkdir(char const* name, mode_t mode);
int __wrap_mkdir(char const* name, mode_t mode) {
  return asSteps([&] { return __real_mkdir(name, mode); });
}

int __real_rmdir(char const* name);
int __wrap_rmdir(char const* name) {
  return asSteps([&] { return __real_rmdir(name); });
}

int __real_posix_fallocate(int file, off_t from, off_t bytes);
int __wrap_posix_fallocate(int file, off_t from, off_t bytes) {
  return asSteps([&] { return __real_posix_fallocate(file, from, bytes); });
}

int __real_ftruncate(int file, off_t bytes);
int __wrap_ftruncate(int file, off_t bytes) {
  struct stat status {};
  forbid(::fstat(file, &status) == 0 && bytes < status.st_size);  // readers would fault
  return asSteps([&] { return __real_ftruncate(file, bytes); });
}

ssize_t __real_pwrite(int file, void const* from, std::size_t bytes, off_t at);
ssize_t __wrap_pwrite(int file, void const* from, std::size_t bytes, off_t at) {
  return asSteps([&] { return __real_pwrite(file, from, bytes, at); });
}

int __real_fchmodat(int directory, char const* name, mode_t mode, int flags);
int __wrap_fchmodat(int directory, char const* name, mode_t mode, int flags) {
  return asSteps([&] { return __real_fchmodat(directory, name, mode, flags); });
}

int __real_fchmod(int file, mode_t mode);
int __wrap_fchmod(int file, mode_t mode) {
  return asSteps([&] { return __real_fchmod(file, mode); });
}

int __real_linkat(int from, char const* name, int to, char const* newName, int flags);
int __wrap_linkat(int from, char const* name, int to, char const* newName, int flags) {
  return asSteps([&] { return __real_linkat(from, name, to, newName, flags); });
}

int __real_renameat(int from, char const* name, int to, char const* newName);
int __wrap_renameat(int from, char const* name, int to, char const* newName) {
  forbid(!isWorkingFile(name));
  return asSteps([&] { return __real_renameat(from, name, to, newName); });
}

int __real_unlinkat(int directory, char const* name, int flags);
int __wrap_unlinkat(int directory, char const* name, int flags) {
  forbid(!isWorkingFile(name));
  return asSteps([&] { return __real_unlinkat(directory, name, flags); });
}

}  // extern "C"
