#include "platform/glim/row_slot.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/glim/row_words.h"

namespace Glim {
namespace {

constexpr Word rowWords = 12;
constexpr Word number = 3;

class GlimRowSlot : public testing::Test {
 protected:
  std::vector<Word> row(Word value) { return std::vector<Word>(rowWords, value); }
  Answer read() { return readSlot(memory.data(), rowWords, number, seen.data(), 4); }

  std::vector<Word> memory = std::vector<Word>(1 + 2 * (1 + rowWords));
  std::vector<Word> seen = std::vector<Word>(rowWords);
  RowSlot sut{memory.data(), rowWords, number};
};

TEST_F(GlimRowSlot, IsAbsentBeforeItsFirstVersion) {
  EXPECT_EQ(read(), Answer::absent);
  sut.begin(0);
  EXPECT_EQ(read(), Answer::absent);
}

TEST_F(GlimRowSlot, ShowsTheLastVersionPublished) {
  for (Word k = 0; k < 5; ++k) {
    sut.publish(k, row(100 + k).data());
    ASSERT_EQ(read(), Answer::ok);
    EXPECT_EQ(seen, row(100 + k));
  }
}

TEST_F(GlimRowSlot, StaysReadableWhileTheNextVersionIsHalfWritten) {
  sut.publish(0, row(1).data());
  sut.begin(1);
  RowWords::store(sut.row(2), row(2).data(), rowWords / 2, 0);
  ASSERT_EQ(read(), Answer::ok);
  EXPECT_EQ(seen, row(1));
}

TEST_F(GlimRowSlot, IsAbsentOnceDead) {
  sut.publish(0, row(1).data());
  sut.publishDead(1);
  EXPECT_EQ(read(), Answer::absent);
  sut.publish(2, row(3).data());
  EXPECT_EQ(read(), Answer::ok);
}

TEST_F(GlimRowSlot, IsBusyWhenTheAttemptsAreUsedUp) {
  sut.publish(0, row(1).data());
  EXPECT_EQ(readSlot(memory.data(), rowWords, number, seen.data(), 0), Answer::busy);
}

TEST_F(GlimRowSlot, AChangedWordIsCorrupt) {
  sut.publish(0, row(1).data());
  for (Word i = 0; i < rowWords; ++i) {
    sut.row(1)[i] ^= 1;
    EXPECT_EQ(read(), Answer::corrupt);
    sut.row(1)[i] ^= 1;
  }
  EXPECT_EQ(read(), Answer::ok);
}

TEST_F(GlimRowSlot, AnOldHalfDoesNotPassForANewOne) {
  sut.publish(0, row(1).data());
  sut.publish(1, row(2).data());
  memory[0] += 2;  // as though version 3 stood where version 1 does
  EXPECT_EQ(read(), Answer::corrupt);
}

TEST_F(GlimRowSlot, ARowOfAnotherSlotDoesNotPass) {
  sut.publish(0, row(1).data());
  EXPECT_EQ(readSlot(memory.data(), rowWords, number + 1, seen.data(), 4), Answer::corrupt);
}

TEST_F(GlimRowSlot, ValidatesLiveAndDeadVersionsAndNothingElse) {
  Layout::RowState state{};
  Word meta = sut.publish(0, row(1).data());
  EXPECT_TRUE(sut.validate(1, state));
  EXPECT_EQ(state, Layout::rowLive);
  EXPECT_TRUE(sut.copyOwn(1, meta, seen.data()));
  sut.publishDead(1);
  EXPECT_TRUE(sut.validate(2, state));
  EXPECT_EQ(state, Layout::rowDead);
  EXPECT_FALSE(sut.validate(3, state));
}

}  // namespace
}  // namespace Glim
