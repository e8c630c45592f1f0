// The bridges of a kernel, which need not know VLANs for it.
#include "hardware/linux/bridge_monitor.h"

#include <algorithm>

#include "tests/hardware/linux/network_namespace.h"

namespace Hardware::Linux {
namespace {

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

TEST_F(BridgeMonitorInKernel, WhatIsNoBridgeCannotBeSwitched) {
  BridgeMonitor sut;
  EXPECT_TRUE(sut.switchVlanStatsOn(4711));
}

TEST(ListUntilWhole, AsksAgainWhileItIsInterruptedAndNoMore) {
  auto const interrupted = std::make_error_code(std::errc::interrupted);
  for (auto const& end : {std::error_code(), std::make_error_code(std::errc::timed_out)}) {
    int asked = 0;
    EXPECT_EQ(listUntilWhole([&] { return ++asked < 3 ? interrupted : end; }), end);
    EXPECT_EQ(asked, 3);
  }
  int asked = 0;
  EXPECT_EQ(listUntilWhole([&] { return ++asked, interrupted; }, 5), interrupted);
  EXPECT_EQ(asked, 5);
}

}  // namespace
}  // namespace Hardware::Linux
