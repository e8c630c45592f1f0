#include "hardware/simulated/script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace Hardware::Simulated {
namespace {

class ScriptTest : public testing::Test {
 protected:
  void read(std::string const& text) {
    std::istringstream script(text);
    readScript(script, chip);
  }
  std::string errorOf(std::string const& text) {
    try {
      read(text);
    } catch (ScriptError const& error) {
      return error.what();
    }
    return "none";
  }
  Sample sample(Seconds now) { return chip.port(Pekt::IntfId("Ethernet1")).sample(now); }

  Chip chip;
};

TEST_F(ScriptTest, SkipsEmptyLinesAndRemarks) {
  read("\n  # nothing\n");
  EXPECT_TRUE(chip.portsAt(0).empty());
}

TEST_F(ScriptTest, StartsAFlowAtItsTime) {
  read("at 10 port Ethernet1 inUcastPkts 1000pps 512B  # from ten on");
  EXPECT_EQ(sample(10).frames(Fate::inUcastPkts), 0u);
  EXPECT_EQ(sample(11).frames(Fate::inUcastPkts), 1000u);
  EXPECT_EQ(sample(11).inOctets, 512'000u);
}

TEST_F(ScriptTest, TakesFramesOf64OctetsWhereNoSizeIsGiven) {
  read("at 0 port Ethernet1 outUcastPkts 10pps");
  EXPECT_EQ(sample(1).outOctets, 640u);
}

TEST_F(ScriptTest, ReadsRatesInThousandsAndMillions) {
  read(
      "at 0 port Ethernet1 inUcastPkts 2.5kpps\n"
      "at 0 port Ethernet1 outUcastPkts 2Mpps\n");
  EXPECT_EQ(sample(1).frames(Fate::inUcastPkts), 2'500u);
  EXPECT_EQ(sample(1).frames(Fate::outUcastPkts), 2'000'000u);
}

TEST_F(ScriptTest, EndsABurst) {
  read("at 5 port Ethernet1 inUcastPkts 100pps for 2");
  EXPECT_EQ(sample(100).frames(Fate::inUcastPkts), 200u);
}

TEST_F(ScriptTest, RepeatsABurst) {
  read("at 0 port Ethernet1 inUcastPkts 100pps every 10 for 2");
  EXPECT_EQ(sample(100).frames(Fate::inUcastPkts), 2'000u);
}

TEST_F(ScriptTest, PutsAFlowInAQueue) {
  read("at 0 port Ethernet1 outUcastPkts 100pps 64B queue 7");
  EXPECT_EQ(chip.port(Pekt::IntfId("Ethernet1")).queues(1)[7].pkts, 100u);
}

TEST_F(ScriptTest, StopsResetsAndBreaks) {
  read(
      "at 0 port Ethernet1 fcsErrors 100pps\n"
      "at 10 port Ethernet1 reset\n"
      "at 12 port Ethernet1 stop\n"
      "at 20 port Ethernet1 break inErrors\n"
      "at 21 port Ethernet1 break outErrors\n");
  EXPECT_EQ(sample(10).inErrors, 0u);
  EXPECT_EQ(sample(15).inErrors, 200u);
  EXPECT_EQ(sample(20).inErrors, 201u);
  EXPECT_EQ(sample(21).outErrors, 1u);
}

TEST_F(ScriptTest, LetsPortsVanishAndAppear) {
  read(
      "at 0 port Ethernet1 vanish\n"
      "at 5 port Ethernet1 appear\n"
      "at 5 port Vlan10 vanish\n");
  EXPECT_THAT(chip.portsAt(4), testing::ElementsAre(Pekt::IntfId("Vlan10")));
  EXPECT_THAT(chip.portsAt(5), testing::ElementsAre(Pekt::IntfId("Ethernet1")));
}

TEST_F(ScriptTest, SetsWhereCountersStart) {
  read("at 0 port Ethernet1 count-from 18446744073709551615");
  EXPECT_EQ(sample(0).inOctets, ~std::uint64_t{0});
}

TEST_F(ScriptTest, TakesOptionalCountersAway) {
  read("at 0 port Ethernet1 no-optional-counters");
  EXPECT_FALSE(sample(0).optionalCounters);
}

TEST_F(ScriptTest, NamesTheLineAndTheReason) {
  EXPECT_EQ(errorOf("\nat 0 port Ethernet1 explode"), "line 2: unknown event 'explode'");
}

TEST_F(ScriptTest, KeepsTheLinesBeforeAnError) {
  errorOf("at 0 port Ethernet1 inUcastPkts 5pps\nnonsense");
  EXPECT_EQ(sample(1).frames(Fate::inUcastPkts), 5u);
}

struct Bad {
  char const* line;
  char const* reason;
};

class ScriptErrorTest : public ScriptTest, public testing::WithParamInterface<Bad> {};

TEST_P(ScriptErrorTest, IsRefused) {
  EXPECT_EQ(errorOf(GetParam().line), "line 1: " + std::string(GetParam().reason));
}

INSTANTIATE_TEST_SUITE_P(
    EachMistake, ScriptErrorTest,
    testing::Values(
        Bad{"in 5", "'in' where 'at' should stand"},
        Bad{"at", "ends where a number of seconds should stand"},
        Bad{"at x", "'x' is not a number of seconds"},
        Bad{"at -1", "'-1' is not a number of seconds"},
        Bad{"at inf", "'inf' is not a number of seconds"},
        Bad{"at nan", "'nan' is not a number of seconds"},
        Bad{"at 0 interface", "'interface' where 'port' should stand"},
        Bad{"at 0 port", "ends where the name of a port should stand"},
        Bad{"at 0 port eth0 reset", "'eth0' is no port: Ethernet<n> or Vlan<id>"},
        Bad{"at 0 port Ethernet1", "ends where what happens should stand"},
        Bad{"at 0 port Ethernet1 fcsErrors",
            "ends where a rate like 1000pps, 20kpps or 1.5Mpps should stand"},
        Bad{"at 0 port Ethernet1 fcsErrors 5", "'5' is not a rate like 1000pps, 20kpps or 1.5Mpps"},
        Bad{"at 0 port Ethernet1 fcsErrors 20000Mpps", "a rate is at most 10000Mpps"},
        Bad{"at 0 port Ethernet1 fcsErrors 5pps 64", "'64' is too much"},
        Bad{"at 0 port Ethernet1 fcsErrors 5pps -1B", "'-1B' is not a size like 512B"},
        Bad{"at 0 port Ethernet1 fcsErrors 5pps queue 8", "there are queues 0 to 7 only"},
        Bad{"at 0 port Ethernet1 fcsErrors 5pps for 0", "no time at all"},
        Bad{"at 0 port Ethernet1 fcsErrors 5pps every 2", "ends where 'for' should stand"},
        Bad{"at 0 port Ethernet1 fcsErrors 5pps every 2 for 3",
            "a burst lasts longer than the time until the next"},
        Bad{"at 0 port Ethernet1 break fcsErrors",
            "only inErrors and outErrors can be broken, not 'fcsErrors'"},
        Bad{"at 0 port Ethernet1 count-from 18446744073709551616",
            "'18446744073709551616' is not a count"},
        Bad{"at 0 port Ethernet1 reset now", "'now' is too much"}),
    [](auto const& test) { return "Line" + std::to_string(test.index); });

TEST_F(ScriptTest, RefusesToGoBackInTime) {
  EXPECT_EQ(errorOf("at 5 port Ethernet1 reset\nat 4 port Ethernet1 reset"),
            "line 2: goes back in time");
}

}  // namespace
}  // namespace Hardware::Simulated
