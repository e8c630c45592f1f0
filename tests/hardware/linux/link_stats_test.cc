#include "hardware/linux/link_stats.h"

#include "tests/hardware/linux/network_namespace.h"

namespace Hardware::Linux {
namespace {

using LinkStatsInKernel = Test::NetworkNamespace;

std::vector<std::uint8_t> const kUnicast{0x02, 0, 0, 0, 0, 0x01};

TEST_F(LinkStatsInKernel, CountsEveryFrameAndOctetOfAKnownNumberOfFrames) {
  addVethPair("a", "b");
  LinkStats sut;
  ASSERT_FALSE(sut.refresh(1.0));
  auto const* before = sut.find(indexOf("b"));
  ASSERT_NE(before, nullptr);
  auto const packets = before->rx_packets;
  auto const octets = before->rx_bytes;

  sendFrames("a", 25, 200, kUnicast);
  ASSERT_FALSE(sut.refresh(2.0));
  auto const* after = sut.find(indexOf("b"));
  ASSERT_NE(after, nullptr);
  EXPECT_EQ(after->rx_packets - packets, 25u);
  EXPECT_EQ(after->rx_bytes - octets, 25u * 200u);
}

TEST_F(LinkStatsInKernel, OneTickCostsOneDump) {
  addVethPair("a", "b");
  LinkStats sut;
  for (int port = 0; port < 1000; ++port) ASSERT_FALSE(sut.refresh(7.0));
  EXPECT_EQ(sut.dumps(), 1u);
  ASSERT_FALSE(sut.refresh(8.0));
  EXPECT_EQ(sut.dumps(), 2u);
}

TEST_F(LinkStatsInKernel, LinkThatIsGoneHasNoCounters) {
  addVethPair("a", "b");
  int const ifindex = indexOf("a");
  LinkStats sut;
  ASSERT_FALSE(sut.refresh(1.0));
  ASSERT_NE(sut.find(ifindex), nullptr);
  deleteLink("a");
  ASSERT_FALSE(sut.refresh(2.0));
  EXPECT_EQ(sut.find(ifindex), nullptr);
}

TEST_F(LinkStatsInKernel, FindsEveryOneOfSeveralHundredLinks) {
  std::vector<int> indexes;
  for (int i = 0; i < 200; ++i) {
    auto const name = "v" + std::to_string(i);
    addVethPair(name, "w" + std::to_string(i), false);
    indexes.push_back(indexOf(name));
  }
  LinkStats sut;
  ASSERT_FALSE(sut.refresh(1.0));
  for (int ifindex : indexes) EXPECT_NE(sut.find(ifindex), nullptr) << ifindex;
}

}  // namespace
}  // namespace Hardware::Linux
