#include "platform/kel/trace.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace KelTest {
namespace {

struct Sent {
  std::string handle, text, file, function;
  int level;
  unsigned line;
};
std::vector<Sent> sent;

struct Unprintable {
  friend std::ostream& operator<<(std::ostream&, Unprintable const&) {
    throw std::runtime_error("unprintable");
  }
};

class Trace : public testing::Test {
 protected:
  Trace() {
    sent.clear();
    Kel::traceSinkIs([](Kel::TraceLine const& line) {
      sent.push_back({std::string(line.handle), std::string(line.text), line.position.file,
                      line.position.function, line.level, line.position.line});
    });
  }
  ~Trace() override { Kel::traceSinkIs(nullptr); }

  Kel::Trace trace(int level,
                   std::source_location const& here = std::source_location::current()) const {
    return Kel::Trace(sut, level, here);
  }
  int counted() { return ++evaluated; }

  Kel::TraceHandle sut{"Unit"};
  int evaluated = 0;
};

TEST_F(Trace, IsOffByDefaultAtEveryLevel) {
  for (int level = 0; level < 32; ++level) {
    EXPECT_FALSE(sut.enabled(level)) << level;
    if (auto t = trace(level)) t << "text";
  }
  EXPECT_TRUE(sent.empty());
  EXPECT_EQ(Kel::frameworkTraceHandle().levels(), 0u);
}

TEST_F(Trace, LevelsAreOneBitEach) {
  for (int level = 0; level < 32; ++level) {
    sut.levelsIs(1u << level);
    for (int other = 0; other < 32; ++other) EXPECT_EQ(sut.enabled(other), other == level);
  }
}

TEST_F(Trace, SendsALineWithHandleLevelTextAndPosition) {
  sut.levelsIs(1u << 8);
  if (auto t = trace(8)) t << "handleIntf(" << 7 << ')';
  unsigned const line = __LINE__ - 1;
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].handle, "Unit");
  EXPECT_EQ(sent[0].level, 8);
  EXPECT_EQ(sent[0].text, "handleIntf(7)");
  EXPECT_EQ(sent[0].line, line);
  EXPECT_TRUE(sent[0].file.ends_with("trace_test.cc"));
  EXPECT_NE(sent[0].function.find("TestBody"), std::string::npos);
}

TEST_F(Trace, SendsAFixedPositionAsItIs) {
  sut.levelsIs(~0u);
  Kel::Trace(sut, 4, Kel::TracePosition("Unit.tin", 42, "void f()")) << "text";
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].file, "Unit.tin");
  EXPECT_EQ(sent[0].line, 42u);
  EXPECT_EQ(sent[0].function, "void f()");
}

TEST_F(Trace, SendsAtTheEndOfTheStatementAndOnce) {
  sut.levelsIs(~0u);
  if (auto t = trace(6)) {
    t << "a";
    EXPECT_TRUE(sent.empty());
    t << "b";
  }
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].text, "ab");
}

TEST_F(Trace, EvaluatesItsOperandsOnlyWhileTheLevelIsOn) {
  sut.levelsIs(1u << 7);
  if (auto t = trace(8)) t << counted();
  EXPECT_EQ(evaluated, 0);
  if (auto t = trace(7)) t << counted();
  EXPECT_EQ(evaluated, 1);
}

TEST_F(Trace, CanBeSwitchedOffAgain) {
  sut.levelsIs(~0u);
  sut.levelsIs(0);
  if (auto t = trace(1)) t << "text";
  EXPECT_TRUE(sent.empty());
}

TEST_F(Trace, DoesNotSendAStatementThatAnExceptionEnded) {
  sut.levelsIs(~0u);
  EXPECT_THROW(
      {
        if (auto t = trace(8)) t << "half of it " << Unprintable();
      },
      std::runtime_error);
  EXPECT_TRUE(sent.empty());
}

struct TracesAtItsEnd {
  Kel::TraceHandle const& handle;
  ~TracesAtItsEnd() {
    if (auto t = Kel::Trace(handle, 8, std::source_location::current())) t << "unwound";
  }
};

TEST_F(Trace, SendsAWholeStatementMadeWhileAnExceptionPasses) {
  sut.levelsIs(~0u);
  try {
    TracesAtItsEnd const end{sut};
    throw std::runtime_error("passing");
  } catch (std::runtime_error const&) {
  }
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].text, "unwound");
}

TEST_F(Trace, HelperIsMadeOnlyWhileTheLevelIsOn) {
  sut.levelsIs(1u << 6);
  EXPECT_FALSE(Kel::TraceHelper::createIfEnabled(sut, 7));
  auto helper = Kel::TraceHelper::createIfEnabled(sut, 6);
  ASSERT_TRUE(helper);
  helper->stream() << "row " << 1;
  EXPECT_TRUE(sent.empty());
  helper->trace("file.cc", 3, "f()");
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].text, "row 1");
  EXPECT_EQ(sent[0].line, 3u);
}

TEST_F(Trace, WithoutASinkGoesToStandardErrorAndNeverToStandardOutput) {
  Kel::traceSinkIs(nullptr);
  sut.levelsIs(~0u);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  Kel::Trace(sut, 4, Kel::TracePosition("Unit.tin", 42, "void f()")) << "text";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Unit 4 Unit.tin:42 text\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(Trace, FrameworkHandleIsNamedKel) {
  EXPECT_EQ(Kel::frameworkTraceHandle().name(), "Kel");
  EXPECT_EQ(&Kel::frameworkTraceHandle(), &Kel::frameworkTraceHandle());
}

}  // namespace
}  // namespace KelTest
