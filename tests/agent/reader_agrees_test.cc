// The reader is built without the agent: what both must know alike is written down twice.
#include <gmock/gmock.h>

#include <algorithm>
#include <set>
#include <string>

#include "agent/control_request.h"
#include "counters/counters_sm.h"
#include "reader/asking.h"
#include "reader/poll_command.h"

namespace Agent {
namespace {

using OruTypes::CounterType;

TEST(ReaderAndAgent, CallTheKindsOfCountersByTheSameNumbers) {
  auto const numberOf = [](std::string_view name) {
    auto const at = std::find_if(Show::kPollKinds.begin(), Show::kPollKinds.end(),
                                 [&](auto const& kind) { return kind.name == name; });
    return at == Show::kPollKinds.end() ? std::string() : std::string(at->counterType);
  };
  auto const text = [](CounterType type) {
    return std::to_string(static_cast<std::uint32_t>(type));
  };
  EXPECT_EQ(numberOf("port"), text(CounterType::port));
  EXPECT_EQ(numberOf("queue"), text(CounterType::queue));
  EXPECT_EQ(numberOf("acl"), text(CounterType::aclDrop));
  EXPECT_EQ(numberOf("vlan"), text(CounterType::vlanIntf));
  EXPECT_EQ(numberOf("cpu"), text(CounterType::cpuPort));
  EXPECT_EQ(Show::kPollKinds.size(), 5u);
}

TEST(ReaderAndAgent, CallTheCollectionsOfPollersAlike) {
  std::set<std::string_view> collections;
  for (Kel::Attribute const& each : Oru::Counters::CountersSm::_kelType.attributes())
    if (each.kind == Kel::AttributeKind::collection) collections.insert(each.name);
  for (Show::PollKind const& kind : Show::kPollKinds)
    EXPECT_TRUE(collections.contains(kind.collection)) << kind.collection;
}

TEST(ReaderAndAgent, CallTheCodesOfRefusalsAlike) {
  // Those that the reader does not tell from a failure.
  std::set<std::string_view> known{name(ControlCode::badRequest), name(ControlCode::failed),
                                   name(ControlCode::busy), name(ControlCode::timeout)};
  for (auto const& [code, exitCode] : Show::kRefusals)
    EXPECT_TRUE(known.insert(code).second) << code << " twice";
  std::set<std::string_view> codes;
  for (auto code = ControlCode::badRequest; code <= ControlCode::timeout;
       code = static_cast<ControlCode>(static_cast<int>(code) + 1))
    codes.insert(name(code));
  EXPECT_EQ(known, codes);
}

}  // namespace
}  // namespace Agent
