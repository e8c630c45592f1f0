#include "tests/platform/glim/threads/one_mapping.h"

#include <sys/mman.h>
#include <sys/stat.h>

#include <map>
#include <mutex>
#include <utility>

namespace {

using FileId = std::pair<dev_t, ino_t>;
struct Shared {
  void* base;
  std::size_t users;
};

std::mutex mutex;
std::map<FileId, Shared> mappings;
std::size_t answered = 0;

}  // namespace

extern "C" {

void* __real_mmap(void*, std::size_t, int, int, int, off_t);
int __real_munmap(void*, std::size_t);

// Readers get the writer's mapping, which may be written: that they do not is their own affair.
void* __wrap_mmap(void* at, std::size_t size, int protection, int flags, int fd, off_t offset) {
  struct stat status {};
  if (fd < 0 || at != nullptr || ::fstat(fd, &status) != 0) {
    return __real_mmap(at, size, protection, flags, fd, offset);
  }
  std::lock_guard const guard(mutex);
  auto const found = mappings.find({status.st_dev, status.st_ino});
  if (found != mappings.end()) {
    ++found->second.users;
    ++answered;
    return found->second.base;
  }
  void* const base = __real_mmap(at, size, protection, flags, fd, offset);
  if (base != MAP_FAILED) mappings[{status.st_dev, status.st_ino}] = {base, 1};
  return base;
}

int __wrap_munmap(void* at, std::size_t size) {
  std::lock_guard const guard(mutex);
  for (auto i = mappings.begin(); i != mappings.end(); ++i) {
    if (i->second.base != at) continue;
    if (--i->second.users != 0) return 0;
    mappings.erase(i);
    break;
  }
  return __real_munmap(at, size);
}

}  // extern "C"

std::size_t GlimTest::sharedMappings() {
  std::lock_guard const guard(mutex);
  return answered;
}
