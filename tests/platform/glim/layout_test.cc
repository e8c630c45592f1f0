#include "platform/glim/layout.h"

#include <gtest/gtest.h>

#include <bit>

#include "platform/glim/record.h"

namespace Glim::Layout {
namespace {

constexpr std::string_view schema = "R\na:u64:0:2\n";

FixedWords fixedOf(Geometry const& geometry) {
  return makeFixedWords(geometry, schema, schemaHashOf(schema), 1);
}

TEST(GlimLayout, PartsFollowEachOtherWithoutOverlap) {
  for (Word const words : {1u, 2u, 12u, 128u, 8192u}) {
    for (Word const rows : {1u, 2u, 3u, 1000u, 16384u, 1u << 20}) {
      auto const sut = Geometry::make(words, 8, rows, 300);
      ASSERT_TRUE(sut.has_value());
      EXPECT_GE(sut->indexOffset, schemaOffset + 300);
      EXPECT_GE(sut->slotsOffset, sut->indexOffset + sut->buckets * 8);
      EXPECT_GE(sut->stride, 8 * (1 + 2 * (1 + words)));
      EXPECT_EQ(sut->stride % 64, 0u);
      EXPECT_EQ(sut->slotsOffset % 4096, 0u);
      EXPECT_GE(sut->buckets, 2 * rows);
      EXPECT_TRUE(std::has_single_bit(sut->buckets));
      EXPECT_EQ(sut->fileBytes, sut->slotsOffset + rows * sut->stride);
    }
  }
}

TEST(GlimLayout, RefusesWhatIsBeyondTheLimits) {
  EXPECT_FALSE(Geometry::make(0, 8, 1, 1));
  EXPECT_FALSE(Geometry::make(rowWordsLimit + 1, 8, 1, 1));
  EXPECT_FALSE(Geometry::make(2, 0, 1, 1));
  EXPECT_FALSE(Geometry::make(2, 17, 1, 1));
  EXPECT_FALSE(Geometry::make(2, 8, 0, 1));
  EXPECT_FALSE(Geometry::make(2, 8, maxRowsLimit + 1, 1));
  EXPECT_FALSE(Geometry::make(2, 8, 1, 0));
  EXPECT_FALSE(Geometry::make(2, 8, 1, schemaBytesLimit + 1));
}

TEST(GlimLayout, RowsWithinCountsWholeSlotsOnly) {
  auto const sut = *Geometry::make(2, 8, 100, 300);
  EXPECT_EQ(sut.rowsWithin(0), 0u);
  EXPECT_EQ(sut.rowsWithin(sut.slotsOffset + sut.stride - 1), 0u);
  EXPECT_EQ(sut.rowsWithin(sut.slotsOffset + sut.stride), 1u);
  EXPECT_EQ(sut.rowsWithin(~Word{0}), 100u);
}

TEST(GlimLayout, ReadsBackTheGeometryItWrote) {
  auto const made = *Geometry::make(12, 8, 1000, schema.size());
  FixedWords const fixed = fixedOf(made);
  Geometry sut;
  EXPECT_EQ(checkFixedWords(fixed, sut), HeaderCheck::good);
  EXPECT_EQ(sut, made);
  EXPECT_TRUE(checksumAgrees(fixed, schema));
}

TEST(GlimLayout, EveryChangedBitOfTheFixedWordsIsNoticed) {
  FixedWords fixed = fixedOf(*Geometry::make(12, 8, 1000, schema.size()));
  for (Word& word : fixed) {
    for (unsigned bit = 0; bit < 64; ++bit) {
      word ^= Word{1} << bit;
      Geometry sut;
      bool const good =
          checkFixedWords(fixed, sut) == HeaderCheck::good && checksumAgrees(fixed, schema);
      EXPECT_FALSE(good);
      word ^= Word{1} << bit;
    }
  }
}

TEST(GlimLayout, AnotherSchemaTextIsNoticed) {
  FixedWords const fixed = fixedOf(*Geometry::make(12, 8, 1000, schema.size()));
  EXPECT_FALSE(checksumAgrees(fixed, "R\nb:u64:0:2\n"));
}

TEST(GlimLayout, BucketEntriesHoldHashAndSlot) {
  Word const sut = bucketEntry(0xffffffff, maxRowsLimit - 1);
  EXPECT_EQ(entryHash(sut), 0xffffffffu);
  EXPECT_EQ(entrySlot(sut), maxRowsLimit - 1);
  EXPECT_NE(bucketEntry(0, 0), 0u);
}

}  // namespace
}  // namespace Glim::Layout
