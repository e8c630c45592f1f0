// Which word of a file an address is: writer and readers map the table at different addresses.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/platform/glim/model/weak_memory.h"

namespace GlimModel {

class MappedWords {
 public:
  void fileIs(std::string const& path);
  // After something was mapped or unmapped.
  void forget() { _ranges.clear(); }
  // Throws when the address is not in a mapping of the file.
  Location locationOf(Word const* at);

 private:
  struct Range {
    std::uintptr_t begin;
    std::uintptr_t end;
    std::uintptr_t offset;
  };
  void readMappings();

  std::string _path;
  ino_t _inode = 0;
  std::vector<Range> _ranges;
};

}  // namespace GlimModel
