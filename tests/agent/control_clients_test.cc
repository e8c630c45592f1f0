// Clients that are slow, many, or gone.
#include <sys/resource.h>

#include <list>

#include "tests/agent/control_server_fixture.h"
#include "tests/support/open_descriptors.h"

namespace Agent {
namespace {

constexpr char kGetSize[] = R"({"op":"get","path":"top","attribute":"size"})"
                            "\n";

TEST_F(ControlServerTest, AClientThatSaysNothingIsLetGo) {
  TestClient client(directory);
  turn();
  time.nowIs(time.now() + ControlConnection::kPatience - 0.1);
  turn();
  EXPECT_EQ(sut->clients(), 1u);
  time.nowIs(time.now() + 0.1);
  turn();
  EXPECT_EQ(sut->clients(), 0u);
  EXPECT_EQ(codeOf(client.received()), "timeout");
}

TEST_F(ControlServerTest, DripsDoNotKeepAClient) {
  TestClient client(directory);
  for (int i = 0; i < 62; ++i) {
    client.send("{");
    turn();
    time.nowIs(time.now() + 0.5);
  }
  EXPECT_EQ(sut->clients(), 0u);
}

TEST_F(ControlServerTest, EachRequestKeepsAClient) {
  TestClient client(directory);
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(ask(client, R"({"op":"get","path":"top","attribute":"size"})"), valueLine(0));
    time.nowIs(time.now() + ControlConnection::kPatience - 1.0);
  }
  EXPECT_EQ(sut->clients(), 1u);
}

// Sends for ever and reads nothing: it is stopped by the socket's own room, and the others go on.
TEST_F(ControlServerTest, AClientThatNeverReadsIsHeldBackAndLetGo) {
  for (int i = 0; i < 200; ++i) top->boxIs(std::string(100, 'k') + std::to_string(i));
  TestClient deaf(directory), other(directory);
  std::string const lines = [] {
    std::string all;
    for (int i = 0; i < 100; ++i)
      all += R"({"op":"ls","path":"top/box"})"
             "\n";
    return all;
  }();
  std::size_t idle = 0;
  for (int i = 0; i < 1000 && idle < 20; ++i) {
    idle = deaf.send(lines) == 0 ? idle + 1 : 0;
    turn();
  }
  EXPECT_EQ(idle, 20u);  // no more was taken in
  EXPECT_GT(wanted, 0.0);
  EXPECT_EQ(ask(other, R"({"op":"get","path":"top","attribute":"size"})"), valueLine(0));
  time.nowIs(time.now() + ControlConnection::kPatience);
  turn();
  EXPECT_EQ(sut->clients(), 0u);
}

TEST_F(ControlServerTest, ManyRequestsOfOneDoNotKeepAnotherWaiting) {
  TestClient busy(directory), other(directory);
  turn();
  std::string lines;
  for (int i = 0; i < 300; ++i) lines += kGetSize;
  busy.send(lines);
  turn();
  EXPECT_EQ(wanted, 0.0);  // a turn does a part of them
  other.send(kGetSize);
  turn();
  EXPECT_EQ(other.received(), valueLine(0));
}

TEST_F(ControlServerTest, ATurnDoesNoMoreRequestsThanItsShare) {
  TestClient busy(directory);
  turn();
  std::string lines;
  for (int i = 0; i < 3 * ControlServer::kRequestsPerTurn; ++i) lines += kGetSize;
  busy.send(lines);
  turn();
  auto const answers = busy.received();
  EXPECT_EQ(std::count(answers.begin(), answers.end(), '\n'), ControlServer::kRequestsPerTurn);
}

TEST_F(ControlServerTest, ATurnBeginsNoRequestOnceItsTimeIsOver) {
  sut.reset();
  steadyStep = ControlServer::kTurnShare / 4;  // what a look at the clock takes
  sut.emplace(loop, directory, requests(), steady(), [this](int) { return std::optional(user); });
  TestClient busy(directory);
  turn();
  std::string lines;
  for (int i = 0; i < ControlServer::kRequestsPerTurn; ++i) lines += kGetSize;
  busy.send(lines);
  Kel::Seconds const before = time.now();
  turn();
  EXPECT_LT(time.now() - before, 3 * ControlServer::kTurnShare);
  EXPECT_EQ(wanted, 0.0);
  auto const first = busy.received();
  auto const served = std::count(first.begin(), first.end(), '\n');
  EXPECT_GE(served, 1);
  EXPECT_LT(served, 5);
  turn(ControlServer::kRequestsPerTurn);
  auto const rest = busy.received();
  EXPECT_EQ(served + std::count(rest.begin(), rest.end(), '\n'), ControlServer::kRequestsPerTurn);
}

TEST_F(ControlServerTest, AReaderLeavesPlacesToOthers) {
  user = ::geteuid() + 1;
  std::list<TestClient> greedy;
  for (std::size_t i = 0; i <= ControlServer::kMaxReadersOfAUser; ++i)
    greedy.emplace_back(directory);
  turn(3);
  EXPECT_EQ(sut->clients(), ControlServer::kMaxReadersOfAUser);
  EXPECT_EQ(codeOf(greedy.back().received()), "busy");
  user = ::geteuid() + 2;
  TestClient other(directory);
  EXPECT_EQ(ask(other, R"({"op":"get","path":"top","attribute":"size"})"), valueLine(0));
}

TEST_F(ControlServerTest, MoreReadersThanThereArePlacesAreToldSoAndKeepNoWriterOut) {
  user = ::geteuid() + 1;
  std::list<TestClient> readers;
  for (std::size_t i = 1; i <= ControlServer::kMaxReaders + 5; ++i) {
    readers.emplace_back(directory);
    if (i % ControlServer::kMaxReadersOfAUser != 0) continue;
    turn();
    ++user;
  }
  turn(3);
  EXPECT_EQ(sut->clients(), ControlServer::kMaxReaders);
  EXPECT_EQ(codeOf(readers.back().received()), "busy");
  EXPECT_TRUE(readers.back().closed());
  user = ::geteuid();
  TestClient writer(directory);
  EXPECT_EQ(ask(writer, R"({"op":"set","path":"top","attribute":"size","value":"3"})"),
            "{\"ok\":true}\n");
  user = ::geteuid() + 1;
  readers.pop_front();  // one is done: its place is free
  turn();
  TestClient reader(directory);
  EXPECT_EQ(ask(reader, R"({"op":"get","path":"top","attribute":"size"})"), valueLine(3));
}

TEST_F(ControlServerTest, ClientsThatGoLeaveNothingBehind) {
  std::size_t const before = Support::openDescriptors();
  for (int i = 0; i < 50; ++i) {
    TestClient silent(directory), asking(directory), halfway(directory);
    asking.send(kGetSize);
    halfway.send("{\"op\":");
    if (i % 2 == 0) turn();
  }
  turn(20);
  EXPECT_EQ(sut->clients(), 0u);
  EXPECT_EQ(Support::openDescriptors(), before);
}

TEST_F(ControlServerTest, WithoutDescriptorsItWaitsAndDoesNotSpin) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer itself needs descriptors to look at objects";
#endif
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  TestClient client(directory);
  rlimit none = limit;
  none.rlim_cur = 3;
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  turn(3);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
  EXPECT_EQ(sut->clients(), 0u);
  turn(3);
  EXPECT_EQ(sut->clients(), 0u);  // not heeded before its time
  time.nowIs(time.now() + ControlServer::kAcceptRetry);
  turn(2);
  EXPECT_EQ(sut->clients(), 1u);
}

}  // namespace
}  // namespace Agent
