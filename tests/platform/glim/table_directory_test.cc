// Who may take a table, and where.
#include <gtest/gtest.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>

#include "tests/platform/glim/conquest_fixture.h"

namespace Glim {
namespace {

using GlimTest::exitedWith;
using GlimTest::inChild;
using GlimTest::killed;
using GlimTest::Small;

class GlimTableDirectory : public GlimTest::ConquestTest {
 protected:
  std::string refusal() {
    return messageOf<Dov::NoPermissionException>([&] { makeTable<Small>(); });
  }
};

TEST_F(GlimTableDirectory, ASecondWriterIsRefusedNamingTheFirst) {
  auto const first = makeTable<Small>();
  EXPECT_EQ(messageOf<Dov::NoPermissionException>([&] { makeTable<Small>(); }),
            "table " + path() + ": table.lock: the table already has a writer, process " +
                std::to_string(::getpid()));
  EXPECT_TRUE(first->attached());
  first->write({{1}, 1});
}

TEST_F(GlimTableDirectory, ASecondWriterInAnotherProcessIsRefused) {
  auto const first = makeTable<Small>();
  int const status = inChild([&] {
    std::string const message = messageOf<Dov::NoPermissionException>([&] { makeTable<Small>(); });
    return message.ends_with("process " + std::to_string(::getppid())) ? 0 : 1;
  });
  EXPECT_TRUE(exitedWith(status, 0));
}

TEST_F(GlimTableDirectory, AForkedChildThatOutlivesTheWriterBlocksNobody) {
  // The writer forks a child, which keeps every descriptor and mapping, and is killed.
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  int const status = inChild([&] {
    auto const table = makeTable<Small>();
    table->write({{1}, 1});
    pid_t const child = ::fork();
    if (child == 0) {
      ::pause();
      ::_exit(0);
    }
    if (::write(pipe[1], &child, sizeof child) != sizeof child) return 1;
    return ::kill(::getpid(), SIGKILL);
  });
  ASSERT_TRUE(killed(status));
  pid_t child = 0;
  ASSERT_EQ(::read(pipe[0], &child, sizeof child), static_cast<ssize_t>(sizeof child));
  EXPECT_EQ(::kill(child, 0), 0);  // it lives on
  EXPECT_EQ(makeTable<Small>()->conquest()->rows, 1u);
  ::kill(child, SIGKILL);
  for (int const end : pipe) ::close(end);
}

TEST_F(GlimTableDirectory, AForkedChildThatEndsLeavesTheLockToItsParent) {
  auto const first = makeTable<Small>();
  EXPECT_TRUE(exitedWith(inChild([] { return 0; }), 0));
  int const status = inChild(
      [&] { return refusal().ends_with("process " + std::to_string(::getppid())) ? 0 : 1; });
  EXPECT_TRUE(exitedWith(status, 0));
}

TEST_F(GlimTableDirectory, ARefusedWriterOfTheSameProcessLeavesTheLockToTheFirst) {
  auto const first = makeTable<Small>();
  EXPECT_THROW(makeTable<Small>(), Dov::NoPermissionException);
  int const status = inChild(
      [&] { return refusal().ends_with("process " + std::to_string(::getppid())) ? 0 : 1; });
  EXPECT_TRUE(exitedWith(status, 0));
}

TEST_F(GlimTableDirectory, AForkedChildThatDropsTheTableLeavesItToItsParent) {
  auto const sut = makeTable<Small>();
  int const status = inChild([&] {
    sut->detach();
    return 0;
  });
  EXPECT_TRUE(exitedWith(status, 0));
  Reader<Small> reader(path());
  ASSERT_EQ(reader.attach(), Answer::ok);
  EXPECT_EQ(reader.status().state, TableStatus::State::ready);
}

TEST_F(GlimTableDirectory, ADirectoryThatIsRefusedIsNotMade) {
  struct statfs system {};
  ASSERT_EQ(::statfs("/var/tmp", &system), 0);
  if (system.f_type == 0x01021994) GTEST_SKIP() << "/var/tmp is on tmpfs here";
  std::string const refused = "/var/tmp/oru-test-" + std::to_string(::getpid());
  RootPath const onDisk(debug, refused + "/table", true);
  EXPECT_THROW(Collection<Small>(debug, onDisk), Dov::NoPermissionException);
  EXPECT_NE(::access(refused.c_str(), F_OK), 0);
}

TEST_F(GlimTableDirectory, ADirectoryOnADiskIsRefused) {
  RootPath const onDisk(debug, "/proc/table", false);
  EXPECT_EQ(messageOf<Dov::NoPermissionException>([&] { Collection<Small>(debug, onDisk); }),
            "table /proc/table: /proc: tables live on tmpfs, and this directory does not");
}

TEST_F(GlimTableDirectory, AMissingDirectoryIsMadeOnlyWhenAskedFor) {
  std::string const where = directory + "/new/table";
  EXPECT_THROW(Collection<Small>(debug, RootPath(debug, where, false)), Dov::ResourceException);
  Collection<Small>(debug, RootPath(debug, where, true));
  EXPECT_TRUE(exists("new/table.glim"));
}

TEST_F(GlimTableDirectory, ADirectoryThatIsMadeIsOpenToReadersWhateverTheUmask) {
  mode_t const umask = ::umask(0077);
  Collection<Small> const sut(debug, RootPath(debug, directory + "/made/table", true));
  ::umask(umask);
  struct stat status {};
  ASSERT_EQ(::stat((directory + "/made").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0755u);
}

TEST_F(GlimTableDirectory, ADirectoryWhereOthersMayWriteIsRefusedUnlessItIsSticky) {
  ::chmod(directory.c_str(), 0777);
  EXPECT_THROW(makeTable<Small>(), Dov::NoPermissionException);
  ::chmod(directory.c_str(), 01777);
  makeTable<Small>();
}

TEST_F(GlimTableDirectory, ALockThatSomebodyRemovedIsNoticed) {
  auto const sut = makeTable<Small>();
  EXPECT_TRUE(sut->map().implementation().validateFiles());
  std::filesystem::remove(path() + ".lock");
  EXPECT_FALSE(sut->map().implementation().validateFiles());
}

TEST_F(GlimTableDirectory, AnotherWriterOfTheSameFileIsNoticed) {
  auto const sut = makeTable<Small>();
  std::filesystem::remove(path() + ".lock");
  { auto const another = makeTable<Small>(); }
  EXPECT_FALSE(sut->map().implementation().validateFiles());
}

TEST_F(GlimTableDirectory, ALinkInPlaceOfTheFileIsNoticed) {
  auto const sut = makeTable<Small>();
  std::filesystem::rename(file(), file() + ".x");
  std::filesystem::create_symlink(file() + ".x", file());
  EXPECT_FALSE(sut->map().implementation().validateFiles());
}

TEST_F(GlimTableDirectory, ASymbolicLinkInPlaceOfTheTableIsRefused) {
  writeTenRows();
  std::filesystem::rename(file(), directory + "/elsewhere");
  std::filesystem::create_symlink(directory + "/elsewhere", file());
  EXPECT_THROW(makeTable<Small>(), Dov::NoPermissionException);
}

TEST_F(GlimTableDirectory, ADirectoryInPlaceOfTheTableIsRefused) {
  std::filesystem::create_directory(file());
  EXPECT_THROW(makeTable<Small>(), Dov::NoPermissionException);
}

TEST_F(GlimTableDirectory, ATableThatOthersMayWriteIsRefused) {
  writeTenRows();
  ::chmod(file().c_str(), 0666);
  EXPECT_THROW(makeTable<Small>(), Dov::NoPermissionException);
}

TEST_F(GlimTableDirectory, ALockThatOthersMayOpenIsRefused) {
  writeTenRows();
  ::chmod((path() + ".lock").c_str(), 0644);
  EXPECT_THROW(makeTable<Small>(), Dov::NoPermissionException);
}

}  // namespace
}  // namespace Glim
