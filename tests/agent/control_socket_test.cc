#include "agent/control_socket.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "tests/agent/control_client.h"
#include "tests/support/temporary_tables.h"

namespace Agent {
namespace {

class ControlSocketTest : public testing::Test {
 protected:
  void open() { sut = std::make_unique<ControlSocket>(directory); }
  std::string path() const { return directory + "/control"; }
  struct ::stat seen() const {
    struct ::stat status {};
    EXPECT_EQ(::lstat(path().c_str(), &status), 0);
    return status;
  }
  // What an agent that was killed leaves: a socket at which nobody listens.
  void leaveSocket() {
    int const fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un const address = Interface::controlAddress(directory, -1);
    EXPECT_EQ(::bind(fd, reinterpret_cast<sockaddr const*>(&address), sizeof address), 0);
    Glim::FileDescriptor const closed(fd);
  }

  Support::TemporaryTables place;
  std::string directory = place.directory().string();
  std::unique_ptr<ControlSocket> sut;
};

TEST_F(ControlSocketTest, LetsEverybodyConnect) {
  open();
  EXPECT_TRUE(S_ISSOCK(seen().st_mode));
  EXPECT_EQ(seen().st_mode & 0777, 0666u);
  EXPECT_TRUE(TestClient(directory).connected());
}

TEST_F(ControlSocketTest, IsRemovedAtTheEnd) {
  open();
  sut.reset();
  EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(ControlSocketTest, OneThatAKilledAgentLeftIsReplaced) {
  leaveSocket();
  EXPECT_FALSE(TestClient(directory).connected());
  open();
  EXPECT_TRUE(TestClient(directory).connected());
}

TEST_F(ControlSocketTest, WhatIsNoSocketStaysAndIsAnError) {
  std::ofstream(path()) << "somebody's notes";
  EXPECT_THROW(open(), std::runtime_error);
  EXPECT_TRUE(std::filesystem::is_regular_file(path()));
}

TEST_F(ControlSocketTest, ALinkIsNotFollowed) {
  std::filesystem::create_symlink("elsewhere", path());
  EXPECT_THROW(open(), std::runtime_error);
  EXPECT_FALSE(std::filesystem::exists(directory + "/elsewhere"));
}

TEST_F(ControlSocketTest, AnothersSocketUnderItsNameIsNotRemoved) {
  open();
  std::filesystem::remove(path());
  leaveSocket();
  sut.reset();
  EXPECT_TRUE(std::filesystem::exists(path()));
}

TEST_F(ControlSocketTest, APathLongerThanAnAddressIsServed) {
  directory += "/" + std::string(200, 'd');
  std::filesystem::create_directory(directory);
  open();
  EXPECT_TRUE(TestClient(directory).connected());
  sut.reset();
  EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(ControlSocketTest, WithoutADirectoryItIsAnError) {
  directory += "/nowhere";
  EXPECT_THROW(open(), std::runtime_error);
}

}  // namespace
}  // namespace Agent
