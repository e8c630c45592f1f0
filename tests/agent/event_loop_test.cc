#include "agent/event_loop.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace Agent {
namespace {

// A descriptor that has something to be read from the start.
class Full {
 public:
  Full() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe(ends.data()), 0);
    _read = Glim::FileDescriptor(ends[0]);
    _write = Glim::FileDescriptor(ends[1]);
    fill();
  }
  void fill() { EXPECT_EQ(::write(_write.get(), "x", 1), 1); }
  int writeFd() const { return _write.get(); }
  void closeWriteEnd() { _write = {}; }
  void closeReadEnd() { _read = {}; }
  void empty() {
    char byte = 0;
    EXPECT_EQ(::read(_read.get(), &byte, 1), 1);
  }
  int fd() const { return _read.get(); }

 private:
  Glim::FileDescriptor _read, _write;
};

constexpr Kel::Seconds kForever = 1e9;

TEST(EventLoop, TakesTheFirstTurnAtOnce) {
  EventLoop sut;
  int turns = 0;
  sut.run([&] {
    ++turns;
    sut.stop();
    return kForever;
  });
  EXPECT_EQ(turns, 1);
}

TEST(EventLoop, TakesAnotherTurnWhenTheTimeIsUp) {
  EventLoop sut;
  int turns = 0;
  sut.run([&] {
    if (++turns == 3) sut.stop();
    return 0.001;
  });
  EXPECT_EQ(turns, 3);
}

TEST(EventLoop, CallsTheHandlerOfAReadableDescriptorBeforeTheTurn) {
  EventLoop sut;
  Full full;
  std::string order;
  sut.readableIs(full.fd(), [&] {
    full.empty();
    order += 'h';
  });
  int turns = 0;
  sut.run([&] {
    order += 't';
    if (++turns == 2) sut.stop();
    return 0.0;
  });
  EXPECT_EQ(order, "htt");
}

TEST(EventLoop, IsWokenByADescriptorWhileItSleeps) {
  EventLoop sut;
  Full full;
  full.empty();
  int turns = 0, woken = 0;
  sut.readableIs(full.fd(), [&] {
    ++woken;
    sut.stop();
  });
  sut.run([&] {
    ++turns;
    full.fill();
    return kForever;
  });
  EXPECT_EQ(turns, 1);
  EXPECT_EQ(woken, 1);
}

TEST(EventLoop, StopInAHandlerLeavesTheTurnOut) {
  EventLoop sut;
  Full full;
  sut.readableIs(full.fd(), [&] { sut.stop(); });
  int turns = 0;
  sut.run([&] { return ++turns, kForever; });
  EXPECT_EQ(turns, 0);
}

TEST(EventLoop, ADroppedDescriptorIsNotHeeded) {
  EventLoop sut;
  Full full;
  bool called = false;
  sut.readableIs(full.fd(), [&] { called = true; });
  sut.readableDel(full.fd());
  sut.run([&] {
    sut.stop();
    return kForever;
  });
  EXPECT_FALSE(called);
}

TEST(EventLoop, AHandlerMayDropItselfAndItsNeighbour) {
  EventLoop sut;
  Full one, other;
  int calls = 0;
  auto const dropBoth = [&, text = std::string("held by the handler itself")] {
    sut.readableDel(one.fd());
    sut.readableDel(other.fd());
    if (!text.empty()) ++calls;
  };
  sut.readableIs(one.fd(), dropBoth);
  sut.readableIs(other.fd(), dropBoth);
  int turns = 0;
  sut.run([&] {
    if (++turns == 2) sut.stop();
    return 0.0;
  });
  EXPECT_EQ(calls, 1);
}

TEST(EventLoop, TheHandlerSetLastCounts) {
  EventLoop sut;
  Full full;
  std::vector<int> called;
  sut.readableIs(full.fd(), [&] { called.push_back(1); });
  sut.readableIs(full.fd(), [&] {
    called.push_back(2);
    sut.stop();
  });
  sut.run([&] { return kForever; });
  EXPECT_EQ(called, std::vector<int>{2});
}

TEST(EventLoop, CallsTheHandlerOfAWritableDescriptorUntilItIsDropped) {
  EventLoop sut;
  Full pipe;
  int calls = 0;
  sut.writableIs(pipe.writeFd(), [&] {
    if (++calls == 3) sut.writableDel(pipe.writeFd());
  });
  int turns = 0;
  sut.run([&] {
    if (++turns == 5) sut.stop();
    return 0.0;
  });
  EXPECT_EQ(calls, 3);
}

TEST(EventLoop, HeedsADescriptorBothWaysAndEachForItself) {
  EventLoop sut;
  std::array<int, 2> ends{};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
  Glim::FileDescriptor const one(ends[0]), other(ends[1]);
  ASSERT_EQ(::write(other.get(), "x", 1), 1);
  std::string order;
  sut.readableIs(one.get(), [&] {
    order += 'r';
    sut.readableDel(one.get());
  });
  sut.writableIs(one.get(), [&] { order += 'w'; });
  int turns = 0;
  sut.run([&] {
    if (++turns == 2) sut.stop();
    return 0.0;
  });
  EXPECT_EQ(order, "rww");
}

// Its end is told for as long as it is heeded: whoever waits for nothing more is not woken by it.
TEST(EventLoop, ADescriptorThatIsHeededInNoWayIsNotWokenByItsEnd) {
  EventLoop sut;
  Full pipe;
  sut.readableIs(pipe.fd(), [&] { sut.readableDel(pipe.fd()); });
  pipe.closeWriteEnd();
  int turns = 0;
  auto const started = std::chrono::steady_clock::now();
  sut.run([&] {
    if (++turns == 2) sut.stop();
    return 0.005;
  });
  EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(5));
}

TEST(EventLoop, TheEndOfAPipeWakesWhoWantsToWrite) {
  EventLoop sut;
  Full pipe;
  pipe.closeReadEnd();
  bool called = false;
  sut.writableIs(pipe.writeFd(), [&] {
    called = true;
    sut.stop();
  });
  sut.run([&] { return kForever; });
  EXPECT_TRUE(called);
}

TEST(EventLoop, AnExceptionOfTheTurnLeavesIt) {
  EventLoop sut;
  EXPECT_THROW(sut.run([]() -> Kel::Seconds { throw std::runtime_error("no"); }),
               std::runtime_error);
}

TEST(EventLoop, CanBeRunAgainAfterAStop) {
  EventLoop sut;
  int turns = 0;
  auto const once = [&] {
    ++turns;
    sut.stop();
    return kForever;
  };
  sut.run(once);
  sut.run(once);
  EXPECT_EQ(turns, 2);
}

TEST(EventLoop, ADescriptorThatCannotBeWatchedIsAnError) {
  EventLoop sut;
  EXPECT_THROW(sut.readableIs(-1, [] {}), std::system_error);
}

}  // namespace
}  // namespace Agent
