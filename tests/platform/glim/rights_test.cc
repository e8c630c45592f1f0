// What another user may do with a table: read it, and nothing else.
#include <sys/file.h>

#include <cerrno>

#include "platform/dov/exception.h"
#include "tests/platform/glim/table_fixture.h"

namespace Glim {
namespace {

using GlimTest::exitedWith;
using GlimTest::inChild;
using GlimTest::Small;
using GlimTest::TableTest;

constexpr uid_t another = 65534;

class GlimRights : public TableTest {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can become another user";
  }

  // Runs `work` in a child process of the other user; whether it answered true.
  template <class Work>
  static bool asAnother(Work work) {
    return exitedWith(inChild([&] {
                        if (::setgid(another) != 0 || ::setuid(another) != 0) return 2;
                        return work() ? 0 : 1;
                      }),
                      0);
  }

  static bool refused(int result) { return result < 0 && (errno == EACCES || errno == EPERM); }
};

TEST_F(GlimRights, AnotherUserReads) {
  auto const sut = makeTable<Small>();
  sut->write({{1}, 10});
  EXPECT_TRUE(asAnother([&] {
    Reader<Small> reader(path());
    Small row;
    return reader.attach() == Answer::ok && reader.lookup({1}, row) == Answer::ok &&
           row.count == 10;
  }));
}

TEST_F(GlimRights, AnotherUserCanWriteNothing) {
  auto const sut = makeTable<Small>();
  EXPECT_TRUE(asAnother([&] {
    return refused(::open(file().c_str(), O_RDWR)) && refused(::truncate(file().c_str(), 0)) &&
           refused(::chmod(file().c_str(), 0666)) && refused(::unlink(file().c_str())) &&
           refused(::rename(file().c_str(), (file() + ".x").c_str())) &&
           refused(::open((path() + ".glim.new").c_str(), O_RDWR | O_CREAT, 0600));
  }));
  EXPECT_TRUE(asAnother([&] {
    int const fd = ::open(file().c_str(), O_RDONLY);
    void* const mapped = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    return mapped == MAP_FAILED && errno == EACCES;
  }));
}

TEST_F(GlimRights, AnotherUserCannotTouchTheLock) {
  auto const sut = makeTable<Small>();
  EXPECT_TRUE(asAnother([&] {
    return refused(::open((path() + ".lock").c_str(), O_RDONLY)) &&
           refused(::open((path() + ".lock").c_str(), O_RDWR)) &&
           refused(::unlink((path() + ".lock").c_str()));
  }));
}

TEST_F(GlimRights, AnotherUsersDirectoryIsRefused) {
  ASSERT_EQ(::chown(directory.c_str(), another, another), 0);
  EXPECT_THROW(makeTable<Small>(), Dov::NoPermissionException);
}

TEST_F(GlimRights, AnotherUserIsNoWriter) {
  { makeTable<Small>()->write({{1}, 10}); }
  EXPECT_TRUE(asAnother([&] {
    try {
      makeTable<Small>();
      return false;
    } catch (Dov::Exception const&) {
      return true;
    }
  }));
  EXPECT_EQ(makeTable<Small>()->lookup({1}).count, 10u);
}

// Every lock that can be had on a file that one may only read.
TEST_F(GlimRights, LocksOfAReaderBlockNeitherTheWriterNorItsSuccessor) {
  std::array<int, 2> locked{};
  std::array<int, 2> end{};
  ASSERT_EQ(::pipe(locked.data()), 0);
  ASSERT_EQ(::pipe(end.data()), 0);
  auto first = makeTable<Small>();
  first->write({{1}, 1});
  pid_t const reader = ::fork();
  if (reader == 0) {
    char wait = 0;
    ::close(end[1]);
    bool good = ::setgid(another) == 0 && ::setuid(another) == 0;
    int const fd = ::open(file().c_str(), O_RDONLY);
    struct flock shared {};
    shared.l_type = F_RDLCK;
    good = good && ::flock(fd, LOCK_EX) == 0 && ::fcntl(fd, F_SETLK, &shared) == 0;
    if (::write(locked[1], &good, sizeof good) != sizeof good) ::_exit(1);
    if (::read(end[0], &wait, 1) < 0) ::_exit(1);
    ::_exit(0);
  }
  bool good = false;
  ASSERT_EQ(::read(locked[0], &good, sizeof good), static_cast<ssize_t>(sizeof good));
  EXPECT_TRUE(good);
  first->write({{2}, 2});
  first = {};
  auto const successor = makeTable<Small>();
  successor->write({{3}, 3});
  EXPECT_EQ(successor->members(), 3u);
  for (int const fd : {end[0], end[1], locked[0], locked[1]}) ::close(fd);
  int status = 0;
  ::waitpid(reader, &status, 0);
  EXPECT_TRUE(exitedWith(status, 0));
}

}  // namespace
}  // namespace Glim
