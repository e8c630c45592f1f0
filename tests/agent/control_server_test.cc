// Clients of all kinds, on one thread and in virtual time.
#include "agent/control_server.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <filesystem>
#include <list>
#include <nlohmann/json.hpp>

#include "tests/agent/control_box.h"
#include "tests/agent/control_client.h"
#include "tests/support/temporary_tables.h"
#include "tests/support/virtual_time.h"

namespace Agent {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kGetSize[] = R"({"op":"get","path":"top","attribute":"size"})"
                            "\n";

std::size_t descriptors() {
  std::filesystem::directory_iterator const open("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(open), end(open)));
}

class ControlServerTest : public testing::Test {
 protected:
  // A turn of the agent: what is ready, then what is due.
  void turn(int times = 1) {
    for (int i = 0; i < times; ++i)
      loop.run([&] {
        loop.stop();
        wanted = sut->turn();
        return wanted;
      });
  }
  std::string ask(TestClient& client, std::string const& line) {
    client.send(line + "\n");
    turn(2);  // a newcomer is taken in one turn, and heard from in the next
    return client.received();
  }
  std::string codeOf(std::string const& answer) {
    auto const json = nlohmann::json::parse(answer, nullptr, false);
    return json.is_object() && json.contains("error") ? json["error"]["code"].get<std::string>()
                                                      : "none: " + answer;
  }
  static std::string valueLine(int n) {
    return R"({"ok":true,"value":")" + std::to_string(n) + "\"}\n";
  }

  Support::VirtualTime time;
  Support::TemporaryTables place;
  std::string directory = place.directory().string();
  Tables tables{directory, {.maxRows = 16}};
  Kel::Ptr<Box> top = Kel::instance<Box>(Kel::Name("top"));
  ObjectTree tree = [this] {
    ObjectTree all;
    all.rootIs("top", top);
    return all;
  }();
  EventLoop loop;
  uid_t user = ::geteuid();
  ControlDispatcher requests() {
    return ControlDispatcher(
        tree, Clearing(top, Kel::make<Oru::HwCliConfig>(), tables, [this] { return time.now(); }));
  }
  std::function<Kel::Seconds()> steady() {
    return [this] {
      time.nowIs(time.now() + steadyStep);
      return time.now();
    };
  }
  Kel::Seconds wanted = 0.0;
  Kel::Seconds steadyStep = 0.0;
  std::optional<ControlServer> sut{std::in_place, loop,
                                   directory,     requests(),
                                   steady(),      [this](int) { return std::optional(user); }};
};

// --- Requests ---

TEST_F(ControlServerTest, GetsSetsListsAndInvokes) {
  TestClient client(directory);
  EXPECT_EQ(ask(client, R"({"op":"get","path":"top","attribute":"size"})"), valueLine(0));
  EXPECT_EQ(ask(client, R"({"op":"set","path":"top","attribute":"size","value":"7"})"),
            "{\"ok\":true}\n");
  EXPECT_EQ(top->size(), 7);
  EXPECT_EQ(ask(client, R"({"op":"invoke","path":"top","operation":"say","arguments":["x y"]})"),
            "{\"ok\":true}\n");
  EXPECT_EQ(top->said(), "x y;");
  top->boxIs("a");
  EXPECT_EQ(ask(client, R"({"op":"ls"})"), "{\"ok\":true,\"names\":[\"top\"]}\n");
  EXPECT_EQ(ask(client, R"({"op":"ls","path":"top","attribute":"box"})"),
            "{\"ok\":true,\"names\":[\"a\"]}\n");
  EXPECT_EQ(ask(client, R"({"op":"ls","path":"top/box"})"), "{\"ok\":true,\"names\":[\"a\"]}\n");
  EXPECT_THAT(ask(client, R"({"op":"ls","path":"top"})"),
              HasSubstr(R"({"name":"size","kind":"value","access":["get","set"]})"));
  EXPECT_THAT(ask(client, R"({"op":"ls","path":"top"})"),
              HasSubstr(R"({"name":"say","kind":"operation","access":["invoke"],"arguments":1})"));
}

TEST_F(ControlServerTest, EachRefusalHasItsCode) {
  TestClient client(directory);
  auto const code = [&](char const* line) { return codeOf(ask(client, line)); };
  EXPECT_EQ(code("nonsense"), "badRequest");
  EXPECT_EQ(code(R"({"op":"dance"})"), "unknownOperation");
  EXPECT_EQ(code(R"({"op":"get","path":"low","attribute":"size"})"), "unknownPath");
  EXPECT_EQ(code(R"({"op":"get","path":"top","attribute":"depth"})"), "unknownPath");
  EXPECT_EQ(code(R"({"op":"ls","path":"top","attribute":"depth"})"), "unknownPath");
  EXPECT_EQ(code(R"({"op":"get","path":"top","attribute":"box"})"), "notSupported");
  EXPECT_EQ(code(R"({"op":"ls","path":"top","attribute":"size"})"), "notSupported");
  EXPECT_EQ(code(R"({"op":"set","path":"top","attribute":"name","value":"x"})"), "notSupported");
  EXPECT_EQ(code(R"({"op":"invoke","path":"top","operation":"size"})"), "notSupported");
  EXPECT_EQ(code(R"({"op":"set","path":"top","attribute":"size","value":"x"})"), "wrongArguments");
  EXPECT_EQ(code(R"({"op":"invoke","path":"top","operation":"say"})"), "wrongArguments");
  EXPECT_EQ(code(R"({"op":"invoke","path":"top","operation":"fail"})"), "failed");
  EXPECT_EQ(code(R"({"op":"invoke","path":"top","operation":"missNull"})"), "failed");
  EXPECT_EQ(code(R"({"op":"clear","names":["Ethernet1"]})"), "unknownInterface");
  EXPECT_EQ(top->said(), "");
}

TEST_F(ControlServerTest, WhatAnAttributeDoesNotOfferIsToldInTheWordsOfRequests) {
  TestClient client(directory);
  EXPECT_THAT(ask(client, R"({"op":"get","path":"top","attribute":"box"})"),
              HasSubstr("\"box does not offer get, but ls\""));
  EXPECT_THAT(ask(client, R"({"op":"ls","path":"top","attribute":"size"})"),
              HasSubstr("\"size does not offer ls, but get, set\""));
  EXPECT_THAT(ask(client, R"({"op":"invoke","path":"top","operation":"size"})"),
              HasSubstr("\"size does not offer invoke, but get, set\""));
}

TEST_F(ControlServerTest, ATextThatIsNoSuchValueIsToldWithItsPlace) {
  TestClient client(directory);
  top->sizeIs(7);
  EXPECT_THAT(ask(client, R"({"op":"set","path":"top","attribute":"size","value":"big"})"),
              HasSubstr(R"("size: cannot read \"big\"; it is 7 now")"));
  EXPECT_THAT(ask(client, R"({"op":"invoke","path":"top","operation":"grow","arguments":["x"]})"),
              HasSubstr(R"("argument 1 of grow: cannot read \"x\"")"));
  EXPECT_EQ(top->size(), 7);
}

TEST_F(ControlServerTest, OthersMayReadAndNotWrite) {
  user = ::geteuid() + 1;
  TestClient client(directory);
  for (char const* const line :
       {R"({"op":"set","path":"top","attribute":"size","value":"7"})",
        R"({"op":"invoke","path":"top","operation":"say","arguments":["x"]})",
        R"({"op":"clear","all":true})"})
    EXPECT_EQ(codeOf(ask(client, line)), "noPermission");
  EXPECT_EQ(top->size(), 0);
  EXPECT_EQ(top->said(), "");
  EXPECT_THAT(ask(client, R"({"op":"get","path":"top","attribute":"size"})"), valueLine(0));
  EXPECT_THAT(ask(client, R"({"op":"ls"})"), HasSubstr("top"));
}

TEST_F(ControlServerTest, TheKernelSaysWhoseTheClientIs) {
  TestClient client(directory);
  std::array<int, 2> ends{};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
  Glim::FileDescriptor const one(ends[0]), other(ends[1]);
  EXPECT_EQ(ControlServer::peerUser(one.get()), ::geteuid());
  EXPECT_EQ(ControlServer::peerUser(-1), std::nullopt);
}

// --- Lines ---

TEST_F(ControlServerTest, AnswersALineForALineInOrder) {
  TestClient client(directory);
  std::string lines, answers;
  for (int i = 0; i < 5; ++i) {
    lines += R"({"op":"set","path":"top","attribute":"size","value":")" + std::to_string(i) +
             "\"}\n" + kGetSize;
    answers += "{\"ok\":true}\n" + valueLine(i);
  }
  client.send(lines);
  turn(2);
  EXPECT_EQ(client.received(), answers);
}

TEST_F(ControlServerTest, TakesALineThatComesByteByByte) {
  TestClient client(directory);
  for (char const c : std::string_view(kGetSize)) {
    EXPECT_EQ(client.received(), "");
    client.send({&c, 1});
    turn();
  }
  EXPECT_EQ(client.received(), valueLine(0));
}

TEST_F(ControlServerTest, AClientThatEndsItsSideIsAnsweredAndLetGo) {
  TestClient client(directory);
  client.send(std::string(kGetSize) + R"({"op":"ls"})");  // its last line without an end
  client.endSending();
  turn(3);
  EXPECT_EQ(client.received(), valueLine(0) + "{\"ok\":true,\"names\":[\"top\"]}\n");
  EXPECT_TRUE(client.closed());
  EXPECT_EQ(sut->clients(), 0u);
}

TEST_F(ControlServerTest, ALineThatIsTooLongIsToldSoAndIsTheLast) {
  TestClient client(directory);
  std::string const junk(ControlConnection::kMaxLine + 1000, 'x');
  for (std::size_t sent = 0; sent < junk.size();) {
    std::size_t const n = client.send(std::string_view(junk).substr(sent));
    sent += n;
    turn();
    if (n == 0) break;
  }
  turn(10);
  EXPECT_EQ(codeOf(client.received()), "tooLong");
  EXPECT_TRUE(client.closed());
  EXPECT_EQ(sut->clients(), 0u);
}

TEST_F(ControlServerTest, TheLongestLineIsTaken) {
  TestClient client(directory);
  std::string line(kGetSize);
  line.insert(line.size() - 1, ControlConnection::kMaxLine - line.size(), ' ');
  for (std::size_t sent = 0; sent < line.size(); turn())
    sent += client.send(std::string_view(line).substr(sent));
  turn(5);
  EXPECT_EQ(client.received(), valueLine(0));
}

TEST_F(ControlServerTest, BytesThatAreNoTextAreRefusedAndTheNextLineIsTaken) {
  TestClient client(directory);
  EXPECT_EQ(codeOf(ask(client, std::string("\0\xff\xfe{", 4))), "badRequest");
  EXPECT_EQ(codeOf(ask(client, "")), "badRequest");
  EXPECT_EQ(ask(client, R"({"op":"get","path":"top","attribute":"size"})"), valueLine(0));
}

// --- Clients that are slow, many, or gone ---

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
  std::size_t const before = descriptors();
  for (int i = 0; i < 50; ++i) {
    TestClient silent(directory), asking(directory), halfway(directory);
    asking.send(kGetSize);
    halfway.send("{\"op\":");
    if (i % 2 == 0) turn();
  }
  turn(20);
  EXPECT_EQ(sut->clients(), 0u);
  EXPECT_EQ(descriptors(), before);
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
