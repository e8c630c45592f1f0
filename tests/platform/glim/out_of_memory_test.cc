// Tables on a tmpfs of 4 MB that runs full: clean errors, no signals, and every row stays.
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <functional>

#include "platform/dov/exception.h"
#include "tests/platform/glim/table_fixture.h"

namespace Glim {
namespace {

using GlimTest::exitedWith;
using GlimTest::inChild;
using GlimTest::Large;
using GlimTest::largeRow;
using GlimTest::NameKey;
using GlimTest::TableTest;

constexpr int mayNotMount = 77;

NameKey key(std::uint64_t i) { return NameKey("Ethernet" + std::to_string(i)); }
Large row(std::uint64_t i, std::uint64_t value) {
  return largeRow("Ethernet" + std::to_string(i), value);
}

struct Failed {
  int line;
  char const* what;
};

#define REQUIRE_THAT(...)            \
  if (!(__VA_ARGS__)) throw Failed { \
      __LINE__, #__VA_ARGS__         \
    }

// Each test runs in a child process that sees a tmpfs of its own at the tables' directory.
class GlimOutOfMemory : public TableTest {
 protected:
  void onSmallTmpfs(std::function<void()> const& test) {
    int const status = inChild([&] {
      if (!mountTmpfs()) return mayNotMount;
      try {
        test();
      } catch (Failed const& failed) {
        std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, failed.line, failed.what);
        return 1;
      }
      return 0;
    });
    if (exitedWith(status, mayNotMount)) GTEST_SKIP() << "may not mount a tmpfs here";
    EXPECT_TRUE(exitedWith(status, 0)) << status;
  }

  // Writes rows of value 7 until there is no memory left; how many, and what was said.
  std::uint64_t fill(Table<Large> const& table, std::string& message) {
    for (std::uint64_t i = 0;; ++i) {
      try {
        table->write(row(i, 7));
      } catch (Dov::ResourceException const& exception) {
        message = exception.message();
        return i;
      }
    }
  }

  // Takes the memory that is left, up to `but` bytes.
  void takeMemory(std::uint64_t but) {
    struct statvfs left {};
    ::statvfs(directory.c_str(), &left);
    std::uint64_t const bytes = left.f_bavail * left.f_bsize - but;
    FileDescriptor const file(::open(filler().c_str(), O_RDWR | O_CREAT, 0600));
    if (allocateFile(file, 0, bytes) != 0) throw Failed{__LINE__, "the memory can be taken"};
  }
  void giveMemoryBack() { ::unlink(filler().c_str()); }
  std::string filler() const { return directory + "/filler"; }

  bool allRows(std::uint64_t rows, std::uint64_t value) {
    Reader<Large> reader(path());
    if (reader.attach() != Answer::ok) return false;
    for (std::uint64_t i = 0; i < rows; ++i) {
      Large found;
      if (reader.lookup(key(i), found) != Answer::ok || found != row(i, value)) return false;
    }
    return reader.status().rows == rows;
  }
  bool exists(std::string const& name) const {
    return std::filesystem::exists(directory + "/" + name);
  }

