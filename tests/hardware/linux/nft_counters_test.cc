#include "hardware/linux/nft_counters.h"

#include <linux/netfilter.h>
#include <linux/netfilter/nf_tables.h>
#include <linux/netfilter/nfnetlink.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

#include "tests/hardware/linux/network_namespace.h"

namespace Hardware::Linux {
namespace {

TEST(NftCounterName, IsFamilyTableAndName) {
  auto const name = NftCounterName::parse("inet acl eth0_drops");
  ASSERT_TRUE(name);
  EXPECT_EQ(name->family, NFPROTO_INET);
  EXPECT_EQ(name->table, "acl");
  EXPECT_EQ(name->name, "eth0_drops");
  EXPECT_EQ(name->text(), "inet acl eth0_drops");
}

TEST(NftCounterName, OfEveryFamilyReadsBackAsItself) {
  for (std::string const family : {"ip", "ip6", "inet", "arp", "bridge", "netdev"})
    EXPECT_EQ(NftCounterName::parse(family + " a b")->text(), family + " a b");
}

TEST(NftCounterName, OfAnythingElseIsNone) {
  for (char const* const text :
       {"", "inet", "inet acl", "inet acl a b", "inet6 acl a", "Inet acl a"})
    EXPECT_FALSE(NftCounterName::parse(text)) << text;
  EXPECT_FALSE(NftCounterName::parse("inet acl " + std::string(NFT_NAME_MAXLEN, 'a')));
}

TEST(NftCounterMessage, ThatIsTooShortOrOfAnotherTypeHasNoCount) {
  auto const counted = [](std::uint16_t type) {
    NetlinkRequest request(type, nfgenmsg{});
    request.nest(NFTA_OBJ_DATA, [](NetlinkRequest& data) {
      data.put(NFTA_COUNTER_PACKETS, std::uint64_t{0x0700000000000000});  // big endian
    });
    request.put(NFTA_OBJ_TYPE, std::uint32_t{0x01000000});
    std::optional<std::uint64_t> const whole = readNftCounter(request.header());
    request.header().nlmsg_len = sizeof(nlmsghdr) + 1;
    EXPECT_FALSE(readNftCounter(request.header()));
    return whole;
  };
  EXPECT_FALSE(counted(NFNL_SUBSYS_NFTABLES << 8 | NFT_MSG_NEWTABLE));
  EXPECT_EQ(counted(NFNL_SUBSYS_NFTABLES << 8 | NFT_MSG_NEWOBJ), 7u);
}

class NftCountersInKernel : public Test::NetworkNamespace {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "nft(8) needs root";
    Linux::Test::NetworkNamespace::SetUp();
    if (std::system("nft add table inet acl") != 0) GTEST_SKIP() << "no nftables here";
    sut = std::make_unique<NftCounters>();
  }
  static void nft(std::string const& command) {
    ASSERT_EQ(std::system(("nft '" + command + "'").c_str()), 0);
  }
  NftCounterName const kName = NftCounterName::parse("inet acl c1").value();
  // Made when the namespace is: its socket stays in the one that it was opened in.
  std::unique_ptr<NftCounters> sut;
};

TEST_F(NftCountersInKernel, TellThePacketsOfANamedCounter) {
  nft("add counter inet acl c1 { packets 7 bytes 900 }");
  auto const reading = sut->read(1.0, kName);
  EXPECT_FALSE(reading.error) << reading.error.message();
  EXPECT_EQ(reading.pkts, 7u);
}

TEST_F(NftCountersInKernel, TellOneThatIsMissingAndOneThatCameBack) {
  EXPECT_EQ(sut->read(1.0, kName).error, std::errc::no_such_file_or_directory);
  nft("add counter inet acl c1 { packets 5000000000 bytes 900 }");
  EXPECT_EQ(sut->read(2.0, kName).pkts, 5'000'000'000u);
}

TEST_F(NftCountersInKernel, AreAskedOnceATick) {
  nft("add counter inet acl c1");
  for (int i = 0; i < 100; ++i) sut->read(1.0, kName);
  EXPECT_EQ(sut->requests(), 1u);
  sut->read(2.0, kName);
  EXPECT_EQ(sut->requests(), 2u);
}

TEST_F(NftCountersInKernel, OfAnotherKindIsNoCounter) {
  nft("add quota inet acl c1 { 25 mbytes }");
  EXPECT_TRUE(sut->read(1.0, kName).error);
}

}  // namespace
}  // namespace Hardware::Linux
