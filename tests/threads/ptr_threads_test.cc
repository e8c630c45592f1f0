// References taken and dropped by several threads at once, in the mode that is for them.
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <latch>
#include <thread>
#include <vector>

#include "platform/kel/ptr_interface.h"

namespace Kel {
namespace {

class Shared : public PtrInterface {
 public:
  explicit Shared(std::atomic<int>& destroyed) : _destroyed(destroyed) {}
  ~Shared() override { ++_destroyed; }

 private:
  std::atomic<int>& _destroyed;
};

class PtrThreads : public testing::Test {
 protected:
  PtrThreads() { VFPtrInterface::enableThreadSafePointers = 1; }
  ~PtrThreads() override { VFPtrInterface::enableThreadSafePointers = 0; }

  // All at the same time.
  static void inThreads(std::ptrdiff_t count, auto const& work) {
    std::latch start(count);
    std::vector<std::thread> threads;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      threads.emplace_back([&] {
        start.arrive_and_wait();
        work();
      });
    }
    for (std::thread& thread : threads) thread.join();
  }

  std::atomic<int> destroyed = 0;
};

TEST_F(PtrThreads, NoReferenceIsLostAmongManyCopies) {
  auto const sut = make<Shared>(destroyed);
  inThreads(2, [&] {
    for (int i = 0; i < 100'000; ++i) Ptr<Shared> const copy = sut;
  });
  EXPECT_EQ(sut->references(), 1u);
  EXPECT_EQ(destroyed, 0);
}

TEST_F(PtrThreads, TheLastReferenceDestroysTheObjectOnce) {
  for (int i = 0; i < 500; ++i) {
    auto first = make<Shared>(destroyed);
    std::thread other([second = first]() mutable { second = nullptr; });
    first = nullptr;
    other.join();
    ASSERT_EQ(destroyed, i + 1);
  }
}

}  // namespace
}  // namespace Kel
