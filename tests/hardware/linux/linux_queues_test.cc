/// Queues and ACL drops of the kernel's links.
#include <linux/pkt_cls.h>
#include <linux/pkt_sched.h>
#include <unistd.h>

#include <cstdlib>
#include <numeric>

#include "counters/pollers/intf_queue_counters_sm.h"
#include "platform/interface/counter_tables.h"
#include "platform/interface/intf_description.h"
#include "tests/hardware/linux/helper_stand_ins.h"
#include "tests/hardware/linux/network_namespace.h"
#include "tests/support/temporary_tables.h"
#include "tests/support/virtual_time.h"

namespace Hardware::Linux {
namespace {

using Interface::QueueCounter::IntfQueueCounter;
using Interface::QueueCounter::QueueCounts;
using Interface::QueueCounter::QueueIndex;

/// The row of an interface's queues, as their poller publishes it.
class QueueRow {
 public:
  using Poller = Oru::Counters::IntfQueueCountersSm;
  using Table = Poller::Table;

  /// Of another agent, which finds the tables of the one before.
  void pollerIs(Kel::Ptr<LinuxCountersHelper> const& helper, Pekt::IntfId const& id) {
    _poller = Poller::IntfQueueCountersSmIs(_ocsd, id, 5.0, _time.clock(), helper, _live, _cleared);
    _poller->initializedIs(true);
  }
  void pollerDel() { _poller = nullptr; }
  void poll() { _poller->updateCounters(); }

  Table& live() const { return *_live; }
  Table& cleared() const { return *_cleared; }
  Interface::QueueCounter::Clearing clearing() const { return {_live, _cleared}; }

  std::optional<IntfQueueCounter> published(Pekt::IntfId const& id) const {
    return _live->contains(id) ? std::optional(_live->intfQueueCounter(id)) : std::nullopt;
  }
  IntfQueueCounter row() const { return _live->intfQueueCounter(_poller->intfId()); }
  QueueCounts queue(std::uint32_t i) const { return row().statistics[QueueIndex(i)].counts; }

 private:
  Support::VirtualTime _time;
  Support::TemporaryTables _tables;
  Kel::Ptr<Oru::OruCommonSmData> const _ocsd = Kel::make<Oru::OruCommonSmData>();
  Kel::Ptr<Table> const _live = _tables.table<Table>("live");
  Kel::Ptr<Table> const _cleared = _tables.table<Table>("clear");
  Kel::Ptr<Poller> _poller;
};

class LinuxQueues : public ::testing::Test {
 protected:
  void SetUp() override { startAgent(); }
  void startAgent() {
    auto parts = Linux::Test::standInParts();
    auto fakeLinks = std::make_unique<Linux::Test::FakeLinks>();
    auto fakeQdiscs = std::make_unique<Linux::Test::FakeQdiscs>();
    auto fakeNft = std::make_unique<Linux::Test::FakeNftCounters>();
    if (qdiscs) fakeQdiscs->links = qdiscs->links;  // the kernel goes on
    fakeLinks->links[2] = fakeLinks->links[7] = {};
    links = fakeLinks.get();
    qdiscs = fakeQdiscs.get();
    nft = fakeNft.get();
    parts.links = std::move(fakeLinks);
    parts.qdiscs = std::move(fakeQdiscs);
    parts.nftCounters = std::move(fakeNft);
    parts.publishedRow = [this](auto const&) { return port; };
    auto store = std::make_unique<Linux::Test::SharedStore<StoredQueueOffsets>>(kept);
    queueStore = store.get();
    parts.queueOffsets = std::move(store);
    parts.publishedQueues = [this](auto const& id) { return queues.published(id); };
    parts.publishedDrops = [this](auto const&) { return drops; };
    parts.now = [this] { return now; };
    parts.aclDrops = aclDrops;
    parts.say = [this](std::string const& text) { said.push_back(text); };
    parts.queueClearing = queues.clearing();
    sut = Kel::make<LinuxCountersHelper>("linux", std::move(parts));
    sut->hwInit();
    sut->linkIs(kPort, {.ifindex = 2, .name = "eth0", .txQueues = 4});
    sut->initialize(kPort);
    queues.pollerIs(sut, kPort);
  }
  void mqCounts(int ifindex, std::vector<QdiscCounts> const& counts) {
    auto& all = qdiscs->links[ifindex];
    all = {{0x10000, TC_H_ROOT, QdiscKind::queues, 1, QdiscCounts{}}};
    for (std::uint32_t i = 0; i < counts.size(); ++i)
      all.push_back({0, 0x10001 + i, QdiscKind::other, 2, counts[i]});
  }
  void filtersDropped(std::uint32_t count) {
    qdiscs->links[2].push_back({0xffff0000, TC_H_CLSACT, QdiscKind::filters, 3,
                                QdiscCounts{.pkts = 5000, .octets = 500000, .drops = count}});
  }
  void poll() {
    now += 1.0;
    queues.poll();
  }
  std::uint64_t pollDrops() {
    now += 1.0;
    return drops = sut->getIntfAclDropCounters(kPort);
  }
  std::map<std::uint8_t, OruTypes::QueueType> types() {
    auto const types = Kel::make<OruTypes::IntfQueueType>();
    sut->getIntfQueueType(kPort, types);
    return types->queueType();
  }

