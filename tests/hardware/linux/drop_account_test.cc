#include "hardware/linux/drop_account.h"

#include <gtest/gtest.h>

namespace Hardware::Linux {
namespace {

QdiscCounts drops(std::uint32_t count, std::uint64_t passed) {
  return {.pkts = passed, .octets = 100 * passed, .drops = count};
}

TEST(DropAccount, ShowsWhatTheFiltersDropped) {
  DropAccount sut(0);
  sut.advance(drops(7, 10));
  EXPECT_EQ(sut.count(), 7u);
}

TEST(DropAccount, GoesOnWhenThe32BitsWrap) {
  DropAccount sut(0);
  sut.advance(drops(0xfffffff0, 10));
  sut.advance(drops(0x10, 20));
  EXPECT_EQ(sut.count(), 0x100000010u);
  sut.advance(drops(0x20, 30));
  EXPECT_EQ(sut.count(), 0x100000020u);
}

TEST(DropAccount, ShowsAResetAsALowerCount) {
  DropAccount sut(0);
  sut.advance(drops(1000, 2000));
  sut.advance(drops(3, 10));
  EXPECT_EQ(sut.count(), 3u);
}

TEST(DropAccount, AResetNearTheEndOf32BitsIsNoWrap) {
  DropAccount sut(0);
  sut.advance(drops(0xfffffff0, 0x1ffffffff));
  sut.advance(drops(0x10, 20));
  EXPECT_EQ(sut.count(), 0x10u);
}

TEST(DropAccount, AResetBeyond32BitsIsShownToo) {
  DropAccount sut(0x100000010);
  sut.advance(drops(0x10, 5000));
  sut.advance(drops(0x20, 100));
  EXPECT_EQ(sut.count(), 0x20u);
}

TEST(DropAccount, GoesOnWithWhatAnAgentBeforePublished) {
  DropAccount sut(0x100000010);
  sut.advance(drops(0x12, 20));
  EXPECT_EQ(sut.count(), 0x100000012u);
}

TEST(DropAccount, AWrapBetweenTwoAgentsIsCarriedOver) {
  DropAccount sut(0xfffffff0);
  sut.advance(drops(0x12, 20));
  EXPECT_EQ(sut.count(), 0x100000012u);
}

TEST(DropAccount, AResetBetweenTwoAgentsIsShown) {
  DropAccount sut(1000);
  sut.advance(drops(3, 20));
  EXPECT_EQ(sut.count(), 3u);
}

TEST(DropAccount, WithoutFiltersNothingIsDropped) {
  DropAccount sut(1000);
  sut.advance(std::nullopt);
  EXPECT_EQ(sut.count(), 0u);
  sut.advance(drops(3, 20));
  EXPECT_EQ(sut.count(), 3u);
}

TEST(DropAccount, ACountOf64BitsIsShownAsItIs) {
  DropAccount sut(1000);
  sut.countIs(std::uint64_t{1} << 40);
  EXPECT_EQ(sut.count(), std::uint64_t{1} << 40);
  sut.countIs(3);
  EXPECT_EQ(sut.count(), 3u);
}

}  // namespace
}  // namespace Hardware::Linux
