#include "reader/progress.h"

#include <gmock/gmock.h>

#include <sstream>

namespace Show {
namespace {

using testing::IsEmpty;

class ProgressOfACheck : public testing::Test {
 protected:
  // A check of eleven steps of 0.3 s.
  std::string of(bool terminal, bool wanted) {
    std::ostringstream err;
    double now = 100.0;
    Progress sut({.terminal = terminal, .wanted = wanted, .clock = [&now] { return now; }}, err);
    sut.begin("intfCounters");
    for (std::uint64_t done = 0; done <= 10; ++done, now += 0.3) sut.tell(done, 10);
    sut.end();
    return err.str();
  }
};

TEST_F(ProgressOfACheck, OnATerminalIsOneLineThatGoesAway) {
  std::string const told = of(true, false);
  EXPECT_EQ(told.find('\n'), std::string::npos);
  EXPECT_THAT(told, testing::StartsWith("\r\033[Koru-counters: intfCounters: 40 % of 10 slots"));
  EXPECT_THAT(told, testing::EndsWith("100 % of 10 slots\r\033[K"));
}

TEST_F(ProgressOfACheck, ElsewhereIsNotToldUnlessItIsWanted) {
  EXPECT_THAT(of(false, false), IsEmpty());
  EXPECT_EQ(of(false, true),
            "oru-counters: intfCounters: 40 % of 10 slots\n"
            "oru-counters: intfCounters: 80 % of 10 slots\n"
            "oru-counters: intfCounters: 100 % of 10 slots\n");
}

TEST_F(ProgressOfACheck, OfAShortCheckIsNotTold) {
  std::ostringstream err;
  Progress sut({.terminal = true, .clock = [] { return 1.0; }}, err);
  sut.begin("intfCounters");
  sut.tell(10, 10);
  sut.end();
  EXPECT_THAT(err.str(), IsEmpty());
}

}  // namespace
}  // namespace Show
