// A folder of its own, removed with everything in it when its owner goes.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace Support {

class TemporaryFolder {
 public:
  // On a tmpfs, as tables must be, unless it is said where else. For its owner alone (mode 0700).
  explicit TemporaryFolder(std::filesystem::path const& within = "/dev/shm") {
    std::string name = (within / "oru-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
      throw std::runtime_error("cannot make a folder in " + within.string());
    _path = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }
  TemporaryFolder(TemporaryFolder const&) = delete;
  TemporaryFolder& operator=(TemporaryFolder const&) = delete;

  std::filesystem::path const& path() const { return _path; }
  std::string text() const { return _path.string(); }
  // What is in it.
  std::string text(std::string_view name) const { return (_path / name).string(); }

 private:
  std::filesystem::path _path;
};

}  // namespace Support
