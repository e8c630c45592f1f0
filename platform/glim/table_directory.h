// The writer's side of the directory that a table's files stand in: it must be on tmpfs; the lock
// in it makes sure of the single writer; files get their name only when their content is whole.
//
// Everything here throws the Dov family and names the file: NoPermissionException when the place is
// not ours to use, ResourceException when the system could not do it.
#pragma once

#include <string>

#include "platform/glim/file_descriptor.h"
#include "platform/glim/root_path.h"
#include "platform/glim/writer_lock.h"

namespace Glim {

class TableDirectory {
 public:
  explicit TableDirectory(RootPath const& root);

  // Takes the writer's lock, or throws naming the process that has it. The lock is on a private
  // file of mode 0600: on the data file, a reader could hold it for ever.
  WriterLock lock() const;
  // Whether the lock still keeps other writers out.
  bool isNamed(WriterLock const& lock) const { return lock.isNamed(_fd.get(), _root.lockFile()); }

  // The table's file, or nothing when there is none. A file that is not plainly ours is refused.
  FileDescriptor openData() const;
  // An empty file under a working name; what an interrupted writer left there is removed.
  FileDescriptor createNew() const;
  // Removes the file under the working name, if there is one.
  void removeNew() const noexcept;
  // Opens the new file to readers. Before anything is told of it.
  void openUp(FileDescriptor const& newFile) const;
  // Gives the new file the table's name, in place of what has it.
  void publishNew() const;
  // Keeps the file that has the table's name under one more name, once, and returns that name.
  std::string setAside() const;
  // Writes a small file whole, then gives it its name.
  void writeFile(std::string const& name, std::string const& content) const;

 private:
  [[noreturn]] void fail(std::string const& what, std::string const& name, int error) const;
  [[noreturn]] void refuse(std::string const& name, std::string const& why) const;
  void checkDirectory(std::string const& path) const;
  void checkOurs(int fd, std::string const& name, unsigned forbiddenMode) const;

  RootPath _root;
  FileDescriptor _fd;
};

}  // namespace Glim
