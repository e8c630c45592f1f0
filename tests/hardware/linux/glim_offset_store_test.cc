#include "hardware/linux/glim_offset_store.h"

#include <gtest/gtest.h>

#include "tests/platform/glim/table_fixture.h"
#include "tests/support/published_schema.h"
#include "tests/support/temporary_folder.h"

namespace Hardware::Linux {
namespace {

class GlimOffsetStoreTest : public ::testing::Test {
 protected:
  GlimOffsetStore open(std::uint32_t maxRows = 16) {
    return GlimOffsetStore(Kel::make<GlimOffsetStore::Table>(
        debug, Glim::RootPath(debug, folder.text("offsets"), false),
        Glim::TableLimits{.maxRows = maxRows}));
  }
  static StoredOffsets offsets(std::uint64_t seed) {
    StoredOffsets made{{seed, static_cast<std::int64_t>(seed) + 1}, {}};
    for (std::size_t i = 0; i < kPortFields; ++i) made.offsets.counts[i] = seed * 100 + i;
    return made;
  }

  Dov::Platform::DebugHandler debug{0};
  Support::TemporaryFolder folder;
};

TEST_F(GlimOffsetStoreTest, OffsetsOutliveTheirWriter) {
  {
    auto sut = open();
    EXPECT_TRUE(sut.save("Ethernet1", offsets(1)));
    EXPECT_TRUE(sut.save("Ethernet2", offsets(2)));
    EXPECT_TRUE(sut.save("Ethernet1", offsets(3)));
  }
  auto sut = open();
  EXPECT_EQ(sut.load("Ethernet1"), offsets(3));
  EXPECT_EQ(sut.load("Ethernet2"), offsets(2));
  EXPECT_EQ(sut.load("Ethernet3"), std::nullopt);
}

TEST_F(GlimOffsetStoreTest, ErasedOffsetsAreGone) {
  auto sut = open();
  sut.save("Ethernet1", offsets(1));
  sut.erase("Ethernet1");
  sut.erase("Ethernet2");
  EXPECT_EQ(sut.load("Ethernet1"), std::nullopt);
}

TEST_F(GlimOffsetStoreTest, VisitorMayEraseWhatItVisits) {
  auto sut = open();
  for (int i = 1; i <= 5; ++i) sut.save("Ethernet" + std::to_string(i), offsets(1));
  int visited = 0;
  sut.forEach([&](Pekt::IntfId const& intfId) {
    ++visited;
    sut.erase(intfId);
  });
  EXPECT_EQ(visited, 5);
  EXPECT_EQ(sut.load("Ethernet3"), std::nullopt);
}

TEST_F(GlimOffsetStoreTest, FullTableIsAnAnswerAndLosesNothing) {
  auto sut = open(2);
  ASSERT_TRUE(sut.save("Ethernet1", offsets(1)));
  ASSERT_TRUE(sut.save("Ethernet2", offsets(2)));
  EXPECT_FALSE(sut.save("Ethernet3", offsets(3)));
  EXPECT_EQ(sut.load("Ethernet1"), offsets(1));
  EXPECT_TRUE(sut.save("Ethernet2", offsets(4)));
}

TEST_F(GlimOffsetStoreTest, ThePublishedSchemaIsTodaysOrCarriedOver) {
  Support::expectPublishedSchema<OffsetRow>(ORU_SOURCE_DIR "/tests/hardware/linux/schemas");
}

TEST_F(GlimOffsetStoreTest, OffsetsOfQueuesOutliveTheirWriterToo) {
  auto const openQueues = [this] {
    return GlimQueueOffsetStore(Kel::make<GlimQueueOffsetStore::Table>(
        debug, Glim::RootPath(debug, folder.text("queueOffsets"), false)));
  };
  StoredQueueOffsets made{{7, 8}, {}, {}};
  for (std::size_t i = 0; i < kQueueTotals; ++i) {
    made.sources[i] = 100 + i;
    made.offsets.pkts[i] = 200 + i;
    made.offsets.octets[i] = 300 + i;
    made.offsets.dropPkts[i] = 400 + i;
  }
  EXPECT_TRUE(openQueues().save("Ethernet1", made));
  EXPECT_EQ(openQueues().load("Ethernet1"), made);
}

TEST_F(GlimOffsetStoreTest, ThePublishedSchemaOfQueuesIsTodaysOrCarriedOver) {
  Support::expectPublishedSchema<QueueOffsetRow>(ORU_SOURCE_DIR "/tests/hardware/linux/schemas");
}

TEST_F(GlimOffsetStoreTest, ADamagedTableIsGivenUp) {
  using Order = void (*)(GlimOffsetStore&);
  for (auto const& [name, order] :
       {std::pair<char const*, Order>("erase", [](auto& sut) { sut.erase("Ethernet1"); }),
        std::pair<char const*, Order>(
            "save", [](auto& sut) { EXPECT_FALSE(sut.save("Ethernet1", offsets(2))); })}) {
    std::string const path = folder.text(name);
    auto const table = Kel::make<GlimOffsetStore::Table>(debug, Glim::RootPath(debug, path, false));
    GlimOffsetStore sut(table);
    ASSERT_TRUE(sut.save("Ethernet1", offsets(1)));
    GlimTest::Vandal(path + ".glim").slotWord(0, 0) += 2;
    EXPECT_NO_THROW(order(sut)) << name;
    EXPECT_FALSE(table->attached()) << name;
  }
}

TEST_F(GlimOffsetStoreTest, DetachedTableKeepsNothingAndSaysSo) {
  auto const table = Kel::make<GlimOffsetStore::Table>(
      debug, Glim::RootPath(debug, folder.text("offsets"), false));
  GlimOffsetStore sut(table);
  table->detach();
  EXPECT_FALSE(sut.save("Ethernet1", offsets(1)));
  EXPECT_EQ(sut.load("Ethernet1"), std::nullopt);
}

}  // namespace
}  // namespace Hardware::Linux
