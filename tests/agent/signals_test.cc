#include "agent/signals.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

TEST(Signals, TellsASignalThatCame) {
  Signals sut({SIGUSR1});
  ::raise(SIGUSR1);
  EXPECT_EQ(sut.take(), SIGUSR1);
  EXPECT_EQ(sut.take(), 0);
}

TEST(Signals, TellsNothingWhenNoneCame) {
  Signals sut({SIGUSR1});
  EXPECT_EQ(sut.take(), 0);
}

TEST(Signals, ASignalThatCameDoesNotStrikeWhenTheObjectGoes) {
  {
    Signals sut({SIGUSR1});
    ::raise(SIGUSR1);
  }
  sigset_t pending;
  ASSERT_EQ(::sigpending(&pending), 0);
  EXPECT_EQ(::sigismember(&pending, SIGUSR1), 0);
}

TEST(Signals, PutsTheMaskBack) {
  { Signals sut({SIGUSR1}); }
  sigset_t mask;
  ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, nullptr, &mask), 0);
  EXPECT_FALSE(sigismember(&mask, SIGUSR1));
}

}  // namespace
}  // namespace Agent
