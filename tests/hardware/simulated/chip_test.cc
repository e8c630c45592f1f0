#include "hardware/simulated/chip.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Hardware::Simulated {
namespace {

using Pekt::IntfId;

TEST(Chip, HasNoPortsUntilTheyAreMade) {
  Chip sut;
  EXPECT_EQ(sut.find(IntfId("Ethernet1")), nullptr);
  sut.port(IntfId("Ethernet1"));
  EXPECT_NE(sut.find(IntfId("Ethernet1")), nullptr);
}

TEST(Chip, ListsThePortsThatAreThereInNaturalOrder) {
  Chip sut = Chip::seeded(11, 1);
  for (unsigned port = 3; port < 10; ++port) {
    sut.port(IntfId("Ethernet" + std::to_string(port))).vanishAt(5);
  }
  EXPECT_THAT(sut.portsAt(5), testing::ElementsAre(IntfId("Ethernet1"), IntfId("Ethernet2"),
                                                   IntfId("Ethernet10"), IntfId("Ethernet11")));
}

TEST(Chip, NamesTheNextTimeAnyPortComesOrGoes) {
  Chip sut;
  sut.port(IntfId("Ethernet1")).vanishAt(9);
  sut.port(IntfId("Ethernet2")).vanishAt(5);
  EXPECT_EQ(sut.nextChangeAfter(0), 5);
  EXPECT_EQ(sut.nextChangeAfter(5), 9);
  EXPECT_EQ(sut.nextChangeAfter(9), Flow::forever);
}

TEST(SeededChip, CountsAlikeForTheSameSeed) {
  Chip const one = Chip::seeded(4, 7);
  Chip const other = Chip::seeded(4, 7);
  for (IntfId const& intfId : one.portsAt(0)) {
    EXPECT_EQ(one.find(intfId)->sample(1000), other.find(intfId)->sample(1000));
  }
}

TEST(SeededChip, CountsOtherwiseForAnotherSeedAndForAnotherPort) {
  Chip const one = Chip::seeded(2, 7);
  Chip const other = Chip::seeded(2, 8);
  IntfId const first("Ethernet1");
  EXPECT_NE(one.find(first)->sample(1000), other.find(first)->sample(1000));
  EXPECT_NE(one.find(first)->sample(1000), one.find(IntfId("Ethernet2"))->sample(1000));
}

TEST(SeededChip, GivesAPortTheSameTrafficHoweverManyOthersThereAre) {
  IntfId const first("Ethernet1");
  EXPECT_EQ(Chip::seeded(1, 7).find(first)->sample(1000),
            Chip::seeded(100, 7).find(first)->sample(1000));
}

TEST(SeededChip, CarriesTrafficBothWaysOnEveryPort) {
  Chip const sut = Chip::seeded(100, 7);
  for (IntfId const& intfId : sut.portsAt(0)) {
    Sample const sample = sut.find(intfId)->sample(60);
    EXPECT_GT(sample.inOctets, 0u);
    EXPECT_GT(sample.outOctets, 0u);
  }
}

}  // namespace
}  // namespace Hardware::Simulated
