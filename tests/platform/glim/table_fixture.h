// A directory on tmpfs for the length of a test, a debug handler that remembers, and ways to be
// rude to a table file.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/glim/collection.h"
#include "platform/glim/reader.h"
#include "tests/platform/glim/test_records.h"
#include "tests/support/temporary_folder.h"

namespace GlimTest {

struct Said {
  unsigned level;
  std::string source, function, text;
  bool operator==(Said const&) const = default;
};

// Runs `work` in a child process and answers its exit status as wait() gives it. The child ends
// without any cleaning up.
template <class Work>
int inChild(Work work) {
  pid_t const child = ::fork();
  if (child == 0) {
    int result = 99;
    try {
      result = work();
    } catch (...) {
    }
    ::_exit(result);
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  return status;
}
inline bool exitedWith(int status, int code) {
  return WIFEXITED(status) && WEXITSTATUS(status) == code;
}
inline bool killed(int status) { return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL; }

// A table file mapped for writing behind its writer's back.
class Vandal {
 public:
  explicit Vandal(std::string const& file) : _fd(::open(file.c_str(), O_RDWR | O_CLOEXEC)) {
    if (Glim::readHeader(_fd.get(), _header) != Glim::Answer::ok) return;
    _table = Glim::TableMapping::map(_fd.get(), _header.geometry, true);
  }
  Glim::Layout::Geometry const& geometry() const { return _header.geometry; }
  Glim::Word& word(std::size_t offset) { return *_table.wordAt(offset); }
  Glim::Word& bucket(Glim::Word i) { return _table.index()[i]; }
  Glim::Word& slotWord(Glim::Word slot, std::size_t i) { return _table.slotAt(slot)[i]; }
  Glim::Word version(Glim::Word slot) { return slotWord(slot, 0); }
  // The i-th word of the row that readers see.
  Glim::Word& rowWord(Glim::Word slot, std::size_t i) {
    Glim::Word const k = version(slot) / 2;
    return *(_table.slot(slot).row(k) + i);
  }
  int fd() const { return _fd.get(); }

 private:
  Glim::FileDescriptor _fd;
  Glim::HeaderCopy _header;
  Glim::TableMapping _table;
};

class TableTest : public testing::Test {
 protected:
  TableTest() { ::chmod(directory.c_str(), 0755); }

  std::string path(std::string const& name = "table") const { return directory + "/" + name; }
  std::string file(std::string const& name = "table") const { return path(name) + ".glim"; }
  Glim::RootPath root(std::string const& name = "table") { return {debug, path(name), false}; }

  template <class Record>
  using Table = Kel::Ptr<Glim::Collection<Record>>;
  template <class Record>
  Table<Record> makeTable(Glim::TableLimits const& limits = {}, std::string const& name = "table") {
    return Table<Record>::adopt(new Glim::Collection<Record>(debug, root(name), limits));
  }

  std::vector<std::string> texts(unsigned level) const {
    std::vector<std::string> found;
    for (Said const& message : said) {
      if (message.level == level) found.push_back(message.text);
    }
    return found;
  }

  Support::TemporaryFolder const folder;
  std::string const directory = folder.text();
  std::vector<Said> said;
  Dov::Platform::DebugHandler debug{
      0xff, [this](Dov::Platform::DebugHandler::Message const& message) {
        said.push_back({message.level, std::string(message.source), std::string(message.function),
                        std::string(message.text)});
      }};
};

}  // namespace GlimTest
