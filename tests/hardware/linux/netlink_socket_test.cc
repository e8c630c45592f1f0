#include "hardware/linux/netlink_socket.h"

#include <linux/genetlink.h>
#include <linux/rtnetlink.h>

#include "tests/hardware/linux/network_namespace.h"

namespace Hardware::Linux {
namespace {

using NetlinkSocketInKernel = Test::NetworkNamespace;

TEST_F(NetlinkSocketInKernel, ErrorOfTheKernelIsAnAnswer) {
  NetlinkSocket sut(NETLINK_ROUTE);
  ifinfomsg fixed{};
  fixed.ifi_index = 4711;
  NetlinkRequest request(RTM_GETLINK, fixed);
  EXPECT_EQ(sut.request(request), std::errc::no_such_device);
}

TEST_F(NetlinkSocketInKernel, SocketServesOnAfterAnError) {
  NetlinkSocket sut(NETLINK_ROUTE);
  ifinfomsg fixed{};
  fixed.ifi_index = 4711;
  NetlinkRequest wrong(RTM_GETLINK, fixed);
  ASSERT_TRUE(sut.request(wrong));
  NetlinkRequest right(RTM_GETLINK, ifinfomsg{});
  int links = 0;
  EXPECT_FALSE(sut.dump(right, [&](nlmsghdr const&) { ++links; }));
  EXPECT_GE(links, 1);  // the loopback
}

TEST_F(NetlinkSocketInKernel, KernelExplainsItselfInWords) {
  NetlinkSocket sut(NETLINK_ROUTE);
  NetlinkRequest request(RTM_NEWLINK, ifinfomsg{}, NLM_F_CREATE | NLM_F_EXCL);
  request.nest(IFLA_LINKINFO,
               [](NetlinkRequest& info) { info.putText(IFLA_INFO_KIND, "no-such-kind"); });
  EXPECT_EQ(sut.request(request), std::errc::operation_not_supported);
  EXPECT_FALSE(sut.lastErrorText().empty());
}

TEST_F(NetlinkSocketInKernel, UnknownProtocolIsAnAnswer) {
  NetlinkSocket sut(31);
  NetlinkRequest request(RTM_GETLINK, ifinfomsg{});
  EXPECT_EQ(sut.request(request), std::errc::protocol_not_supported);
}

TEST_F(NetlinkSocketInKernel, GenericFamilyIsFoundByItsName) {
  NetlinkSocket sut(NETLINK_GENERIC);
  EXPECT_EQ(genericFamily(sut, "nlctrl"), GENL_ID_CTRL);
  EXPECT_EQ(genericFamily(sut, "no-such-family"), std::nullopt);
}

TEST_F(NetlinkSocketInKernel, EveryNetworkNamespaceHasItsOwnCookie) {
  NetlinkSocket here(NETLINK_ROUTE);
  auto const first = here.networkNamespaceCookie();
  if (!first) GTEST_SKIP() << "this kernel numbers no network namespaces";
  SetUp();
  NetlinkSocket sut(NETLINK_ROUTE);
  EXPECT_NE(sut.networkNamespaceCookie(), first);
}

TEST(NetlinkAttributes, AttributeThatIsTooShortHasNoValue) {
  NetlinkRequest request(RTM_GETLINK, ifinfomsg{});
  request.put(IFLA_MTU, std::uint16_t{1500});
  int seen = 0;
  forEachAttribute(request.header(), sizeof(ifinfomsg), [&](nlattr const& attribute) {
    ++seen;
    EXPECT_EQ(attributeValue<std::uint32_t>(attribute), std::nullopt);
    EXPECT_EQ(attributeValue<std::uint16_t>(attribute), 1500);
  });
  EXPECT_EQ(seen, 1);
}

TEST(NetlinkAttributes, TextEndsAtItsTerminatorOrAtItsLength) {
  NetlinkRequest request(RTM_GETLINK, ifinfomsg{});
  request.putText(IFLA_IFNAME, "eth0").put(IFLA_IFALIAS, std::array<char, 3>{'a', 'b', 'c'});
  std::vector<std::string> texts;
  forEachAttribute(request.header(), sizeof(ifinfomsg),
                   [&](nlattr const& attribute) { texts.emplace_back(attributeText(attribute)); });
  EXPECT_EQ(texts, (std::vector<std::string>{"eth0", "abc"}));
}

TEST(NetlinkAttributes, RecordOfAnOlderKernelIsFilledWithZeros) {
  struct Old {
    std::uint64_t a;
  };
  struct New {
    std::uint64_t a, b;
  };
  NetlinkRequest request(RTM_GETLINK, ifinfomsg{});
  request.put(IFLA_STATS64, Old{5});
  forEachAttribute(request.header(), sizeof(ifinfomsg), [&](nlattr const& attribute) {
    auto const record = attributeRecord<New>(attribute);
    EXPECT_EQ(record.a, 5u);
    EXPECT_EQ(record.b, 0u);
  });
}

TEST(AskUntilWhole, AsksAgainWhileItIsInterruptedAndNoMore) {
  auto const interrupted = std::make_error_code(std::errc::interrupted);
  for (auto const& end : {std::error_code(), std::make_error_code(std::errc::timed_out)}) {
    int asked = 0;
    EXPECT_EQ(askUntilWhole([&] { return ++asked < 3 ? interrupted : end; }), end);
    EXPECT_EQ(asked, 3);
  }
  int asked = 0;
  EXPECT_EQ(askUntilWhole([&] { return ++asked, interrupted; }, 5), interrupted);
  EXPECT_EQ(asked, 5);
}

}  // namespace
}  // namespace Hardware::Linux
