// The bridges of a kernel, which need not know VLANs for it.
#include "hardware/linux/bridge_monitor.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <algorithm>
#include <optional>

#include "platform/glim/file_descriptor.h"
#include "tests/hardware/linux/monitor_socket.h"
#include "tests/hardware/linux/network_namespace.h"

namespace Hardware::Linux {
namespace {

using Test::InPlaceOfSocket;

class BridgeMonitorInKernel : public Test::NetworkNamespace {
 protected:
  bool knows(BridgeMonitor const& sut, std::string const& name) {
    auto const& all = sut.vlans().bridges();
    return std::any_of(all.begin(), all.end(),
                       [&](auto const& each) { return each.second.name == name; });
  }
};

TEST_F(BridgeMonitorInKernel, TheListTellsThoseThatThereAre) {
  addLink("br", "bridge");
  addVethPair("a", "b", false);
  BridgeMonitor sut;
  EXPECT_EQ(sut.fd(), -1);
  EXPECT_EQ(sut.poll(), std::errc::not_connected);
  ASSERT_FALSE(sut.start());
  EXPECT_GE(sut.fd(), 0);
  EXPECT_TRUE(knows(sut, "br"));
  EXPECT_EQ(sut.vlans().bridges().size(), 1u);
}

TEST_F(BridgeMonitorInKernel, NewsTellsThoseThatComeAreRenamedAndGo) {
  BridgeMonitor sut;
  ASSERT_FALSE(sut.start());
  addLink("br", "bridge");
  ASSERT_FALSE(sut.poll());
  EXPECT_TRUE(knows(sut, "br"));
  setName("br", "lan");
  ASSERT_FALSE(sut.poll());
  EXPECT_TRUE(knows(sut, "lan"));
  EXPECT_FALSE(knows(sut, "br"));
  deleteLink("lan");
  ASSERT_FALSE(sut.poll());
  EXPECT_TRUE(sut.vlans().bridges().empty());
  EXPECT_EQ(sut.resynchronisations(), 0u);
}

TEST_F(BridgeMonitorInKernel, LostNewsIsMadeGoodByTheList) {
  addLink("old", "bridge");
  BridgeMonitor sut({}, 1);  // the kernel makes that its least, a few KB
  ASSERT_FALSE(sut.start());
  // News piles up unread until it no longer fits.
  for (int i = 0; i < 40; ++i) addVethPair("v" + std::to_string(i), "w" + std::to_string(i), false);
  deleteLink("old");
  addLink("new", "bridge");
  ASSERT_FALSE(sut.poll());
  EXPECT_EQ(sut.resynchronisations(), 1u);
  EXPECT_FALSE(knows(sut, "old"));
  EXPECT_TRUE(knows(sut, "new"));
  ASSERT_FALSE(sut.poll());
  EXPECT_EQ(sut.resynchronisations(), 1u);
}

// A socket in place of the monitor's that takes no question, and has no news.
class Unreachable {
 public:
  explicit Unreachable(int fd) {
    int ends[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends), 0);
    _other = Glim::FileDescriptor(ends[1]);
    _socket.emplace(fd, Glim::FileDescriptor(ends[0]));
  }

 private:
  Glim::FileDescriptor _other;
  std::optional<InPlaceOfSocket> _socket;
};

TEST_F(BridgeMonitorInKernel, AListThatFailedIsTakenWithTheNextNews) {
  addLink("old", "bridge");
  BridgeMonitor sut;
  ASSERT_FALSE(sut.start());
  {
    Unreachable const kernel(sut.fd());
    EXPECT_TRUE(sut.start());
    EXPECT_TRUE(knows(sut, "old"));
    deleteLink("old");
    addLink("new", "bridge");
  }
  ASSERT_FALSE(sut.poll());
  EXPECT_FALSE(knows(sut, "old"));
  EXPECT_TRUE(knows(sut, "new"));
}

TEST_F(BridgeMonitorInKernel, NewsThatCouldNotBeReadIsMadeGoodByTheList) {
  addLink("old", "bridge");
  BridgeMonitor sut;
  ASSERT_FALSE(sut.start());
  {
    InPlaceOfSocket const noSocket(sut.fd(), Glim::FileDescriptor(open("/dev/null", O_RDONLY)));
    deleteLink("old");
    addLink("new", "bridge");
    EXPECT_EQ(sut.poll(), std::errc::not_a_socket);
    EXPECT_TRUE(knows(sut, "old"));
  }
  ASSERT_FALSE(sut.poll());
  EXPECT_FALSE(knows(sut, "old"));
  EXPECT_TRUE(knows(sut, "new"));
}

// Only the kernel knows whether a number is a bridge's; some cannot count VLANs at all.
TEST_F(BridgeMonitorInKernel, WhatIsNoBridgeCannotBeSwitched) {
  addLink("br", "bridge");
  addVethPair("a", "b", false);
  BridgeMonitor sut;
  EXPECT_TRUE(sut.switchVlanStatsOn(indexOf("a")));
  auto const ofBridge = sut.switchVlanStatsOn(indexOf("br"));
  if (ofBridge) GTEST_SKIP() << "this kernel's bridges count no VLANs: " << ofBridge.message();
}

}  // namespace
}  // namespace Hardware::Linux
