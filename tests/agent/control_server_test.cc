// Requests of all kinds, and the lines that they come in.
#include "tests/agent/control_server_fixture.h"

namespace Agent {
namespace {

using testing::HasSubstr;

constexpr char kGetSize[] = R"({"op":"get","path":"top","attribute":"size"})"
                            "\n";

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

}  // namespace
}  // namespace Agent
