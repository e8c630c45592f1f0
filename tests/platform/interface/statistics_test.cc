#include "platform/interface/statistics.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Interface {
namespace {

using Wib::MaybeU63;

// Every member another number, from `first` on.
IntfStatistics counting(std::uint64_t first, std::uint64_t step) {
  std::uint64_t n = first;
  auto const next = [&] { return std::exchange(n, n + step); };
  IntfStatistics s;
  s.inOctets = next();
  s.inUcastPkts = next();
  s.inMulticastPkts = next();
  s.inBroadcastPkts = next();
  s.outOctets = next();
  s.outUcastPkts = next();
  s.outMulticastPkts = next();
  s.outBroadcastPkts = MaybeU63(next());
  s.inDiscards = next();
  s.outDiscards = next();
  s.inErrors = next();
  s.inUnknownProtos = MaybeU63(next());
  s.outErrors = next();
  return s;
}

TEST(IntfStatistics, IsAllZerosWhenNew) {
  EXPECT_EQ(IntfStatistics(), counting(0, 0));
  EXPECT_EQ(IntfStatistics().lastUpdate, 0.0);
  static_assert(sizeof(IntfStatistics) == 14 * 8);
}

TEST(IntfStatistics, SubtractsMemberByMember) {
  EXPECT_EQ(counting(1000, 30) - counting(100, 10), counting(900, 20));
}

TEST(IntfStatistics, AddsMemberByMember) {
  EXPECT_EQ(counting(900, 20) + counting(100, 10), counting(1000, 30));
}

TEST(IntfStatistics, ACounterThatWentBackwardsGivesTheComplement) {
  IntfStatistics small, large;
  small.inOctets = 3;
  large.inOctets = 10;
  EXPECT_EQ((small - large).inOctets, std::uint64_t{0} - 7);
  EXPECT_EQ((small - large + large).inOctets, 3u);
}

TEST(IntfStatistics, ACounterWrapsModuloTwoToThe64th) {
  IntfStatistics full, one;
  full.outErrors = ~std::uint64_t{0};
  one.outErrors = 1;
  EXPECT_EQ((full + one).outErrors, 0u);
}

TEST(IntfStatistics, AnOptionalCounterHasNoValueWhereEitherHasNone) {
  IntfStatistics some = counting(1, 1), none = counting(1, 1);
  none.outBroadcastPkts = none.inUnknownProtos = MaybeU63::none();
  for (IntfStatistics const& result : {some - none, none - some, some + none, none + some}) {
    EXPECT_FALSE(result.outBroadcastPkts.hasValue());
    EXPECT_FALSE(result.inUnknownProtos.hasValue());
  }
}

TEST(IntfStatistics, TheTimeOfADifferenceAndOfASumIsTheLater) {
  IntfStatistics early, late;
  early.lastUpdate = 10.0;
  late.lastUpdate = 12.5;
  EXPECT_EQ((late - early).lastUpdate, 12.5);
  EXPECT_EQ((early - late).lastUpdate, 12.5);
  EXPECT_EQ((late + early).lastUpdate, 12.5);
  EXPECT_EQ((early + late).lastUpdate, 12.5);
}

TEST(IntfStatistics, PrintsEachMemberByName) {
  IntfStatistics s = counting(1, 1);
  s.inUnknownProtos = MaybeU63::none();
  s.lastUpdate = 2.5;
  std::ostringstream out;
  out << s;
  EXPECT_EQ(out.str(),
            "inOctets 1 inUcastPkts 2 inMulticastPkts 3 inBroadcastPkts 4 outOctets 5 "
            "outUcastPkts 6 outMulticastPkts 7 outBroadcastPkts 8 inDiscards 9 outDiscards 10 "
            "inErrors 11 inUnknownProtos n/a outErrors 13 lastUpdate 2.5");
}

TEST(IntfStatistics, FieldsAreTheMembersInOrderWithoutGaps) {
  std::size_t offset = 0;
  for (Glim::Field const& field : kIntfStatisticsFields) {
    EXPECT_EQ(field.offset, offset) << field.name;
    offset += 8;
  }
  EXPECT_EQ(offset, sizeof(IntfStatistics));
  EXPECT_EQ(kIntfStatisticsFields[7].type, Glim::FieldType::u63);
  EXPECT_EQ(kIntfStatisticsFields[11].type, Glim::FieldType::u63);
  EXPECT_EQ(kIntfStatisticsFields[13].type, Glim::FieldType::f64);
}

}  // namespace
}  // namespace Interface
