// Reference counts and flags changed by several threads at once.
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <thread>
#include <vector>

#include "platform/kel/ptr_interface.h"

namespace Kel {
namespace {

class Shared : public PtrInterface {
 public:
  explicit Shared(std::atomic<int>& destroyed) : _destroyed(destroyed) {}
  ~Shared() override { _destroyed += written; }  // sees what every thread wrote
  int written = 0;

 private:
  std::atomic<int>& _destroyed;
};

class ThreadSafePtr : public testing::Test {
 protected:
  static constexpr int kThreads = 4;

  ThreadSafePtr() { VFPtrInterface::enableThreadSafePointers = 1; }
  ~ThreadSafePtr() override { VFPtrInterface::enableThreadSafePointers = 0; }

  // Runs work(n) in each thread; all begin together.
  template <class Work>
  static void inThreads(Work const& work) {
    std::barrier start(kThreads);
    std::vector<std::thread> threads;
    for (int n = 0; n < kThreads; ++n)
      threads.emplace_back([&start, &work, n] {
        start.arrive_and_wait();
        work(n);
      });
    for (std::thread& t : threads) t.join();
  }

  std::atomic<int> destroyed = 0;
};

TEST_F(ThreadSafePtr, LosesNoReference) {
  auto const sut = make<Shared>(destroyed);
  inThreads([&](int) {
    std::vector<Ptr<Shared>> held;
    for (int round = 0; round < 500; ++round) {
      for (int i = 0; i < 50; ++i) held.push_back(sut);
      held.clear();
    }
  });
  EXPECT_EQ(sut->references(), 1u);
  EXPECT_EQ(destroyed, 0);
}

TEST_F(ThreadSafePtr, KeepsTheReferencesThatThreadsStillHold) {
  auto const sut = make<Shared>(destroyed);
  std::vector<std::vector<Ptr<Shared>>> held(kThreads);
  inThreads([&](int n) { held[static_cast<std::size_t>(n)].assign(10'000, sut); });
  EXPECT_EQ(sut->references(), 1u + kThreads * 10'000u);
}

TEST_F(ThreadSafePtr, TheLastReferenceDestroysOnceAfterAllUses) {
  for (int round = 0; round < 200; ++round) {
    std::vector<Ptr<Shared>> held(kThreads, make<Shared>(destroyed));
    destroyed = 0;
    inThreads([&](int n) {
      auto& mine = held[static_cast<std::size_t>(n)];
      if (n == 0) mine->written = 1;
      mine = nullptr;
    });
    ASSERT_EQ(destroyed, 1);
  }
}

TEST_F(ThreadSafePtr, FlagsAndReferencesDoNotDisturbEachOther) {
  auto const sut = make<Shared>(destroyed);
  inThreads([&](int n) {
    for (int i = 0; i <= 20'000; ++i) {
      Ptr<Shared> const held = sut;
      if (n == 0) sut->kelMarkedForDeletionIs(i % 2 == 0);
      if (n == 1) sut->hasNotificationActiveIs(i % 2 == 0);
    }
  });
  EXPECT_EQ(sut->references(), 1u);
  EXPECT_TRUE(sut->kelMarkedForDeletion());
  EXPECT_TRUE(sut->hasNotificationActive());
}

}  // namespace
}  // namespace Kel
