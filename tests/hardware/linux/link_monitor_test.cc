#include "hardware/linux/link_monitor.h"

#include <fcntl.h>
#include <linux/if_arp.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <poll.h>

#include <chrono>

#include "hardware/linux/link_speed.h"
#include "tests/hardware/linux/monitor_socket.h"
#include "tests/hardware/linux/network_namespace.h"

namespace Hardware::Linux {
namespace {

using Test::InPlaceOfSocket;
using Type = LinkEvent::Type;

class LinkMonitorInKernel : public Test::NetworkNamespace {
 protected:
  /// Read news until an event is like this, or until the deadline; what came lies in `events`.
  template <typename Is>
  LinkEvent const* await(LinkMonitor& monitor, Is&& is) {
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (true) {
      EXPECT_FALSE(monitor.poll(events));
      for (auto const& event : events)
        if (is(event)) return &event;
      auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(
          deadline - std::chrono::steady_clock::now());
      if (left.count() <= 0) return nullptr;
      pollfd waited{.fd = monitor.fd(), .events = POLLIN, .revents = 0};
      ::poll(&waited, 1, static_cast<int>(left.count()));
    }
  }
  LinkEvent const* await(LinkMonitor& monitor, Type type, std::string const& name) {
    return await(monitor, [&](LinkEvent const& event) {
      return event.type == type && event.link.name == name;
    });
  }
  LinkMonitor::Events events;
};

TEST_F(LinkMonitorInKernel, LinksThatAreThereAppearAtTheStartAndTheLoopbackDoesNot) {
  addVethPair("a", "b");
  LinkMonitor sut;
  ASSERT_FALSE(sut.start(events));
  std::vector<std::string> names;
  for (auto const& event : events) {
    EXPECT_EQ(event.type, Type::appeared);
    names.push_back(event.link.name);
  }
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"a", "b"}));
}

