#include "platform/glim/bucket_index.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <vector>

namespace Glim {
namespace {

constexpr Word buckets = 16;

class GlimBucketIndex : public testing::Test {
 protected:
  bool has(std::uint32_t hash, std::uint32_t slot) const {
    return sut.find(hash, [&](std::uint32_t at) { return at == slot; }) == slot;
  }
  // Hashes whose search begins at the bucket.
  std::vector<std::uint32_t> hashesAt(Word bucket, std::size_t n) const {
    std::vector<std::uint32_t> hashes;
    for (std::uint32_t hash = 0; hashes.size() < n; ++hash) {
      if (Layout::homeBucket(hash, buckets) == bucket) hashes.push_back(hash);
    }
    return hashes;
  }

  std::vector<Word> shared = std::vector<Word>(buckets);
  Word version = 0;
  BucketIndex sut{shared.data(), buckets, &version};
};

TEST_F(GlimBucketIndex, FindsWhatWasLinkedAndNothingElse) {
  sut.link(5, 1);
  EXPECT_TRUE(has(5, 1));
  EXPECT_FALSE(has(5, 2));
  EXPECT_FALSE(has(6, 1));
}

TEST_F(GlimBucketIndex, OneHashMayHaveManySlots) {
  for (std::uint32_t slot = 0; slot < 7; ++slot) sut.link(5, slot);
  for (std::uint32_t slot = 0; slot < 7; ++slot) EXPECT_TRUE(has(5, slot));
}

TEST_F(GlimBucketIndex, UnlinkingInTheMiddleOfAChainKeepsTheRest) {
  for (std::uint32_t slot = 0; slot < 7; ++slot) sut.link(5, slot);
  sut.unlink(5, 3);
  for (std::uint32_t slot = 0; slot < 7; ++slot) EXPECT_EQ(has(5, slot), slot != 3);
}

TEST_F(GlimBucketIndex, ChainsThatWrapAroundTheEndSurviveUnlinking) {
  auto const atEnd = hashesAt(buckets - 1, 3);
  auto const atStart = hashesAt(0, 2);
  std::uint32_t slot = 0;
  for (std::uint32_t const hash : atEnd) sut.link(hash, slot++);
  for (std::uint32_t const hash : atStart) sut.link(hash, slot++);
  sut.unlink(atEnd[0], 0);
  EXPECT_TRUE(has(atEnd[1], 1));
  EXPECT_TRUE(has(atEnd[2], 2));
  EXPECT_TRUE(has(atStart[0], 3));
  EXPECT_TRUE(has(atStart[1], 4));
}

TEST_F(GlimBucketIndex, LinkingLeavesTheVersionAndUnlinkingRaisesItToAnotherEvenOne) {
  sut.link(5, 1);
  EXPECT_EQ(version, 0u);
  sut.unlink(5, 1);
  EXPECT_GT(version, 0u);
  EXPECT_EQ(version % 2, 0u);
}

TEST_F(GlimBucketIndex, LeavesNothingBehind) {
  for (std::uint32_t slot = 0; slot < 7; ++slot) sut.link(5, slot);
  for (std::uint32_t slot = 0; slot < 7; ++slot) sut.unlink(5, slot);
  EXPECT_EQ(shared, std::vector<Word>(buckets));
}

TEST_F(GlimBucketIndex, TheFileAlwaysHoldsWhatTheWriterHas) {
  std::mt19937 random(1);
  std::map<std::uint32_t, std::uint32_t> links;  // by slot
  for (int i = 0; i < 5000; ++i) {
    std::uint32_t const slot = static_cast<std::uint32_t>(random() % 8);
    if (auto const at = links.find(slot); at != links.end()) {
      sut.unlink(at->second, slot);
      links.erase(at);
    } else {
      std::uint32_t const hash = static_cast<std::uint32_t>(random() % 5);
      sut.link(hash, slot);
      links[slot] = hash;
    }
    ASSERT_TRUE(sut.validate());
    for (auto const& [linked, hash] : links) ASSERT_TRUE(has(hash, linked));
  }
}

TEST_F(GlimBucketIndex, AdoptsASoundIndexAsItStands) {
  sut.link(5, 1);
  sut.link(5, 2);
  BucketIndex next(shared.data(), buckets, &version);
  EXPECT_TRUE(next.adopt({{5, 1}, {5, 2}}));
  EXPECT_EQ(version, 0u);
}

TEST_F(GlimBucketIndex, RebuildsAnIndexThatLacksOrExceedsTheRows) {
  sut.link(5, 1);
  BucketIndex next(shared.data(), buckets, &version);
  EXPECT_FALSE(next.adopt({{5, 1}, {6, 2}}));
  sut = next;
  EXPECT_TRUE(has(6, 2));
  EXPECT_EQ(version % 2, 0u);
  EXPECT_FALSE(BucketIndex(shared.data(), buckets, &version).adopt({{5, 1}}));
}

TEST_F(GlimBucketIndex, RebuildsAnIndexFullOfRubbish) {
  for (Word& bucket : shared) bucket = ~Word{0};
  EXPECT_FALSE(sut.adopt({{5, 1}}));
  EXPECT_TRUE(has(5, 1));
  EXPECT_FALSE(has(6, 1));
}

// Entries in any places at all: what is adopted is just what searches work in.
TEST_F(GlimBucketIndex, AdoptsExactlyWhereEveryRowIsFound) {
  std::mt19937 random(2);
  unsigned adopted = 0, rebuilt = 0;
  for (unsigned i = 0; i < 50'000; ++i) {
    std::vector<BucketIndex::Link> links;
    shared.assign(buckets, 0);
    version = 0;
    for (std::uint32_t slot = 0; slot < 1 + i % 7; ++slot) {
      links.push_back({static_cast<std::uint32_t>(random() % 40), slot});
      Word at = Layout::homeBucket(links.back().hash, buckets) + random() % 3;
      while (shared[at % buckets] != 0) ++at;
      shared[at % buckets] = Layout::bucketEntry(links.back().hash, slot);
    }
    auto const found = [&](BucketIndex::Link const& link) {
      Word at = Layout::homeBucket(link.hash, buckets);
      Word const entry = Layout::bucketEntry(link.hash, link.slot);
      while (shared[at] != 0 && shared[at] != entry) at = (at + 1) % buckets;
      return shared[at] == entry;
    };
    bool const sound = std::all_of(links.begin(), links.end(), found);
    ASSERT_EQ(BucketIndex(shared.data(), buckets, &version).adopt(links), sound) << i;
    ASSERT_TRUE(std::all_of(links.begin(), links.end(), found)) << i;
    ++(sound ? adopted : rebuilt);
  }
  EXPECT_GT(adopted, 1000u);
  EXPECT_GT(rebuilt, 1000u);
}

TEST_F(GlimBucketIndex, RebuildsAnIndexWhoseBuilderDied) {
  sut.link(5, 1);
  version |= 1;
  EXPECT_FALSE(BucketIndex(shared.data(), buckets, &version).adopt({{5, 1}}));
  EXPECT_EQ(version % 2, 0u);
}

}  // namespace
}  // namespace Glim