  Pekt::IntfId const kPort{"Ethernet2"};
  std::optional<Interface::EthIntfCounterGlim> port{{kPort, {}, {}, {}}};
  std::uint64_t drops = 0;
  MemoryQueueOffsetStore kept;
  QueueRow queues;
  double now = 100.0;
  std::map<std::string, NftCounterName> aclDrops;
  std::vector<std::string> said;
  Linux::Test::FakeLinks* links = nullptr;
  Linux::Test::FakeQdiscs* qdiscs = nullptr;
  Linux::Test::FakeNftCounters* nft = nullptr;
  Linux::Test::SharedStore<StoredQueueOffsets>* queueStore = nullptr;
  Kel::Ptr<LinuxCountersHelper> sut;
};

TEST_F(LinuxQueues, ThereAreAsManyAsTheLinkHasTransmitQueuesAllUnicast) {
  EXPECT_EQ(types().size(), 4u);
  EXPECT_EQ(types().at(3), OruTypes::QueueType::unicast);
}

TEST_F(LinuxQueues, ThereAreNeverMoreThanARowHas) {
  sut->linkIs(kPort, {.ifindex = 2, .txQueues = 64});
  EXPECT_EQ(types().size(), 17u);
  EXPECT_EQ(types().rbegin()->first, 16u);
}

TEST_F(LinuxQueues, OfAPortWithoutALinkThereAreNone) {
  sut->linkDel(kPort);
  EXPECT_TRUE(types().empty());
}

TEST_F(LinuxQueues, CountsAreAbsolute) { EXPECT_FALSE(sut->queueCountersIncrement()); }

TEST_F(LinuxQueues, EachQueueHasWhatItsDisciplineCounts) {
  mqCounts(2, {{1, 100, 0}, {2, 200, 5}});
  poll();
  EXPECT_EQ(queues.queue(0), (QueueCounts{1, 100, 0, 0}));
  EXPECT_EQ(queues.queue(1), (QueueCounts{2, 200, 5, 0}));
  EXPECT_EQ(queues.row().intfCounts, (QueueCounts{3, 300, 5, 0}));
}

TEST_F(LinuxQueues, WhatCannotBeReadStays) {
  mqCounts(2, {{1, 100, 0}});
  poll();
  auto const before = queues.row();
  qdiscs->error = std::make_error_code(std::errc::no_buffer_space);
  poll();
  EXPECT_EQ(queues.row(), before);
  qdiscs->error = {};
  links->links.erase(2);  // it is gone, and the news of that still to come
  qdiscs->links.erase(2);
  poll();
  EXPECT_EQ(queues.row(), before);
  sut->linkDel(kPort);
  poll();
  EXPECT_EQ(queues.row(), before);
}

TEST_F(LinuxQueues, RestartsNeitherDoubleNorLose) {
  mqCounts(2, {{10, 1000, 1}});
  poll();
  mqCounts(2, {{3, 300, 0}});
  poll();
  startAgent();
  mqCounts(2, {{7, 700, 0}});
  poll();
  EXPECT_EQ(queues.queue(0), (QueueCounts{17, 1700, 1, 0}));
}

TEST_F(LinuxQueues, LinkThatComesBackAsAnotherGoesOn) {
  mqCounts(2, {{10, 1000, 1}});
  poll();
  sut->linkDel(kPort);
  mqCounts(7, {{20, 2000, 0}});
  sut->linkIs(kPort, {.ifindex = 7, .txQueues = 4});
  poll();
  EXPECT_EQ(queues.queue(0).pkts, 30u);
}

TEST_F(LinuxQueues, LinkThatMovesHereAddsOnlyWhatItCountsFromThen) {
  mqCounts(2, {{10, 1000, 1}});
  poll();
  mqCounts(7, {{2000, 200000, 0}});
  sut->deinitialize(kPort);
  EXPECT_TRUE(sut->moveTo(kPort, 7));
  sut->linkIs(kPort, {.ifindex = 7, .txQueues = 4});
  sut->initialize(kPort);
  mqCounts(7, {{2003, 200300, 0}});
  poll();
  EXPECT_EQ(queues.queue(0).pkts, 13u);
}

TEST_F(LinuxQueues, OffsetsGoWithThePort) {
  mqCounts(2, {{10, 1000, 1}});
  poll();
  sut->deinitialize(kPort);
  EXPECT_TRUE(kept.load(kPort));  // the rows stayed
  port.reset();
  sut->deinitialize(kPort);
  EXPECT_FALSE(kept.load(kPort));
}

TEST_F(LinuxQueues, OffsetsWithoutAPortAreDroppedAtTheStart) {
  kept.save(kPort, {});
  port.reset();
  startAgent();
  EXPECT_FALSE(kept.load(kPort));
}

TEST_F(LinuxQueues, RoomIsReservedForTheirOffsetsOrForNone) {
  queueStore->full = true;
  EXPECT_FALSE(sut->reserve(kPort, 2));
  EXPECT_EQ(sut->rowsOf(kPort, 2), LinuxCountersHelper::RowsOf::nobody);
  queueStore->full = false;
  EXPECT_TRUE(sut->reserve(kPort, 2));
  EXPECT_TRUE(kept.load(kPort));
}

TEST_F(LinuxQueues, OffsetsThatCannotBeKeptAreCounted) {
  queueStore->full = true;
  mqCounts(2, {{10, 1000, 1}});
  poll();
  EXPECT_EQ(queues.queue(0).pkts, 10u);
  EXPECT_EQ(sut->offsetsNotSaved(), 1u);
}

TEST_F(LinuxQueues, WhatIsNotCountedIsToldAsTheDisciplinesAreNow) {
  auto const nothing = Interface::kNoSingleQueues | Interface::kNoQueuesTogether;
  EXPECT_EQ(sut->unsupportedQueueCounters(kPort), nothing);
  mqCounts(2, {{10, 1000, 1}});
  now += 1.0;
  EXPECT_EQ(sut->unsupportedQueueCounters(kPort), 0x88u);
  qdiscs->error = std::make_error_code(std::errc::no_buffer_space);
  EXPECT_FALSE(sut->unsupportedQueueCounters(kPort));
}

class LinuxQueuesCleared : public LinuxQueues {
 protected:
  void SetUp() override {
    LinuxQueues::SetUp();
    mqCounts(2, {{10, 1000, 1}});
    poll();
    IntfQueueCounter other;
    other.intfId = kOther;
    other.intfCounts = {7, 700, 0, 0};
    queues.live().intfQueueCounterIs(other);
  }
  bool isCleared(Pekt::IntfId const& id) const {
    return queues.cleared().intfQueueCounter(id) == queues.live().intfQueueCounter(id);
  }
  Pekt::IntfId const kOther{"Ethernet3"};
};

TEST_F(LinuxQueuesCleared, AllOfThemAreCopied) {
  sut->doClearCounters("all");
  EXPECT_TRUE(isCleared(kPort));
  EXPECT_TRUE(isCleared(kOther));
}

TEST_F(LinuxQueuesCleared, ThoseOfOneInterfaceAreCopiedAlone) {
  sut->doClearCounters("Ethernet2");
  EXPECT_TRUE(isCleared(kPort));
  EXPECT_FALSE(isCleared(kOther));
}

TEST_F(LinuxQueuesCleared, TheCopyIsOfTheClearAndTheRowGoesOn) {
  sut->doClearCounters("Ethernet2");
  mqCounts(2, {{25, 2500, 2}});
  poll();
  EXPECT_EQ(queues.cleared().intfQueueCounter(kPort).intfCounts, (QueueCounts{10, 1000, 1, 0}));
  EXPECT_EQ(queues.row().intfCounts, (QueueCounts{25, 2500, 2, 0}));
}

TEST_F(LinuxQueuesCleared, NothingIsCopiedForANameWithoutARow) {
  for (char const* const request : {"Ethernet99", "eth0", "no name", ""})
    sut->doClearCounters(request);
  EXPECT_FALSE(isCleared(kPort));
  EXPECT_FALSE(isCleared(kOther));
  EXPECT_FALSE(queues.cleared().contains("Ethernet99"));
}

TEST_F(LinuxQueues, DropsAreThoseOfTheFilters) {
  EXPECT_TRUE(sut->aclDropCountersSupported());
  filtersDropped(7);
  EXPECT_EQ(pollDrops(), 7u);
}

TEST_F(LinuxQueues, DropsThatCannotBeReadStayAlsoThoseOfAnAgentBefore) {
  drops = 42;
  startAgent();
  qdiscs->error = std::make_error_code(std::errc::no_buffer_space);
  EXPECT_EQ(pollDrops(), 42u);
  qdiscs->error = {};
  links->links.erase(2);
  EXPECT_EQ(pollDrops(), 42u);
  sut->linkDel(kPort);
  EXPECT_EQ(pollDrops(), 42u);
}

TEST_F(LinuxQueues, ConfiguredDropsAreThoseOfTheNftablesCounter) {
  aclDrops["eth0"] = *NftCounterName::parse("inet acl c1");
  startAgent();
  filtersDropped(7);
  nft->reading.pkts = 1234;
  EXPECT_EQ(pollDrops(), 1234u);
  EXPECT_EQ(nft->asked, (std::vector<std::string>{"inet acl c1"}));
  sut->linkIs(kPort, {.ifindex = 2, .name = "lan0"});
  EXPECT_EQ(pollDrops(), 7u);
}

TEST_F(LinuxQueues, ACounterThatCannotBeReadIsToldOnceAndAgainWhenThatChanges) {
  aclDrops["eth0"] = *NftCounterName::parse("inet acl c1");
  startAgent();
  nft->reading.pkts = 10;
  EXPECT_EQ(pollDrops(), 10u);
  EXPECT_TRUE(said.empty());
  nft->reading = {0, std::make_error_code(std::errc::no_such_file_or_directory)};
  EXPECT_EQ(pollDrops(), 10u);
  EXPECT_EQ(pollDrops(), 10u);
  EXPECT_EQ(said, (std::vector<std::string>{
                      "the nftables counter inet acl c1 of link eth0 cannot be read, its last "
                      "count stays: No such file or directory"}));
  nft->reading = {3, {}};
  EXPECT_EQ(pollDrops(), 3u);
  EXPECT_EQ(said.back(), "the nftables counter inet acl c1 of link eth0 is read again");
  nft->reading.error = std::make_error_code(std::errc::operation_not_permitted);
  pollDrops();
  EXPECT_EQ(said.size(), 3u);
}

/// The same over the kernel.
class LinuxQueuesInKernel : public Test::NetworkNamespace {
 protected:
  void startAgent(char const* link = "a") {
    auto agent = Linux::Test::standInAgentParts(
        std::make_unique<MemoryOffsetStore>(), [](auto const&) { return std::nullopt; },
        [this] { return now; });
    agent.queueOffsets = std::make_unique<Linux::Test::SharedStore<StoredQueueOffsets>>(kept);
    agent.publishedRow = [this](auto const&) {
      return std::optional(Interface::EthIntfCounterGlim{kPort, {}, {}, {}});
    };
    agent.publishedQueues = [this](auto const& id) { return queues.published(id); };
    sut =
        Kel::make<LinuxCountersHelper>("linux", LinuxCountersHelper::kernelParts(std::move(agent)));
    sut->hwInit();
    sut->linkIs(kPort, {.ifindex = indexOf(link), .name = link, .txQueues = 4});
    sut->initialize(kPort);
    queues.pollerIs(sut, kPort);
  }
  void poll() {
    now += 1.0;
    queues.poll();
  }
  // Of queues that all had the same frames or none.
  std::vector<QueueCounts> used() const {
    std::vector<QueueCounts> used;
    for (std::uint32_t i = 0; i < queues.row().statistics.size(); ++i)
      if (queues.queue(i) != QueueCounts()) used.push_back(queues.queue(i));
    return used;
  }