TEST_F(LinkMonitorInKernel, LinkIsDescribed) {
  addVethPair("a", "b");
  setMtu("a", 1400);
  setAlias("a", "to the other side");
  LinkSpeed speed;
  LinkMonitor sut([&](int ifindex) { return speed.of(ifindex); });
  ASSERT_FALSE(sut.start(events));
  ASSERT_TRUE(sut.links().contains(indexOf("a")));
  Link const& link = sut.links().at(indexOf("a"));
  EXPECT_EQ(link.name, "a");
  EXPECT_EQ(link.alias, "to the other side");
  EXPECT_EQ(link.kind, "veth");
  EXPECT_EQ(link.mtu, 1400u);
  EXPECT_TRUE(link.adminUp);
  EXPECT_EQ(link.operState, OperState::up);
  EXPECT_EQ(link.speed, 10'000'000'000u);  // what the veth driver says of itself
}

TEST_F(LinkMonitorInKernel, NewLinkAppears) {
  LinkMonitor sut;
  ASSERT_FALSE(sut.start(events));
  ASSERT_TRUE(events.empty());
  addVethPair("a", "b");
  auto const* event = await(sut, Type::appeared, "a");
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(event->link.ifindex, indexOf("a"));
}

TEST_F(LinkMonitorInKernel, RenamedLinkKeepsItsIndex) {
  addVethPair("a", "b", false);
  LinkMonitor sut;
  ASSERT_FALSE(sut.start(events));
  events.clear();
  setName("a", "uplink");
  auto const* event = await(sut, Type::renamed, "uplink");
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(event->oldName, "a");
  EXPECT_EQ(event->link.ifindex, indexOf("uplink"));
}

TEST_F(LinkMonitorInKernel, AdministrativeStateIsAChange) {
  addVethPair("a", "b");
  LinkMonitor sut;
  ASSERT_FALSE(sut.start(events));
  events.clear();
  setAdminUp("a", false);
  EXPECT_NE(await(sut,
                  [](LinkEvent const& event) {
                    return event.type == Type::changed && event.link.name == "a" &&
                           !event.link.adminUp && event.link.operState == OperState::down;
                  }),
            nullptr);
}

TEST_F(LinkMonitorInKernel, LinkWhosePeerGoesDownLosesItsOperState) {
  addVethPair("a", "b");
  LinkMonitor sut;
  ASSERT_FALSE(sut.start(events));
  events.clear();
  setAdminUp("b", false);
  EXPECT_NE(await(sut,
                  [](LinkEvent const& event) {
                    return event.link.name == "a" && event.link.adminUp &&
                           event.link.operState == OperState::lowerLayerDown;
                  }),
            nullptr);
}

TEST_F(LinkMonitorInKernel, DeletedLinksVanish) {
  addVethPair("a", "b");
  LinkMonitor sut;
  ASSERT_FALSE(sut.start(events));
  deleteLink("a");
  EXPECT_NE(await(sut, Type::vanished, "a"), nullptr);
  EXPECT_NE(await(sut, Type::vanished, "b"), nullptr);
  EXPECT_TRUE(sut.links().empty());
}

TEST_F(LinkMonitorInKernel, LinkThatLeavesItsBridgeIsNotGone) {
  addVethPair("a", "b");
  addLink("br", "bridge");
  setMaster("a", "br");
  LinkMonitor sut;
  ASSERT_FALSE(sut.start(events));
  events.clear();
  setMaster("a", "");
  setAlias("a", "left");  // the last news; all before it is read when it is
  ASSERT_NE(await(sut, [](LinkEvent const& event) { return event.link.alias == "left"; }), nullptr);
  for (auto const& event : events) EXPECT_NE(event.type, Type::vanished) << event.link.name;
  EXPECT_TRUE(sut.links().contains(indexOf("a")));
}

TEST_F(LinkMonitorInKernel, LostNewsIsMadeGoodByTheList) {
  addVethPair("old", "older", false);
  LinkMonitor sut({}, 1);  // the kernel makes that its least, a few KB
  ASSERT_FALSE(sut.start(events));
  events.clear();
  // News piles up unread until it no longer fits.
  for (int i = 0; i < 40; ++i) addVethPair("v" + std::to_string(i), "w" + std::to_string(i), false);
  deleteLink("old");
  ASSERT_NE(await(sut, Type::vanished, "old"), nullptr);
  EXPECT_GE(sut.resynchronisations(), 1u);
  EXPECT_EQ(sut.links().size(), 80u);
  for (int i = 0; i < 40; ++i)
    EXPECT_TRUE(sut.links().contains(indexOf("w" + std::to_string(i)))) << i;
}

TEST_F(LinkMonitorInKernel, NewsThatCouldNotBeReadIsMadeGoodByTheList) {
  addVethPair("old", "older", false);
  LinkMonitor sut;
  ASSERT_FALSE(sut.start(events));
  events.clear();
  {
    InPlaceOfSocket const noSocket(sut.fd(), Glim::FileDescriptor(open("/dev/null", O_RDONLY)));
    deleteLink("old");
    EXPECT_EQ(sut.poll(events), std::errc::not_a_socket);
    EXPECT_TRUE(events.empty());
  }
  ASSERT_FALSE(sut.poll(events));
  EXPECT_EQ(events.size(), 2u);
  EXPECT_TRUE(sut.links().empty());
}

// Messages as the kernel sends them where a test cannot make it send them.

ifinfomsg ethernet(int ifindex, unsigned char family = AF_UNSPEC) {
  ifinfomsg header{};
  header.ifi_family = family;
  header.ifi_type = ARPHRD_ETHER;
  header.ifi_index = ifindex;
  return header;
}

TEST(LinkMessage, DeletionOfFamilyBridgeIsNoNews) {
  NetlinkRequest message(RTM_DELLINK, ethernet(5, AF_BRIDGE));
  EXPECT_EQ(readLinkMessage(message.header()), std::nullopt);
}

TEST(LinkMessage, WirelessEventIsNoNews) {
  NetlinkRequest message(RTM_NEWLINK, ethernet(5));
  message.putText(IFLA_IFNAME, "wlan0").put(IFLA_WIRELESS, std::uint64_t{0});
  EXPECT_EQ(readLinkMessage(message.header()), std::nullopt);
}

TEST(LinkMessage, LinkThatIsNoLongerEthernetIsGone) {
  ifinfomsg header = ethernet(5);
  header.ifi_type = ARPHRD_NONE;
  NetlinkRequest message(RTM_NEWLINK, header);
  message.putText(IFLA_IFNAME, "tun0");
  auto const news = readLinkMessage(message.header());
  ASSERT_TRUE(news);
  EXPECT_TRUE(news->gone);
}

TEST(LinkMessage, OperStateOfALaterKernelIsUnknown) {
  NetlinkRequest message(RTM_NEWLINK, ethernet(5));
  message.put(IFLA_OPERSTATE, std::uint8_t{77});
  auto const news = readLinkMessage(message.header());
  ASSERT_TRUE(news);
  EXPECT_EQ(news->link.operState, OperState::unknown);
}

TEST(LinkMessage, TruncatedMessageIsNoNews) {
  NetlinkRequest message(RTM_NEWLINK, std::uint32_t{0});
  EXPECT_EQ(readLinkMessage(message.header()), std::nullopt);
}

}  // namespace
}  // namespace Hardware::Linux
