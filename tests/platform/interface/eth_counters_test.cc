#include "platform/interface/eth_counters.h"

#include <gtest/gtest.h>

#include <set>
#include <string_view>
#include <utility>

namespace Interface {
namespace {

using Wib::MaybeU63;

constexpr std::uint64_t kTop = std::uint64_t{1} << 63;

EthPerPrioStatistics perPrio(std::uint64_t first, std::uint64_t step) {
  EthPerPrioStatistics s;
  for (MaybeU63& entry : s.entries) entry = MaybeU63(std::exchange(first, first + step));
  s.count = 8;
  return s;
}

EthLaneStatistics lanes(std::uint64_t first, std::uint64_t step, std::uint32_t count) {
  EthLaneStatistics s;
  for (std::uint64_t& entry : s.entries) entry = std::exchange(first, first + step);
  s.count = count;
  return s;
}

// Every member another number.
EthStatistics counting(std::uint64_t first, std::uint64_t step) {
  EthStatistics s;
  for (std::uint64_t& counter : s.plain) counter = std::exchange(first, first + step);
  s.inPfcFrames = perPrio(first * 2, step);
  s.outPfcFrames = perPrio(first * 3, step);
  s.fecCodewordErrors = lanes(first * 4, step, 17);
  s.fecLaneCorrectedBlocks = lanes(first * 5, step, 4);
  s.inPfcPauseMicros = perPrio(first * 6, step);
  s.outPfcPauseMicros = perPrio(first * 7, step);
  return s;
}

TEST(EthPerPrioStatistics, IsZerosAndHoldsNoEntryWhenNew) {
  EthPerPrioStatistics const sut;
  EXPECT_EQ(sut.count, 0u);
  for (MaybeU63 const entry : sut.entries) EXPECT_EQ(entry, MaybeU63(0));
}

TEST(EthPerPrioStatistics, SubtractsAndAddsEntryByEntry) {
  EXPECT_EQ(perPrio(100, 5) - perPrio(10, 2), perPrio(90, 3));
  EXPECT_EQ(perPrio(90, 3) + perPrio(10, 2), perPrio(100, 5));
}

TEST(EthPerPrioStatistics, HoldsEightEntriesAfterAnyArithmetic) {
  EthPerPrioStatistics const empty;
  EXPECT_EQ((empty - empty).count, 8u);
  EXPECT_EQ((empty + empty).count, 8u);
}

TEST(EthPerPrioStatistics, AnEntryHasNoValueWhereEitherHasNone) {
  auto a = perPrio(100, 5), b = perPrio(10, 2);
  a.entries[1] = b.entries[6] = MaybeU63::none();
  for (auto const& result : {a - b, a + b}) {
    for (std::size_t i = 0; i < 8; ++i)
      EXPECT_EQ(result.entries[i].hasValue(), i != 1 && i != 6) << i;
  }
}

TEST(EthPerPrioStatistics, ADifferenceWithTheTopBitSetIsAValueWithoutIt) {
  auto a = perPrio(0, 0), b = perPrio(0, 0);
  a.entries[0] = MaybeU63(3);
  b.entries[0] = MaybeU63(5);
  auto const difference = a - b;
  EXPECT_TRUE(difference.entries[0].hasValue());
  EXPECT_EQ(difference.entries[0].value(), (std::uint64_t{3} - 5) & ~kTop);
}

TEST(EthPerPrioStatistics, ASumWithTheTopBitSetIsAValueWithoutIt) {
  auto a = perPrio(kTop - 1, 0), b = perPrio(3, 0);
  EXPECT_EQ(a + b, perPrio(2, 0));
}

TEST(EthLaneStatistics, SubtractsAndAddsEntryByEntry) {
  EXPECT_EQ(lanes(100, 5, 17) - lanes(10, 2, 17), lanes(90, 3, 17));
  EXPECT_EQ(lanes(90, 3, 17) + lanes(10, 2, 17), lanes(100, 5, 17));
}

TEST(EthLaneStatistics, WrapsModuloTwoToThe64th) {
  auto const difference = lanes(1, 0, 17) - lanes(2, 0, 17);
  for (std::uint64_t const entry : difference.entries) EXPECT_EQ(entry, ~std::uint64_t{0});
  EXPECT_EQ(difference + lanes(2, 0, 17), lanes(1, 0, 17));
}

TEST(EthLaneStatistics, HasAsManyEntriesAsTheOperandThatHasMore) {
  EXPECT_EQ((lanes(1, 1, 4) - lanes(1, 1, 8)).count, 8u);
  EXPECT_EQ((lanes(1, 1, 8) + lanes(1, 1, 4)).count, 8u);
}

TEST(EthStatistics, IsAllZerosWhenNew) {
  EthStatistics const sut;
  for (std::uint64_t const counter : sut.plain) EXPECT_EQ(counter, 0u);
  EXPECT_EQ(sut.inPfcFrames.count, 0u);
  EXPECT_EQ(sut.fecCodewordErrors.count, 0u);
  EXPECT_EQ(sut.fecLaneCorrectedBlocks.count, 0u);
  EXPECT_EQ(sut.fecCodewordErrors, EthLaneStatistics());
}

TEST(EthStatistics, SubtractsMemberByMember) {
  auto const a = counting(100'000, 30), b = counting(1'000, 10);
  auto const difference = a - b;
  for (std::size_t i = 0; i < kEthCounters; ++i)
    EXPECT_EQ(difference.plain[i], a.plain[i] - b.plain[i]) << kEthCounterNames[i];
  EXPECT_EQ(difference.inPfcFrames, a.inPfcFrames - b.inPfcFrames);
  EXPECT_EQ(difference.outPfcFrames, a.outPfcFrames - b.outPfcFrames);
  EXPECT_EQ(difference.fecCodewordErrors, a.fecCodewordErrors - b.fecCodewordErrors);
  EXPECT_EQ(difference.fecLaneCorrectedBlocks, a.fecLaneCorrectedBlocks - b.fecLaneCorrectedBlocks);
  EXPECT_EQ(difference.inPfcPauseMicros, a.inPfcPauseMicros - b.inPfcPauseMicros);
  EXPECT_EQ(difference.outPfcPauseMicros, a.outPfcPauseMicros - b.outPfcPauseMicros);
}

TEST(EthStatistics, ADifferenceAddedBackRestoresTheWhole) {
  auto const a = counting(1'000, 10), b = counting(100'000, 30);
  EXPECT_EQ(a - b + b, a);
}

TEST(EthStatistics, ErrorSumsAreThoseOfTheFiveClassesOfADirection) {
  using enum EthCounter;
  for (std::size_t i = 0; i < kEthCounters; ++i) {
    EthStatistics sut;
    sut.plain[i] = 1;
    auto const counter = static_cast<EthCounter>(i);
    std::set const receive{alignmentErrors, fcsErrors, frameTooLongs, frameTooShorts,
                           internalMacReceiveErrors};
    std::set const transmit{sqeTestErrors, lateCollisions, excessiveCollisions,
                            internalMacTransmitErrors, carrierSenseErrors};
    EXPECT_EQ(receiveErrorSum(sut), receive.count(counter)) << name(counter);
    EXPECT_EQ(transmitErrorSum(sut), transmit.count(counter)) << name(counter);
  }
}

TEST(EthStatistics, ErrorSumsWrap) {
  EthStatistics sut;
  sut[EthCounter::fcsErrors] = ~std::uint64_t{0};
  sut[EthCounter::frameTooLongs] = 3;
  EXPECT_EQ(receiveErrorSum(sut), 2u);
  sut[EthCounter::lateCollisions] = ~std::uint64_t{0};
  sut[EthCounter::carrierSenseErrors] = 5;
  EXPECT_EQ(transmitErrorSum(sut), 4u);
}

TEST(EthStatistics, CountersAreNamedInOrder) {
  using enum EthCounter;
  std::pair<EthCounter, std::string_view> const counters[] = {
      {alignmentErrors, "alignmentErrors"},
      {fcsErrors, "fcsErrors"},
      {frameTooLongs, "frameTooLongs"},
      {frameTooShorts, "frameTooShorts"},
      {internalMacReceiveErrors, "internalMacReceiveErrors"},
      {symbolErrors, "symbolErrors"},
      {sqeTestErrors, "sqeTestErrors"},
      {lateCollisions, "lateCollisions"},
      {excessiveCollisions, "excessiveCollisions"},
      {internalMacTransmitErrors, "internalMacTransmitErrors"},
      {carrierSenseErrors, "carrierSenseErrors"},
      {singleCollisionFrames, "singleCollisionFrames"},
      {multipleCollisionFrames, "multipleCollisionFrames"},
      {deferredTransmissions, "deferredTransmissions"},
      {inUnknownOpcodes, "inUnknownOpcodes"},
      {inPauseFrames, "inPauseFrames"},
      {outPauseFrames, "outPauseFrames"},
      {inMacControlFrames, "inMacControlFrames"},
      {outMacControlFrames, "outMacControlFrames"},
      {inFragments, "inFragments"},
      {inJabbers, "inJabbers"},
      {in64Octets, "in64Octets"},
      {in65To127Octets, "in65To127Octets"},
      {in128To255Octets, "in128To255Octets"},
      {in256To511Octets, "in256To511Octets"},
      {in512To1023Octets, "in512To1023Octets"},
      {in1024To1518Octets, "in1024To1518Octets"},
      {in1519ToMaxOctets, "in1519ToMaxOctets"},
      {out64Octets, "out64Octets"},
      {out65To127Octets, "out65To127Octets"},
      {out128To255Octets, "out128To255Octets"},
      {out256To511Octets, "out256To511Octets"},
      {out512To1023Octets, "out512To1023Octets"},
      {out1024To1518Octets, "out1024To1518Octets"},
      {out1519ToMaxOctets, "out1519ToMaxOctets"}};
  ASSERT_EQ(std::size(counters), kEthCounters);
  for (std::size_t i = 0; i < kEthCounters; ++i) {
    EXPECT_EQ(static_cast<std::size_t>(counters[i].first), i) << counters[i].second;
    EXPECT_EQ(name(counters[i].first), counters[i].second);
  }
}

TEST(EthStatistics, FieldsCoverTheRecordWithoutGaps) {
  std::size_t offset = 0;
  for (Glim::Field const& field : ethStatisticsFields()) {
    EXPECT_EQ(field.offset, offset) << field.name;
    offset += field.count * (field.type == Glim::FieldType::u32 ? 4 : 8);
  }
  EXPECT_EQ(offset, sizeof(EthStatistics));
}

TEST(EthStatistics, AddDifferenceIsTheSumOfTheTotalAndTheDifference) {
  EthStatistics now = counting(1000, 7), before = counting(400, 3), total = counting(50, 11);
  before.plain[3] = now.plain[3] + 1;  // went backwards
  now.inPfcFrames.entries[2] = before.outPfcFrames.entries[4] = MaybeU63::none();
  total.inPfcPauseMicros.entries[6] = MaybeU63::none();
  before.outPfcPauseMicros.entries[1] = MaybeU63(kTop - 1);
  total.fecCodewordErrors.entries[0] = ~std::uint64_t{0};
  now.fecLaneCorrectedBlocks.count = 9;
  total.inPfcFrames.count = 0;
  EthStatistics const expected = total + (now - before);
  EthStatistics sut = total;
  addDifference(sut, now, before);
  EXPECT_EQ(sut, expected);
  EXPECT_EQ(sut.fecLaneCorrectedBlocks.count, 9u);
  EXPECT_EQ(sut.inPfcFrames.count, 8u);
}

}  // namespace
}  // namespace Interface
