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
    auto const whole = readNftCounter(request.header());
    request.header().nlmsg_len = sizeof(nlmsghdr) + 1;
    EXPECT_FALSE(readNftCounter(request.header()));
    return whole;
  };
  EXPECT_FALSE(counted(NFNL_SUBSYS_NFTABLES << 8 | NFT_MSG_NEWTABLE));
  EXPECT_EQ(counted(NFNL_SUBSYS_NFTABLES << 8 | NFT_MSG_NEWOBJ)->pkts, 7u);
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

NftTableName const kTable{NFPROTO_INET, "acl"};

TEST_F(NftCountersInKernel, OfATableAreReadAtOnce) {
  nft("add counter inet acl c1 { packets 7 bytes 900 }");
  nft("add counter inet acl c2");
  nft("add quota inet acl q1 { 25 mbytes }");
  nft("add table inet other");
  nft("add counter inet other c3");
  auto const reading = sut->readTable(kTable);
  ASSERT_FALSE(reading.error) << reading.error.message();
  ASSERT_EQ(reading.table.counters.size(), 2u);
  NftCounter const& first = reading.table.counters[0];
  EXPECT_EQ(first, (NftCounter{.name = "c1", .handle = first.handle, .pkts = 7, .octets = 900}));
  EXPECT_NE(first.handle, reading.table.counters[1].handle);
  EXPECT_NE(reading.table.handle, 0u);
}

TEST_F(NftCountersInKernel, OfManyAreAllRead) {
  std::string names;
  for (int i = 0; i < 500; ++i)
    names += "counter a_policing_class_with_a_long_name_" + std::to_string(i) + " {}; ";
  nft("add table inet acl { " + names + "}");
  EXPECT_EQ(sut->readTable(kTable).table.counters.size(), 500u);
}

TEST_F(NftCountersInKernel, OfATableThatIsNotThereAreAnError) {
  EXPECT_EQ(sut->readTable({NFPROTO_INET, "copp"}).error, std::errc::no_such_file_or_directory);
  EXPECT_EQ(sut->readTable({NFPROTO_IPV4, "acl"}).error, std::errc::no_such_file_or_directory);
}

TEST_F(NftCountersInKernel, ThatAreMadeAnewInANewTableAreTold) {
  nft("add counter inet acl c1");
  auto const before = sut->readTable(kTable).table;
  nft("delete table inet acl; add table inet acl; add counter inet acl c1");
  auto const after = sut->readTable(kTable).table;
  EXPECT_NE(before, after);
  EXPECT_EQ(after, sut->readTable(kTable).table);
}

TEST_F(NftCountersInKernel, ThatAreMadeAnewInTheirTableAreTold) {
  nft("add counter inet acl c1");
  auto const before = sut->readTable(kTable).table;
  nft("delete counter inet acl c1; add counter inet acl c1");
  EXPECT_NE(before.counters, sut->readTable(kTable).table.counters);
}

TEST_F(NftCountersInKernel, AreResetOneByOneAndTellWhatTheyHadCounted) {
  nft("add counter inet acl c1 { packets 7 bytes 900 }");
  nft("add counter inet acl c2 { packets 3 bytes 300 }");
  auto const reset = sut->reset(kName);
  ASSERT_FALSE(reset.error) << reset.error.message();
  EXPECT_EQ(reset.counter.pkts, 7u);
  EXPECT_EQ(reset.counter.octets, 900u);
  auto const table = sut->readTable(kTable).table;
  ASSERT_EQ(table.counters.size(), 2u);
  EXPECT_EQ(table.counters[0].pkts, 0u);
  EXPECT_EQ(table.counters[0].handle, reset.counter.handle);
  EXPECT_EQ(table.counters[1].pkts, 3u);
}

TEST_F(NftCountersInKernel, ResetOfOneThatIsMissingIsAnError) {
  EXPECT_EQ(sut->reset(kName).error, std::errc::no_such_file_or_directory);
}

}  // namespace
}  // namespace Hardware::Linux
