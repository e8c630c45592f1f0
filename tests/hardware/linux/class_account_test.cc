#include "hardware/linux/class_account.h"

#include <gtest/gtest.h>

namespace Hardware::Linux {
namespace {

constexpr ClassSource kSource{.generation = 1, .tableHandle = 2, .handle = 3};
constexpr ClassSource kAnother{.generation = 1, .tableHandle = 9, .handle = 3};

ClassAccount fresh() { return {std::nullopt, std::nullopt}; }

TEST(ClassAccount, CountsWhatTheCounterHadFromTheStart) {
  ClassAccount sut = fresh();
  sut.advance(kSource, {5, 500});
  EXPECT_EQ(sut.totals(), (ClassCounts{5, 500}));
  EXPECT_TRUE(sut.mustSave());
  EXPECT_EQ(sut.stored(), (StoredClassOffsets{kSource, {0, 0}}));
}

TEST(ClassAccount, FollowsTheCounterWithoutSaving) {
  ClassAccount sut = fresh();
  sut.advance(kSource, {5, 500});
  sut.saved();
  sut.advance(kSource, {7, 640});
  EXPECT_EQ(sut.totals(), (ClassCounts{7, 640}));
  EXPECT_FALSE(sut.mustSave());
}

TEST(ClassAccount, CounterThatWentBackwardsExtendsTheTotals) {
  ClassAccount sut = fresh();
  sut.advance(kSource, {5, 500});
  sut.advance(kSource, {2, 90});
  EXPECT_EQ(sut.totals(), (ClassCounts{7, 590}));
}

TEST(ClassAccount, OneCountThatWentBackwardsIsEnough) {
  ClassAccount sut = fresh();
  sut.advance(kSource, {5, 500});
  sut.advance(kSource, {6, 90});  // many small packets since the reset
  EXPECT_EQ(sut.totals(), (ClassCounts{11, 590}));
}

TEST(ClassAccount, CounterThatWasMadeAnewExtendsTheTotalsHoweverMuchItCounted) {
  ClassAccount sut = fresh();
  sut.advance(kSource, {5, 500});
  sut.advance(kAnother, {8, 900});
  EXPECT_EQ(sut.totals(), (ClassCounts{13, 1400}));
}

TEST(ClassAccount, ResetLosesNothing) {
  ClassAccount sut = fresh();
  sut.advance(kSource, {5, 500});
  sut.reset(kSource, {6, 600});
  EXPECT_EQ(sut.totals(), (ClassCounts{6, 600}));
  sut.advance(kSource, {9, 900});  // more than before the reset
  EXPECT_EQ(sut.totals(), (ClassCounts{15, 1500}));
}

TEST(ClassAccount, ResetOfACounterThatStartedAnewMeanwhileAddsWhatItCounted) {
  ClassAccount sut = fresh();
  sut.advance(kSource, {5, 500});
  sut.reset(kSource, {2, 200});
  EXPECT_EQ(sut.totals(), (ClassCounts{7, 700}));
}

TEST(ClassAccount, GoesOnAfterARestart) {
  ClassAccount before = fresh();
  before.advance(kSource, {5, 500});
  before.reset(kSource, {5, 500});
  before.advance(kSource, {1, 100});
  ClassAccount sut(before.totals(), before.stored());
  EXPECT_TRUE(sut.continues());
  sut.advance(kSource, {4, 400});
  EXPECT_EQ(sut.totals(), (ClassCounts{9, 900}));
}

TEST(ClassAccount, SeesAfterARestartThatTheCounterStartedAnew) {
  ClassAccount before = fresh();
  before.advance(kSource, {5, 500});
  for (auto const& [source, counts] :
       {std::pair(kSource, ClassCounts{3, 300}), std::pair(kAnother, ClassCounts{6, 600})}) {
    ClassAccount sut(before.totals(), before.stored());
    sut.advance(source, counts);
    EXPECT_EQ(sut.totals().pkts, 5 + counts.pkts);
  }
}

TEST(ClassAccount, WithoutOneOfRowAndOffsetsBeginsAnew) {
  StoredClassOffsets const stored{kSource, {3, 300}};
  for (ClassAccount sut :
       {ClassAccount(ClassCounts{9, 900}, std::nullopt), ClassAccount(std::nullopt, stored)}) {
    EXPECT_FALSE(sut.continues());
    sut.advance(kSource, {4, 400});
    EXPECT_EQ(sut.totals(), (ClassCounts{4, 400}));
  }
}

TEST(ClassAccount, TotalsThatWereNotPublishedAfterTheirOffsetGoOnFromTheOffset) {
  ClassAccount before = fresh();
  before.advance(kSource, {5, 500});
  ClassCounts const published = before.totals();
  before.reset(kSource, {6, 600});
  for (auto const& [source, counts] :
       {std::pair(kSource, ClassCounts{2, 200}), std::pair(kAnother, ClassCounts{2, 200})}) {
    ClassAccount sut(published, before.stored());
    EXPECT_TRUE(sut.continues());
    sut.advance(source, counts);
    EXPECT_EQ(sut.totals(), (ClassCounts{8, 800}));
  }
}

TEST(ClassAccount, OfTotalsAndOffsetsEachCountGoesOnFromTheLater) {
  ClassAccount const sut(ClassCounts{2, 200}, StoredClassOffsets{kSource, {3, 100}});
  EXPECT_EQ(sut.totals(), (ClassCounts{3, 200}));
}

TEST(ClassAccount, TotalsWrap) {
  std::uint64_t const most = ~std::uint64_t{0};
  ClassAccount sut(ClassCounts{most, most}, StoredClassOffsets{kSource, {most - 5, most - 5}});
  sut.advance(kSource, {8, 9});
  EXPECT_EQ(sut.totals(), (ClassCounts{2, 3}));
}

}  // namespace
}  // namespace Hardware::Linux
