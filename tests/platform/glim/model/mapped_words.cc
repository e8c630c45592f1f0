#include "tests/platform/glim/model/mapped_words.h"

#include <sys/stat.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace GlimModel {

void MappedWords::fileIs(std::string const& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) throw std::runtime_error("no file " + path);
  _inode = status.st_ino;
  _path = path;
  forget();
}

void MappedWords::readMappings() {
  _ranges.clear();
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.find(_path) == std::string::npos) continue;
    Range range{};
    ino_t inode = 0;
    char dash = 0;
    std::string access, device;
    std::istringstream fields(line);
    fields >> std::hex >> range.begin >> dash >> range.end >> access >> range.offset >> device >>
        std::dec >> inode;
    if (inode == _inode) _ranges.push_back(range);
  }
}

Location MappedWords::locationOf(Word const* at) {
  auto const address = reinterpret_cast<std::uintptr_t>(at);
  for (bool const again : {true, false}) {
    for (Range const& range : _ranges) {
      if (address < range.begin || address >= range.end) continue;
      return static_cast<Location>((address - range.begin + range.offset) / sizeof(Word));
    }
    if (again) readMappings();
  }
  throw std::logic_error("an access outside of the table");
}

}  // namespace GlimModel
