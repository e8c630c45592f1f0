// A folder of its own in shared memory, for what must have a path.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace Bench {

class TableFolder {
 public:
  TableFolder() {
    std::string name = "/dev/shm/oru-bench-XXXXXX";
    if (!mkdtemp(name.data())) throw std::runtime_error("cannot make a directory in /dev/shm");
    _path = name;
  }
  ~TableFolder() { remove(); }
  TableFolder(TableFolder const&) = delete;
  TableFolder& operator=(TableFolder const&) = delete;

  std::string at(std::string const& name) const { return (_path / name).string(); }
  // When everybody has opened what is in it: then nothing stays behind, however the benchmark ends.
  void remove() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }

 private:
  std::filesystem::path _path;
};

}  // namespace Bench
