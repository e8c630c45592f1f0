#include "platform/kelo/pod_array.h"

#include <gtest/gtest.h>

#include <array>
#include <sstream>

#include "platform/dov/exception.h"
#include "platform/interface/queue_counter.h"

namespace Kelo {
namespace {

using Interface::QueueCounter::IntfQueueStat;
using Interface::QueueCounter::IntfQueueStats;
using Interface::QueueCounter::QueueIndex;

class PodArray : public testing::Test {
 protected:
  PodArray() {
    for (std::size_t i = 0; i < buffer.size(); ++i) buffer[i].counts.pkts = i + 1;
  }
  // The message of set's error.
  std::string refusal(std::size_t count) {
    try {
      sut.set(count, buffer.data());
    } catch (Dov::InvalidSizeException const& e) {
      return e.message();
    }
    return "not refused";
  }

  std::array<IntfQueueStat, 18> buffer{};
  IntfQueueStats sut;
};

TEST_F(PodArray, IsEmptyWhenNew) {
  EXPECT_EQ(sut.size(), 0u);
  EXPECT_EQ(sut.begin(), sut.end());
}

TEST_F(PodArray, SetCopiesRecordsAndSetsTheirNumber) {
  sut.set(3, buffer.data());
  EXPECT_EQ(sut.size(), 3u);
  EXPECT_EQ(sut[QueueIndex(0)].counts.pkts, 1u);
  EXPECT_EQ(sut[QueueIndex(2)].counts.pkts, 3u);
  EXPECT_EQ(sut[QueueIndex(3)].counts.pkts, 0u);
  EXPECT_EQ(sut.end() - sut.begin(), 3);
}

TEST_F(PodArray, SetTakesAsManyAsThereIsRoomFor) {
  sut.set(17, buffer.data());
  EXPECT_EQ(sut.size(), 17u);
  EXPECT_EQ(sut[QueueIndex(16)].counts.pkts, 17u);
}

TEST_F(PodArray, SetOfMoreIsRefusedToTheLetter) {
  // Each record is 40 bytes; the second word counts from 1.
  std::ostringstream text;
  text << "PodArray::set expected size <= 17, instead got 18. Buffer is at address: "
       << static_cast<void const*>(buffer.data()) << " with contents: ";
  char const* const digits = "0123456789abcdef";
  for (unsigned record = 1; record <= 18; ++record)
    text << std::string(16, '0') << digits[record / 16] << digits[record % 16]
         << std::string(14 + 3 * 16, '0');
  EXPECT_EQ(refusal(18), text.str());
}

TEST_F(PodArray, SetOfMoreIsAnInvalidSize) {
  try {
    sut.set(18, buffer.data());
    FAIL() << "not refused";
  } catch (Dov::Exception const& e) {
    EXPECT_TRUE(e.msg().starts_with("Dov::InvalidSizeException(\"PodArray::set expected size"));
  }
}

TEST_F(PodArray, SetOfMoreChangesNothing) {
  sut.set(2, buffer.data());
  IntfQueueStats const before = sut;
  refusal(18);
  EXPECT_EQ(sut, before);
}

TEST_F(PodArray, SetOfNoneEmptiesAndNeedsNoBuffer) {
  sut.set(2, buffer.data());
  sut.set(0, nullptr);
  EXPECT_EQ(sut.size(), 0u);
}

TEST_F(PodArray, SizeIsBoundedByItsCapacity) {
  sut.sizeIs(5);
  EXPECT_EQ(sut.size(), 5u);
  sut.sizeIs(18);
  EXPECT_EQ(sut.size(), 17u);
}

TEST_F(PodArray, EqualsByRecordsAndNumber) {
  IntfQueueStats other;
  sut.set(2, buffer.data());
  other.set(2, buffer.data());
  EXPECT_EQ(sut, other);
  other[QueueIndex(1)].counts.dropOctets = 1;
  EXPECT_NE(sut, other);
  other = sut;
  other.sizeIs(1);
  EXPECT_NE(sut, other);
}

}  // namespace
}  // namespace Kelo
