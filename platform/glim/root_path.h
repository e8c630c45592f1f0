// Where a table's files live: a directory on tmpfs and the table's name, which is the last
// component of the path.
//
//   Glim::RootPath path(debugHandler, "/dev/shm/oru-counters/intfCounters", true);
//   path.glimName()     intfCounters
//   path.dataFile()     intfCounters.glim             what readers map
//   path.lockFile()     intfCounters.lock             held by the writer, closed to everyone else
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

#include "platform/dov/debug_handler.h"

namespace Mem {

// A place in shared memory.
class RootPath : public Dov::Debuggable {
 public:
  // With `makeDirectory`, the writer that is made here makes the directory when it is missing (one
  // level, mode 0755).
  RootPath(Dov::Platform::DebugHandler& handler, std::string_view path, bool makeDirectory);
  virtual ~RootPath();
  RootPath(RootPath const&) = default;
  RootPath& operator=(RootPath const&) = default;

  std::string const& path() const { return _path; }
  bool makeDirectory() const { return _makeDirectory; }
  std::string directory() const;
  std::string name() const;
  virtual std::string_view socknamePrefix() const { return "shmem"; }

 private:
  std::string _path;
  bool _makeDirectory;
};

std::ostream& operator<<(std::ostream& out, RootPath const& path);

}  // namespace Mem

namespace Glim {

class RootPath : public Mem::RootPath {
 public:
  using Mem::RootPath::RootPath;

  std::string glimName() const { return name(); }
  std::string_view socknamePrefix() const override { return "glim"; }

  // File names within directory().
  std::string dataFile() const { return name() + ".glim"; }
  std::string newFile() const { return name() + ".glim.new"; }
  std::string lockFile() const { return name() + ".lock"; }
  std::string corruptionFile() const { return name() + ".corruption"; }
};

}  // namespace Glim
