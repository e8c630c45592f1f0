#include "hardware/linux/qdisc_stats.h"

#include <linux/gen_stats.h>
#include <linux/pkt_cls.h>
#include <linux/pkt_sched.h>
#include <linux/rtnetlink.h>

#include <array>

#include "tests/hardware/linux/network_namespace.h"

namespace Hardware::Linux {
namespace {

// As a kernel sent them: clsact of link 2 whose filters dropped 7 packets, and the child of queue 0
// of an mq with handle 8006:.
constexpr char const* kClsact =
    "9800000024000200010000000950000000000000020000000000fffff1ffffff010000000b000100636c7361637400"
    "00"
    "0400020005000c00000000003000070014000100d20700000000000007000000000000001800030000000000000000"
    "00"
    "0700000000000000000000002c000300d2070000000000000700000007000000000000000000000000000000000000"
    "000000000000000000";
constexpr char const* kMqChild =
    "b000000024000200010000000950000000000000030000000000000001000680010000000f000100706669666f5f66"
    "61"
    "7374000018000200030000000102020201020000010101010101010105000c00000000003000070014000100340800"
    "00"
    "00000000070000000000000018000300000000000000000000000000000000000000000"
    "02c0003003408000000000000070000000000000000000000000000000000000000000000000000000000000";

/// A message of its own memory.
class Message {
 public:
  // What is `behind` it is not of the message.
  explicit Message(std::string_view hex, char behind = 0) {
    _bytes.fill(behind);
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
      _bytes[i / 2] = static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
  }
  explicit Message(NetlinkRequest& request) {
    std::memcpy(_bytes.data(), &request.header(), request.header().nlmsg_len);
  }
  nlmsghdr& header() { return *reinterpret_cast<nlmsghdr*>(_bytes.data()); }
  char& at(std::size_t offset) { return _bytes.at(offset); }

