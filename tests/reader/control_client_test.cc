// Both ends of the control socket on one thread: what the agent says is there before it is waited
// for.
#include "reader/control_client.h"

#include <gmock/gmock.h>
#include <sys/socket.h>

#include <array>
#include <filesystem>

#include "platform/interface/control_socket.h"
#include "tests/support/temporary_folder.h"

namespace Show {
namespace {

using testing::HasSubstr;

class ControlClientTest : public testing::Test {
 protected:
  void listen(int backlog = 1) {
    server = Glim::FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un const address = Interface::controlAddress(directory, -1);
    ASSERT_EQ(::bind(server.get(), reinterpret_cast<sockaddr const*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(server.get(), backlog), 0);
  }
  void connect(double timeout = 0.01) {
    sut = std::make_unique<ControlClient>(directory, Trust::ownTables, timeout);
    peer = Glim::FileDescriptor(::accept(server.get(), nullptr, nullptr));
  }
  void say(std::string const& bytes) {
    EXPECT_EQ(::send(peer.get(), bytes.data(), bytes.size(), 0),
              static_cast<ssize_t>(bytes.size()));
  }
  std::string heard() {
    std::array<char, 4096> bytes;
    ssize_t const n = ::recv(peer.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    return n > 0 ? std::string(bytes.data(), static_cast<std::size_t>(n)) : std::string();
  }
  // The exit code of what is thrown.
  template <class Call>
  ExitCode refusal(Call const& call) {
    try {
      call();
    } catch (NoAnswer const& none) {
      why = none.what();
      return none.code();
    }
    return ExitCode::ok;
  }

  Support::TemporaryFolder folder{"/tmp"};  // $TMPDIR may be too long for a socket's address
  std::string directory = folder.text(), why;
  Glim::FileDescriptor server, peer;
  std::unique_ptr<ControlClient> sut;
};

TEST_F(ControlClientTest, AsksALineAndAnswersALine) {
  listen();
  connect(10.0);
  say("one\ntwo\n");
  EXPECT_EQ(sut->ask("first"), "one");
  EXPECT_EQ(sut->ask("second"), "two");
  EXPECT_EQ(heard(), "first\nsecond\n");
}

TEST_F(ControlClientTest, WhereNobodyListensThereIsNoAgent) {
  EXPECT_EQ(refusal([&] { connect(); }), ExitCode::noAgent);
  EXPECT_THAT(why, HasSubstr("oru-agentd --tables " + directory));
  listen();
  server = {};  // as after a kill
  EXPECT_EQ(refusal([&] { connect(); }), ExitCode::noAgent);
  directory += "/nowhere";
  EXPECT_EQ(refusal([&] { connect(); }), ExitCode::noAgent);
}

TEST_F(ControlClientTest, AnAgentThatDoesNotAnswerIsNotWaitedForForEver) {
  listen();
  connect(0.01);
  EXPECT_EQ(refusal([&] { sut->ask("anything"); }), ExitCode::agentFailed);
  EXPECT_THAT(why, HasSubstr("did not answer within 0.01 s"));
}

TEST_F(ControlClientTest, HalfAnAnswerIsNone) {
  listen();
  connect(0.01);
  say("half");
  EXPECT_EQ(refusal([&] { sut->ask("anything"); }), ExitCode::agentFailed);
}

TEST_F(ControlClientTest, AnAgentThatTakesNothingIsNotWaitedForForEver) {
  listen();
  connect(0.01);
  EXPECT_EQ(refusal([&] { sut->ask(std::string(16 * 1024 * 1024, 'x')); }), ExitCode::agentFailed);
}

TEST_F(ControlClientTest, AnAgentThatClosesWithoutAnAnswerFailed) {
  listen();
  connect(10.0);
  peer = {};
  EXPECT_EQ(refusal([&] { sut->ask("anything"); }), ExitCode::agentFailed);
  EXPECT_THAT(why, HasSubstr("closed the connection"));
}

// As where it has as many clients as it takes.
TEST_F(ControlClientTest, WhatAnAgentSaysBeforeItClosesIsHeard) {
  listen();
  connect(10.0);
  say("busy\n");
  peer = {};
  EXPECT_EQ(sut->ask("anything"), "busy");
}

}  // namespace
}  // namespace Show
