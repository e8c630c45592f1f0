#include "agent/control_request.h"

#include <gmock/gmock.h>

namespace Agent {
namespace {

using Operation = ControlRequest::Operation;
using testing::ElementsAre;
using testing::IsEmpty;

ControlCode refusal(std::string_view line) {
  try {
    readControlRequest(line);
  } catch (ControlError const& error) {
    EXPECT_STRNE(error.what(), "") << line;
    return error.code();
  }
  ADD_FAILURE() << "taken: " << line;
  return ControlCode::failed;
}

TEST(ControlRequest, GetNamesAnAttributeOfAPath) {
  auto const sut = readControlRequest(R"({"op":"get","path":"a/b/c","attribute":"x"})");
  EXPECT_EQ(sut.operation, Operation::get);
  EXPECT_EQ(sut.path, "a/b/c");
  EXPECT_EQ(sut.attribute, "x");
  EXPECT_FALSE(sut.changes());
}

TEST(ControlRequest, LsNeedsNothing) {
  auto const sut = readControlRequest(R"({"op":"ls"})");
  EXPECT_EQ(sut.operation, Operation::ls);
  EXPECT_EQ(sut.path, "");
  EXPECT_FALSE(sut.changes());
}

TEST(ControlRequest, SetHasAValue) {
  auto const sut = readControlRequest(R"({"op":"set","path":"a","attribute":"x","value":""})");
  EXPECT_EQ(sut.operation, Operation::set);
  EXPECT_EQ(sut.value, "");
  EXPECT_TRUE(sut.changes());
}

TEST(ControlRequest, InvokeHasArgumentsOrNone) {
  auto const sut =
      readControlRequest(R"({"op":"invoke","path":"a","operation":"f","arguments":["1","ü"]})");
  EXPECT_EQ(sut.attribute, "f");
  EXPECT_THAT(sut.arguments, ElementsAre("1", "ü"));
  EXPECT_TRUE(sut.changes());
  EXPECT_THAT(readControlRequest(R"({"op":"invoke","path":"a","operation":"f"})").arguments,
              IsEmpty());
}

TEST(ControlRequest, ClearNamesInterfacesOrAll) {
  EXPECT_THAT(readControlRequest(R"({"op":"clear","names":["Ethernet1"]})").names,
              ElementsAre("Ethernet1"));
  EXPECT_THAT(readControlRequest(R"({"op":"clear","all":true})").names, IsEmpty());
  EXPECT_TRUE(readControlRequest(R"({"op":"clear","all":true})").changes());
}

TEST(ControlRequest, ClearIsOfIntfsOrOfVlans) {
  EXPECT_FALSE(readControlRequest(R"({"op":"clear","names":["Ethernet1"]})").ofVlans);
  EXPECT_FALSE(readControlRequest(R"({"op":"clear","all":true})").ofVlans);
  EXPECT_TRUE(readControlRequest(R"({"op":"clear","allVlans":true})").ofVlans);
  auto const vlans = readControlRequest(R"({"op":"clear","vlans":["10","20"]})");
  EXPECT_TRUE(vlans.ofVlans);
  EXPECT_EQ(vlans.names, (std::vector<std::string>{"10", "20"}));
}

// A slip must not clear everything.
TEST(ControlRequest, ClearOfNothingNamedIsRefused) {
  for (char const* const line :
       {R"({"op":"clear"})", R"({"op":"clear","names":[]})", R"({"op":"clear","all":false})",
        R"({"op":"clear","all":1})", R"({"op":"clear","all":true,"names":["Ethernet1"]})",
        R"({"op":"clear","vlans":[]})", R"({"op":"clear","vlans":[10]})",
        R"({"op":"clear","allVlans":false})", R"({"op":"clear","allVlans":true,"vlans":["10"]})",
        R"({"op":"clear","names":["Ethernet1"],"vlans":["10"]})",
        R"({"op":"clear","all":true,"allVlans":true})"})
    EXPECT_EQ(refusal(line), ControlCode::badRequest);
}

TEST(ControlRequest, WhatIsNotJsonIsRefused) {
  for (char const* const line : {"", " ", "get", "{", "{\"op\":\"ls\"", "{\"op\":\"ls\"}}",
                                 "{'op':'ls'}", "{\"op\":\"ls\",}", "\x01", "nan", "1e999"})
    EXPECT_EQ(refusal(line), ControlCode::badRequest) << line;
}

TEST(ControlRequest, WhatIsNoObjectIsRefused) {
  for (char const* const line : {"[]", "null", "1", "\"ls\"", "[{\"op\":\"ls\"}]"})
    EXPECT_EQ(refusal(line), ControlCode::badRequest) << line;
}

TEST(ControlRequest, WrongTypesAndMissingAndUnknownMembersAreRefused) {
  for (char const* const line :
       {R"({"op":1})", R"({})", R"({"op":"get"})", R"({"op":"get","path":"a"})",
        R"({"op":"get","path":1,"attribute":"x"})", R"({"op":"get","path":null,"attribute":"x"})",
        R"({"op":"set","path":"a","attribute":"x","value":5})",
        R"({"op":"invoke","path":"a","operation":"f","arguments":"x"})",
        R"({"op":"invoke","path":"a","operation":"f","arguments":[1]})",
        R"({"op":"clear","names":["a",[]]})", R"({"op":"ls","path":"a","depth":"2"})"})
    EXPECT_EQ(refusal(line), ControlCode::badRequest) << line;
}

TEST(ControlRequest, AnUnknownOperationIsRefusedAsSuch) {
  EXPECT_EQ(refusal(R"({"op":"dance"})"), ControlCode::unknownOperation);
  EXPECT_EQ(refusal(R"({"op":""})"), ControlCode::unknownOperation);
}

TEST(ControlRequest, TextsWithNulAndTextsThatAreNotUtf8AreRefused) {
  EXPECT_EQ(refusal(R"({"op":"ls","path":"a\u0000b"})"), ControlCode::badRequest);
  EXPECT_EQ(refusal(std::string_view("{\"op\":\"ls\",\"path\":\"a\0b\"}", 25)),
            ControlCode::badRequest);
  EXPECT_EQ(refusal("{\"op\":\"ls\",\"path\":\"\xff\xfe\"}"), ControlCode::badRequest);
  EXPECT_EQ(refusal(R"({"op":"ls","path":"\ud800"})"), ControlCode::badRequest);
}

TEST(ControlRequest, DeepNestingIsRefused) {
  EXPECT_EQ(refusal(R"({"op":"clear","names":[["a"]]})"), ControlCode::badRequest);
  EXPECT_EQ(refusal(std::string(60'000, '[')), ControlCode::badRequest);
  std::string objects;
  for (int i = 0; i < 10'000; ++i) objects += "{\"a\":";
  EXPECT_EQ(refusal(objects), ControlCode::badRequest);
}

TEST(ControlCode, EachHasItsName) {
  EXPECT_EQ(name(ControlCode::badRequest), "badRequest");
  EXPECT_EQ(name(ControlCode::unknownInterface), "unknownInterface");
  EXPECT_EQ(name(ControlCode::unknownVlan), "unknownVlan");
  EXPECT_EQ(name(ControlCode::timeout), "timeout");
}

}  // namespace
}  // namespace Agent
