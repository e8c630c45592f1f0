// The lock that makes sure of a table's single writer. The kernel lets go of it when the process
// ends, however it ends; the file that it is on holds nothing.
//
// It belongs to the process alone. A child that was forked does not have it, so that one which
// outlives its parent is in nobody's way; that is why it is a record lock (fcntl) and not flock,
// which a child would share. Such a lock keeps nobody of the same process out, and is lost when the
// process closes any descriptor of the file: this class remembers the files that it has locked, and
// opens none of them a second time.
#pragma once

#include <sys/types.h>

#include <string>

#include "platform/glim/file_descriptor.h"

namespace Glim {

class WriterLock {
 public:
  enum class Outcome {
    taken,
    held,        // another writer has it: `holder` is its process, 0 when that cannot be told
    notPrivate,  // the file is not regular, not ours, or open to others
    failed,      // errno tells
  };

  WriterLock() = default;
  WriterLock(WriterLock&& other) noexcept { swap(other); }
  WriterLock& operator=(WriterLock other) noexcept {
    swap(other);
    return *this;
  }
  ~WriterLock();

  // Takes the lock on a file of mode 0600, which is made when it is missing. Never waits. Safe from
  // any thread.
  Outcome take(int directory, std::string const& name, pid_t& holder);

  // Whether the locked file still has that name: without it, nothing keeps another writer out.
  bool isNamed(int directory, std::string const& name) const;

  explicit operator bool() const { return static_cast<bool>(_file); }

 private:
  void swap(WriterLock& other) noexcept;
  // REQUIRES for both: the list of held files is locked
  Outcome tryToTake(int directory, std::string const& name, pid_t& holder);
  void letGo();

  FileDescriptor _file;
  dev_t _device = 0;
  ino_t _inode = 0;
};

}  // namespace Glim
