// Lets Debian's User-Mode Linux run on processors whose extended state (XSAVE) is larger than the
// buffer that it was built with: it hands that buffer to PTRACE_SETREGSET, and the kernel refuses
// one that is shorter than the state. The state's tail, of which the guest knows nothing, stays as
// it is. To be preloaded (LD_PRELOAD).
#include <elf.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstring>

namespace {

constexpr std::size_t kLargestState = 1 << 16;

// The system call itself, since the library's function is what is replaced here.
long systemPtrace(long request, pid_t process, void* address, void* data) {
  return syscall(SYS_ptrace, request, process, address, data);
}

long setExtendedState(pid_t process, void* address, iovec const& given) {
  alignas(64) static std::array<std::byte, kLargestState> state;
  iovec whole{state.data(), state.size()};
  if (systemPtrace(PTRACE_GETREGSET, process, address, &whole) != 0 ||
      whole.iov_len <= given.iov_len) {
    iovec asGiven = given;
    return systemPtrace(PTRACE_SETREGSET, process, address, &asGiven);
  }
  std::memcpy(state.data(), given.iov_base, given.iov_len);
  return systemPtrace(PTRACE_SETREGSET, process, address, &whole);
}

}  // namespace

extern "C" long ptrace(enum __ptrace_request request, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, request);
  pid_t const process = va_arg(arguments, pid_t);
  void* const address = va_arg(arguments, void*);
  void* const data = va_arg(arguments, void*);
  va_end(arguments);
  if (request == PTRACE_SETREGSET && address == reinterpret_cast<void*>(NT_X86_XSTATE)) {
    return setExtendedState(process, address, *static_cast<iovec const*>(data));
  }
  if (request == PTRACE_PEEKTEXT || request == PTRACE_PEEKDATA || request == PTRACE_PEEKUSER) {
    // The system call stores what it read, where the library's function answers it.
    long word = -1;
    long const status = systemPtrace(request, process, address, &word);
    if (status != 0) return status;
    errno = 0;
    return word;
  }
  return systemPtrace(request, process, address, data);
}
