#include "platform/glim/row_words.h"

#include <gtest/gtest.h>

#include <numeric>
#include <set>
#include <vector>

namespace Glim {
namespace {

std::vector<Word> numbered(std::size_t words) {
  std::vector<Word> row(words);
  std::iota(row.begin(), row.end(), Word{1});
  return row;
}

class GlimRowWords : public testing::TestWithParam<std::size_t> {};

TEST_P(GlimRowWords, EveryCopyYieldsTheSameChecksumAndTheSameWords) {
  std::vector<Word> const row = numbered(GetParam());
  Word const sum = RowWords::checksum(row.data(), row.size(), 5);
  std::vector<Word> shared(row.size()), loaded(row.size()), copied(row.size());
  EXPECT_EQ(RowWords::store(shared.data(), row.data(), row.size(), 5), sum);
  EXPECT_EQ(RowWords::load(loaded.data(), shared.data(), row.size(), 5), sum);
  EXPECT_EQ(RowWords::copyOwn(copied.data(), shared.data(), row.size(), 5), sum);
  EXPECT_EQ(shared, row);
  EXPECT_EQ(loaded, row);
  EXPECT_EQ(copied, row);
}

TEST_P(GlimRowWords, EveryChangedBitChangesTheChecksum) {
  std::vector<Word> row = numbered(GetParam());
  Word const sum = RowWords::checksum(row.data(), row.size(), 5);
  for (Word& word : row) {
    for (unsigned bit = 0; bit < 64; ++bit) {
      word ^= Word{1} << bit;
      EXPECT_NE(RowWords::checksum(row.data(), row.size(), 5) >> 2, sum >> 2);
      word ^= Word{1} << bit;
    }
  }
}

TEST_P(GlimRowWords, EverySwapOfTwoWordsChangesTheChecksum) {
  std::vector<Word> row = numbered(GetParam());
  Word const sum = RowWords::checksum(row.data(), row.size(), 5);
  for (std::size_t i = 0; i < row.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      std::swap(row[i], row[j]);
      EXPECT_NE(RowWords::checksum(row.data(), row.size(), 5) >> 2, sum >> 2) << i << ' ' << j;
      std::swap(row[i], row[j]);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, GlimRowWords, testing::Values(1, 2, 7, 8, 9, 12, 16, 128));

TEST(GlimRowWordsOfZeros, TopBitsFlippedInTwoWordsOfALaneShow) {
  std::vector<Word> row(128);
  Word const sum = RowWords::checksum(row.data(), row.size(), 5);
  for (std::size_t i = 0; i < row.size(); ++i) {
    for (std::size_t j = i + 8; j < row.size(); j += 8) {
      row[i] ^= Word{1} << 63;
      row[j] ^= Word{1} << 63;
      EXPECT_NE(RowWords::checksum(row.data(), row.size(), 5) >> 2, sum >> 2) << i << ' ' << j;
      row[i] = row[j] = 0;
    }
  }
}

TEST(GlimRowWordsOfZeros, WhatIsAddedToOneWordAndTakenFromAnotherOfItsLaneShows) {
  std::vector<Word> row(128);
  Word const sum = RowWords::checksum(row.data(), row.size(), 5);
  for (std::size_t j = 8; j < row.size(); j += 8) {
    for (unsigned bit = 0; bit < 64; ++bit) {
      row[0] += Word{1} << bit;
      row[j] -= Word{1} << bit;
      EXPECT_NE(RowWords::checksum(row.data(), row.size(), 5) >> 2, sum >> 2) << j << ' ' << bit;
      row[0] = row[j] = 0;
    }
  }
}

// Small changes are what wrong counting makes: those of two words of a block must not cancel out.
TEST(GlimRowWordsOfZeros, SmallChangesOfTwoWordsOfABlockShow) {
  std::vector<Word> row(16);
  Word const sum = RowWords::checksum(row.data(), row.size(), 5);
  for (std::size_t i = 0; i < 8; ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      for (int a = -9; a <= 9; ++a) {
        for (int b = -9; b <= 9; ++b) {
          if (a == 0 && b == 0) continue;
          row[i] = static_cast<Word>(a);
          row[j] = static_cast<Word>(b);
          ASSERT_NE(RowWords::checksum(row.data(), row.size(), 5) >> 2, sum >> 2)
              << i << " by " << a << ", " << j << " by " << b;
        }
      }
      row[i] = row[j] = 0;
    }
  }
}

TEST(GlimRowWordsOfZeros, LengthAndSeedShow) {
  std::vector<Word> const row(64);
  std::set<Word> sums;
  for (Word seed = 0; seed < 64; ++seed) sums.insert(RowWords::checksum(row.data(), 8, seed));
  EXPECT_EQ(sums.size(), 64u);
  EXPECT_NE(RowWords::checksum(row.data(), 8, 0), RowWords::checksum(row.data(), 16, 0));
}

}  // namespace
}  // namespace Glim
