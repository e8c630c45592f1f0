#include "platform/dov/debug_handler.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/dov/exception.h"

namespace Dov {
namespace {

struct Said {
  unsigned level;
  std::string source, function, text;
};

class DovDebugHandler : public testing::Test {
 protected:
  std::vector<Said> said;
  Platform::DebugHandler sut{
      0, [this](Platform::DebugHandler::Message const& message) {
        said.push_back({message.level, std::string(message.source), std::string(message.function),
                        std::string(message.text)});
      }};
};

TEST_F(DovDebugHandler, FlagTwoEnablesLevelOneAndFlagThirtyTwoLevelFive) {
  sut.flagsIs(2);
  EXPECT_TRUE(sut.enabled(1));
  EXPECT_FALSE(sut.enabled(5));
  sut.flagsIs(32);
  EXPECT_FALSE(sut.enabled(1));
  EXPECT_TRUE(sut.enabled(5));
}

TEST_F(DovDebugHandler, DropsMessagesOfDisabledLevels) {
  sut.flagsIs(2);
  sut.write(5, "unit", "function", "text");
  EXPECT_TRUE(said.empty());
  sut.write(1, "unit", "function", "text");
  ASSERT_EQ(said.size(), 1u);
  EXPECT_EQ(said[0].source, "unit");
  EXPECT_EQ(said[0].function, "function");
  EXPECT_EQ(said[0].text, "text");
}

TEST_F(DovDebugHandler, AnAssertionIsWrittenAndThrown) {
  sut.flagsIs(1);
  EXPECT_THROW(debugAndThrowAssertException(sut, "broken", "unit", "function"), AssertException);
  ASSERT_EQ(said.size(), 1u);
  EXPECT_EQ(said[0].level, 0u);
  EXPECT_EQ(said[0].text, "broken");
}

TEST_F(DovDebugHandler, AnAssertionIsThrownEvenWhenNothingIsEnabled) {
  EXPECT_THROW(debugAndThrowAssertException(sut, "broken", "unit", "function"), AssertException);
  EXPECT_TRUE(said.empty());
}

}  // namespace
}  // namespace Dov