  std::vector<std::uint8_t> const kUnicast{0x02, 0, 0, 0, 0, 0x01};
  Pekt::IntfId const kPort{"Ethernet2"};
  MemoryQueueOffsetStore kept;
  QueueRow queues;
  double now = 100.0;
  Kel::Ptr<LinuxCountersHelper> sut;
};

// The frames of one flow all go to one queue, which of the four is up to the kernel.
TEST_F(LinuxQueuesInKernel, KnownFramesAreCountedExactlyInTheirQueueAndInNoOther) {
  addVethPair("a", "b", true, 0, 0, 4);
  addQdisc("a", "mq", TC_H_ROOT);
  startAgent();
  sendFrames("a", 40, 1000, kUnicast);
  poll();
  EXPECT_EQ(queues.row().statistics.size(), 4u);
  EXPECT_EQ(used(), (std::vector<QueueCounts>{{40, 40'000, 0, 0}}));
  EXPECT_EQ(queues.row().intfCounts, (QueueCounts{40, 40'000, 0, 0}));
  EXPECT_EQ(sut->unsupportedQueueCounters(kPort), 0x88u);
}

TEST_F(LinuxQueuesInKernel, AReplacedMqAndTheAgentsAbsenceLoseAndDoubleNothing) {
  addVethPair("a", "b", true, 0, 0, 4);
  addQdisc("a", "mq", TC_H_ROOT);
  startAgent();
  sendFrames("a", 40, 1000, kUnicast);
  poll();
  deleteQdisc("a", TC_H_ROOT);
  addQdisc("a", "mq", TC_H_ROOT);
  sendFrames("a", 50, 1000, kUnicast);  // more than the one before counted
  poll();
  EXPECT_EQ(queues.row().intfCounts, (QueueCounts{90, 90'000, 0, 0}));
  queues.pollerDel();
  sut = nullptr;
  sendFrames("a", 5, 1000, kUnicast);
  startAgent();
  poll();
  poll();
  EXPECT_EQ(used(), (std::vector<QueueCounts>{{95, 95'000, 0, 0}}));
  EXPECT_EQ(queues.row().intfCounts, (QueueCounts{95, 95'000, 0, 0}));
}

TEST_F(LinuxQueuesInKernel, AnotherRootCountsAllQueuesTogetherAndNoqueueNothing) {
  addVethPair("a", "b", true, 0, 0, 4);
  startAgent();
  poll();
  EXPECT_EQ(sut->unsupportedQueueCounters(kPort), 0xffu);
  addQdisc("a", "pfifo", TC_H_ROOT);
  sendFrames("a", 7, 100, kUnicast);
  poll();
  EXPECT_EQ(sut->unsupportedQueueCounters(kPort), 0x8fu);
  EXPECT_EQ(queues.row().intfCounts, (QueueCounts{7, 700, 0, 0}));
  EXPECT_TRUE(used().empty());
}

TEST_F(LinuxQueuesInKernel, FramesThatAFilterDropsOnTheirWayOutAreCountedToo) {
  addVethPair("a", "b", true);
  addQdisc("a", "clsact", TC_H_CLSACT);
  addFilter("a", TC_H_MIN_EGRESS, kExperimental, TC_ACT_SHOT);
  startAgent();
  for (int i = 0; i < 9; ++i) EXPECT_FALSE(sendFrame("a", 100, kUnicast));
  now += 1.0;
  EXPECT_EQ(sut->getIntfAclDropCounters(kPort), 9u);
}

TEST_F(LinuxQueuesInKernel, FramesThatAFilterDropsAreCountedExactly) {
  addVethPair("b", "a", true);
  addQdisc("a", "clsact", TC_H_CLSACT);
  addFilter("a", TC_H_MIN_INGRESS, kOtherExperimental, TC_ACT_SHOT);
  startAgent();
  sendFrames("b", 30, 100, kUnicast);
  sendFrames("b", 12, 100, kUnicast, kOtherExperimental);
  EXPECT_TRUE(comesTrue([&] {
    now += 1.0;
    return sut->getIntfAclDropCounters(kPort) >= 12u;
  }));
  EXPECT_EQ(sut->getIntfAclDropCounters(kPort), 12u);
}

}  // namespace
}  // namespace Hardware::Linux