 private:
  bool mountTmpfs() const {
    if (::unshare(CLONE_NEWNS) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    auto const mount = [&](char const* options) {
      return ::mount("tmpfs", directory.c_str(), "tmpfs", 0, options) == 0;
    };
    // Two huge pages would fill it; a kernel that has none does not know the option.
    return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           (mount("size=4m,mode=0755,huge=never") || mount("size=4m,mode=0755"));
  }
};

template <class Exception, class Work>
std::string messageOf(Work work) {
  try {
    work();
  } catch (Exception const& exception) {
    return exception.message();
  }
  return "";
}

TEST_F(GlimOutOfMemory, GrowthEndsInACleanErrorAndEveryRowStays) {
  onSmallTmpfs([&] {
    auto const table = makeTable<Large>();
    std::string message;
    std::uint64_t const rows = fill(table, message);
    REQUIRE_THAT(rows > 1000);
    REQUIRE_THAT(message == "table " + path() + " cannot grow beyond " + std::to_string(rows) +
                                " rows: No space left on device");
    REQUIRE_THAT(table->attached() && table->members() == rows);
    REQUIRE_THAT(table->lookup(key(rows - 1)) == row(rows - 1, 7));
    REQUIRE_THAT(allRows(rows, 7));
    // What is there goes on being written.
    for (std::uint64_t i = 0; i < rows; ++i) table->write(row(i, 8));
    REQUIRE_THAT(allRows(rows, 8));
    auto const slot = table->directWrite(key(0));
    slot->counts = row(0, 9).counts;
    table->commit(slot);
    REQUIRE_THAT(table->lookup(key(0)) == row(0, 9));
  });
}

TEST_F(GlimOutOfMemory, ADirectWriteOfANewRowIsTheSameError) {
  onSmallTmpfs([&] {
    auto const table = makeTable<Large>();
    std::string message;
    std::uint64_t const rows = fill(table, message);
    REQUIRE_THAT(messageOf<Dov::ResourceException>([&] { table->directWrite(key(rows)); }) ==
                 message);
    REQUIRE_THAT(table->attached() && allRows(rows, 7));
  });
}

TEST_F(GlimOutOfMemory, ARowMakesRoomForAnotherAndMemoryThatComesBackIsUsed) {
  onSmallTmpfs([&] {
    auto const table = makeTable<Large>();
    takeMemory(512 * 1024);
    std::string message;
    std::uint64_t const rows = fill(table, message);
    table->remove(key(3));
    table->write(row(rows, 7));
    REQUIRE_THAT(!messageOf<Dov::ResourceException>([&] { table->write(row(3, 7)); }).empty());
    giveMemoryBack();
    table->write(row(3, 7));
    REQUIRE_THAT(allRows(rows + 1, 7));
  });
}

TEST_F(GlimOutOfMemory, CreationEndsInACleanErrorAndLeavesNothing) {
  onSmallTmpfs([&] {
    takeMemory(64 * 1024);
    std::string const message = messageOf<Dov::ResourceException>([&] { makeTable<Large>(); });
    REQUIRE_THAT(message.starts_with("table " + path() + ": cannot allocate "));
    REQUIRE_THAT(message.ends_with(" bytes: No space left on device"));
    REQUIRE_THAT(!exists("table.glim") && !exists("table.glim.new"));
    giveMemoryBack();
    makeTable<Large>()->write(row(0, 7));
    REQUIRE_THAT(allRows(1, 7));
  });
}

TEST_F(GlimOutOfMemory, ATableIsTakenOverWithoutAnyMemory) {
  onSmallTmpfs([&] {
    std::string message;
    std::uint64_t const rows = fill(makeTable<Large>(), message);
    takeMemory(0);
    auto const table = makeTable<Large>();
    REQUIRE_THAT(table->conquest()->rows == rows);
    table->write(row(1, 7));
    REQUIRE_THAT(allRows(rows, 7));
  });
}

TEST_F(GlimOutOfMemory, AMoveThatFindsNoMemoryLeavesTheTableAsItWas) {
  onSmallTmpfs([&] {
    {
      auto const table = makeTable<Large>({.maxRows = 900});
      for (std::uint64_t i = 0; i < 900; ++i) table->write(row(i, 7));
    }
    Reader<Large> reader(path());
    REQUIRE_THAT(reader.attach() == Answer::ok);
    takeMemory(1024 * 1024);
    std::string const message =
        messageOf<Dov::ResourceException>([&] { makeTable<Large>({.maxRows = 2000}); });
    REQUIRE_THAT(message.starts_with("table " + path() + " cannot grow beyond "));
    REQUIRE_THAT(!exists("table.glim.new"));
    REQUIRE_THAT(reader.refresh() == Answer::ok && allRows(900, 7));
    REQUIRE_THAT(makeTable<Large>({.maxRows = 900})->members() == 900);
  });
}

TEST_F(GlimOutOfMemory, ACorruptionFileThatCannotBeWrittenIsOnlyTold) {
  onSmallTmpfs([&] {
    auto const table = makeTable<Large>();
    table->write(row(0, 7));
    takeMemory(0);
    GlimTest::Vandal(file()).rowWord(0, 10) ^= 1;
    REQUIRE_THAT(!table->contains(key(0)));
    REQUIRE_THAT(!table->attached());
    REQUIRE_THAT(texts(1).back().find("No space left on device") != std::string::npos);
  });
}

}  // namespace
}  // namespace Glim
