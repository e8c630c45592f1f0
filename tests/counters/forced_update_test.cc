// Forced updates: one poll of one poller, now.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "counters/pollers/unit.h"
#include "tests/counters/counters_fixture.h"
#include "tests/support/trace_capture.h"

namespace {

using Support::Calls;
using Support::eth1;
using Support::eth2;

class ForcedUpdates : public Support::CountersFixture {};
using ForcedUpdatesDeathTest = ForcedUpdates;

TEST_F(ForcedUpdates, OfAKindThatIsNoneAreTracedAlone) {
  makeInitialized();
  log.clear();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->updateCounters(OruTypes::CounterType{7}, eth1);
  EXPECT_EQ(trace.lines(), Calls{"7 updateCounters counter type: 7, intf: Ethernet1"});
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(ForcedUpdatesDeathTest, OfAKindWithoutPollersAreTracedBeforeTheyEndTheProcess) {
  makeInitialized();
  for (std::uint32_t const type : {4u, 5u}) {
    EXPECT_DEATH(
        {
          Oru::Counters::_defaultTraceHandle().levelsIs(~0u);
          Kel::traceSinkIs([](Kel::TraceLine const& line) {
            std::fprintf(stderr, "%s\n", std::string(line.text).c_str());
          });
          sut->updateCounters(OruTypes::CounterType{type}, eth1);
        },
        "updateCounters counter type: " + std::to_string(type) +
            ", intf: Ethernet1\n(.|\n)*Assertion `0' failed");
  }
}

TEST_F(ForcedUpdates, ReachThePortPoller) {
  makeInitialized();
  addIntf(eth1);
  log.clear();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->updateCounters(OruTypes::CounterType::port, eth1);
  EXPECT_EQ(log.calls(), (Calls{"getCounters Ethernet1", "live.counterIs Ethernet1"}));
  EXPECT_EQ(trace.lines().front(), "7 updateCounters counter type: 1, intf: Ethernet1");
}

TEST_F(ForcedUpdates, OfAnUnknownPortOrKindDoNothing) {
  makeInitialized();
  addIntf(eth1);
  log.clear();
  sut->updateCounters(OruTypes::CounterType::port, eth2);
  sut->updateCounters(OruTypes::CounterType{7}, eth1);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(ForcedUpdatesDeathTest, OfAKindThatIsNotPolledHereEndTheProcess) {
  makeInitialized();
  EXPECT_DEATH(sut->updateCounters(OruTypes::CounterType{4}, eth1),
               "OruCountersSm:[0-9]+: .*CountersSm::updateCounters.*Assertion `0' failed");
  EXPECT_DEATH(sut->updateCounters(OruTypes::CounterType{5}, eth1),
               "OruCountersSm:[0-9]+: .*CountersSm::updateCounters.*Assertion `0' failed");
}

}  // namespace
