#include "tests/support/temporary_tables.h"

#include <stdlib.h>

#include <stdexcept>
#include <string>

namespace Support {

TemporaryTables::TemporaryTables() {
  std::string name = "/dev/shm/oru-test-XXXXXX";
  if (!mkdtemp(name.data())) throw std::runtime_error("cannot make a directory in /dev/shm");
  _directory = name;
}

TemporaryTables::~TemporaryTables() {
  std::error_code ignored;
  std::filesystem::remove_all(_directory, ignored);
}

}  // namespace Support