 private:
  alignas(nlmsghdr) std::array<char, 4096> _bytes{};
};

/// A child of an mq with what `fill` puts among its statistics.
template <class Fill>
QdiscNews news(Fill const& fill, char const* kind = "pfifo_fast") {
  tcmsg header{};
  header.tcm_ifindex = 3;
  header.tcm_parent = 0x10001;
  NetlinkRequest request(RTM_NEWQDISC, header);
  request.putText(TCA_KIND, kind).nest(TCA_STATS2, fill);
  return readQdiscMessage(Message(request).header()).value();
}
gnet_stats_basic basic(std::uint64_t octets, std::uint32_t pkts) {
  gnet_stats_basic stats{};
  stats.bytes = octets;
  stats.packets = pkts;
  return stats;
}
gnet_stats_queue queue(std::uint32_t drops) {
  gnet_stats_queue stats{};
  stats.drops = drops;
  return stats;
}

TEST(QdiscMessage, OfFiltersTellsTheirDrops) {
  auto const news = readQdiscMessage(Message(kClsact).header());
  ASSERT_TRUE(news);
  EXPECT_EQ(news->ifindex, 2);
  EXPECT_EQ(news->qdisc.parent, TC_H_CLSACT);
  EXPECT_EQ(news->qdisc.kind, QdiscKind::filters);
  EXPECT_EQ(news->qdisc.counts, (QdiscCounts{.pkts = 7, .octets = 2002, .drops = 7}));
}

TEST(QdiscMessage, OfAQueueTellsItsPlaceAndItsCounts) {
  auto const news = readQdiscMessage(Message(kMqChild).header());
  ASSERT_TRUE(news);
  EXPECT_EQ(news->ifindex, 3);
  EXPECT_EQ(news->qdisc.parent, 0x80060001U);
  EXPECT_EQ(news->qdisc.kind, QdiscKind::other);
  EXPECT_EQ(news->qdisc.counts, (QdiscCounts{.pkts = 7, .octets = 2100, .drops = 0}));
}

TEST(QdiscMessage, CutAnywhereIsNoCountThatIsWrong) {
  Message whole(kMqChild);
  QdiscCounts const counts{.pkts = 7, .octets = 2100, .drops = 0};
  std::uint32_t const length = whole.header().nlmsg_len;
  for (std::uint32_t cut = sizeof(nlmsghdr); cut < length; ++cut) {
    Message message(kMqChild);
    message.header().nlmsg_len = cut;
    auto const news = readQdiscMessage(message.header());
    if (cut < sizeof(nlmsghdr) + sizeof(tcmsg)) {
      EXPECT_FALSE(news) << cut;
    } else if (news->qdisc.counts) {
      EXPECT_EQ(*news->qdisc.counts, counts) << cut;
    }
  }
}

TEST(QdiscMessage, WithAnyLengthOfAnyAttributeIsReadWithinIt) {
  for (std::size_t at = sizeof(nlmsghdr) + sizeof(tcmsg); at < 0xb0; at += 4)
    for (char const length : {'\0', '\1', '\4', '\7', '\xff'}) {
      auto const readBefore = [&](char behind) {
        Message message(kMqChild, behind);
        message.at(at) = length;
        return readQdiscMessage(message.header());
      };
      auto const news = readBefore('\0'), same = readBefore('\x5a');
      ASSERT_EQ(news.has_value(), same.has_value()) << at;
      if (news) {
        EXPECT_EQ(news->qdisc, same->qdisc) << at;
      }
    }
}

TEST(QdiscMessage, OfAnotherTypeIsNone) {
  Message message(kClsact);
  message.header().nlmsg_type = RTM_NEWTCLASS;
  EXPECT_FALSE(readQdiscMessage(message.header()));
}

TEST(QdiscMessage, WithoutStatisticsHasNoCounts) {
  EXPECT_FALSE(news([](auto&) {}).qdisc.counts);
  EXPECT_FALSE(news([](auto& stats) { stats.put(TCA_STATS_BASIC, basic(1, 1)); }).qdisc.counts);
  EXPECT_FALSE(news([](auto& stats) { stats.put(TCA_STATS_QUEUE, queue(1)); }).qdisc.counts);
}

TEST(QdiscMessage, WithShortStatisticsHasNoCounts) {
  EXPECT_FALSE(news([](auto& stats) {
                 stats.put(TCA_STATS_BASIC, std::uint64_t{9}).put(TCA_STATS_QUEUE, queue(1));
               }).qdisc.counts);
  EXPECT_FALSE(news([](auto& stats) {
                 stats.put(TCA_STATS_BASIC, basic(9, 9)).put(TCA_STATS_QUEUE, std::uint32_t{1});
               }).qdisc.counts);
}

TEST(QdiscMessage, PacketsBeyond32BitsStandInAnAttributeOfTheirOwn) {
  std::uint64_t const pkts = (std::uint64_t{1} << 32) + 5;
  auto const told = news([&](auto& stats) {
    stats.put(TCA_STATS_BASIC, basic(900, 5))
        .put(TCA_STATS_PKT64, pkts)
        .put(TCA_STATS_QUEUE, queue(2));
  });
  EXPECT_EQ(told.qdisc.counts, (QdiscCounts{.pkts = pkts, .octets = 900, .drops = 2}));
}

TEST(QdiscMessage, PacketsOfTheHardwareAloneAreNotThoseOfAll) {
  auto const told = news([&](auto& stats) {
    stats.put(TCA_STATS_BASIC, basic(900, 5))
        .put(TCA_STATS_BASIC_HW, basic(100, 1))
        .put(TCA_STATS_PKT64, std::uint64_t{77})
        .put(TCA_STATS_QUEUE, queue(2));
  });
  EXPECT_EQ(told.qdisc.counts->pkts, 5u);
}

TEST(QdiscMessage, ADisciplineOfAKindThatIsNotKnownCountsAsAnyOther) {
  auto const told = news(
      [&](auto& stats) {
        stats.put(TCA_STATS_BASIC, basic(900, 5)).put(TCA_STATS_QUEUE, queue(2));
      },
      "brand_new");
  EXPECT_EQ(told.qdisc.kind, QdiscKind::other);
  EXPECT_TRUE(told.qdisc.counts);
}

TEST(QdiscMessage, SourcesDifferByKindAndByHandle) {
  auto const source = [](char const* kind) { return news([](auto&) {}, kind).qdisc.source; };
  EXPECT_EQ(source("pfifo_fast"), source("pfifo_fast"));
  EXPECT_NE(source("pfifo_fast"), source("fq_codel"));
  auto const clsact = readQdiscMessage(Message(kClsact).header())->qdisc.source;
  Message other(kClsact);
  other.at(sizeof(nlmsghdr) + offsetof(tcmsg, tcm_handle)) = 1;
  EXPECT_NE(readQdiscMessage(other.header())->qdisc.source, clsact);
}

class QdiscStatsInKernel : public Test::NetworkNamespace {
 protected:
  std::vector<std::uint8_t> const kUnicast{0x02, 0, 0, 0, 0, 0x01};
  std::uint64_t octetsAt(QdiscStats& sut, char const* link, std::uint32_t parent) {
    for (Qdisc const& qdisc : sut.find(indexOf(link)))
      if (qdisc.parent == parent) return qdisc.counts ? qdisc.counts->octets : 0;
    ADD_FAILURE() << link << " has no such discipline";
    return 0;
  }
};

TEST_F(QdiscStatsInKernel, OneTickCostsOneDump) {
  addVethPair("a", "b");
  QdiscStats sut;
  for (int port = 0; port < 1000; ++port) ASSERT_FALSE(sut.refresh(7.0));
  EXPECT_EQ(sut.dumps(), 1u);
  ASSERT_FALSE(sut.refresh(8.0));
  EXPECT_EQ(sut.dumps(), 2u);
}

TEST_F(QdiscStatsInKernel, FindsTheDisciplinesOfEachLink) {
  addVethPair("a", "b");
  addQdisc("b", "clsact", TC_H_CLSACT);
  QdiscStats sut;
  ASSERT_FALSE(sut.refresh(1.0));
  ASSERT_EQ(sut.find(indexOf("a")).size(), 1u);
  EXPECT_EQ(sut.find(indexOf("a"))[0].kind, QdiscKind::none);
  EXPECT_EQ(sut.find(indexOf("b")).size(), 2u);
  EXPECT_TRUE(sut.find(9999).empty());
}

// The Ethernet header is there when a frame goes out, and has been taken off one that came in.
TEST_F(QdiscStatsInKernel, OctetsHaveTheEthernetHeaderAtEgressAndNotAtTheFiltersOfIngress) {
  addVethPair("a", "b");
  addQdisc("a", "pfifo", TC_H_ROOT);
  addQdisc("b", "clsact", TC_H_CLSACT);
  addFilter("b", TC_H_MIN_INGRESS, kExperimental, TC_ACT_OK);  // without one it does not count
  sendFrames("a", 10, 200, kUnicast);
  QdiscStats sut;
  double now = 0.0;
  EXPECT_TRUE(comesTrue([&] {
    EXPECT_FALSE(sut.refresh(now += 1.0));
    return octetsAt(sut, "b", TC_H_CLSACT) >= 10u * (200u - 14u);
  }));
  EXPECT_EQ(octetsAt(sut, "a", TC_H_ROOT), 10u * 200u);
  EXPECT_EQ(octetsAt(sut, "b", TC_H_CLSACT), 10u * (200u - 14u));
}

TEST_F(QdiscStatsInKernel, OctetsHaveTheEthernetHeaderAtTheFiltersOfEgress) {
  addVethPair("a", "b");
  addQdisc("a", "clsact", TC_H_CLSACT);
  addFilter("a", TC_H_MIN_EGRESS, kExperimental, TC_ACT_OK);
  sendFrames("a", 10, 200, kUnicast);
  QdiscStats sut;
  ASSERT_FALSE(sut.refresh(1.0));
  EXPECT_EQ(octetsAt(sut, "a", TC_H_CLSACT), 10u * 200u);
}

}  // namespace
}  // namespace Hardware::Linux
