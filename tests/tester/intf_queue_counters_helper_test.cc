#include "tester/intf_queue_counters_helper.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "counters/pollers/counter_records.h"
#include "platform/kel/dir.h"
#include "platform/kel/exceptions.h"
#include "platform/kel/system.h"
#include "platform/kel/type_node.h"
#include "tests/support/call_log.h"
#include "tests/tester/queue_record.h"

namespace {

using Helper = Oru::Counters::IntfQueueCountersHelper;
using Interface::QueueCounter::IntfQueueCounter;
using Interface::QueueCounter::QueueCounts;
using Interface::QueueCounter::QueueIndex;
using OruTypes::QueueType;
using Support::Calls;
using TesterTest::record;

Pekt::IntfId const eth1("Ethernet1"), eth2("Ethernet2");

class Watcher : public Helper::NotifieeConst {
 public:
  Watcher(Kel::Ptr<Helper const> const& helper, Support::CallLog& log) : _log(log) {
    notifierIs(helper);
    isRegisteredNotifieeIs(true);
    hasNotificationActiveIs(true);
  }
  void onQueueCountersIncrement() override { _log("onQueueCountersIncrement"); }
  void onIntfExpectedCounters(Pekt::IntfId id) override { _log("onIntfExpectedCounters", id); }
  void onIntfExpectedCounterskelImmediate() override { _log("onIntfExpectedCounterskelImmediate"); }
  void onIntfExpectedCounters() override { _log("onIntfExpectedCounters"); }
  void onIntfIncCounters(Pekt::IntfId id) override { _log("onIntfIncCounters", id); }
  void onIntfIncCounterskelImmediate() override { _log("onIntfIncCounterskelImmediate"); }
  void onIntfIncCounters() override { _log("onIntfIncCounters"); }
  void onNumUnicastQueues() override { _log("onNumUnicastQueues"); }
  void onNumMulticastQueues() override { _log("onNumMulticastQueues"); }

 private:
  Support::CallLog& _log;
};

class IntfQueueCountersHelper : public testing::Test {
 public:
  struct Sample {
    std::map<std::uint32_t, QueueCounts> queues;
    std::optional<QueueCounts> ofAll;
    bool operator==(Sample const&) const = default;
  };
  // What a poll is told, of which the sample still holds what the one before it was told.
  Sample poll(Pekt::IntfId const& intfId = eth1) {
    sut->getIntfQueueCounters(intfId, sample);
    Sample told{.queues = {}, .ofAll = sample->intfCounts()};
    for (std::uint32_t i = 0; i <= QueueIndex::max; ++i)
      if (sample->contains(QueueIndex(i))) told.queues[i] = sample->queueCounts(QueueIndex(i));
    return told;
  }
  std::map<std::uint8_t, QueueType> types() {
    auto const filled = Kel::make<OruTypes::IntfQueueType>();
    sut->getIntfQueueType(eth1, filled);
    return filled->queueType();
  }

  Kel::Ptr<Helper> sut = Oru::Counters::intfQueueCountersHelperFactory("helper");
  Kel::Ptr<OruTypes::IntfQueueCounters> sample = Kel::make<OruTypes::IntfQueueCounters>();
  Support::CallLog log;
  Kel::Ptr<Watcher> watcher = Kel::make<Watcher>(Kel::Ptr<Helper const>(sut), log);

  inline static Sample const kNothing{.queues = {}, .ofAll = QueueCounts()};
};
using IntfQueueCountersHelperDeathTest = IntfQueueCountersHelper;

TEST_F(IntfQueueCountersHelper, BeginsEmptyWithQueuesForAWholeRow) {
  EXPECT_EQ(sut->name(), Kel::Name("helper"));
  EXPECT_EQ(sut->numUnicastQueues(), 9);
  EXPECT_EQ(sut->numMulticastQueues(), 8);
  EXPECT_FALSE(sut->queueCountersIncrement());
  EXPECT_TRUE(sut->intfExpectedCounters().empty());
  EXPECT_TRUE(sut->intfIncCounters().empty());
}

// --- queues ---

TEST_F(IntfQueueCountersHelper, UnicastQueuesComeBeforeMulticastOnes) {
  std::map<std::uint8_t, QueueType> expected;
  for (std::uint8_t i = 0; i < 17; ++i)
    expected[i] = i < 9 ? QueueType::unicast : QueueType::multicast;
  EXPECT_EQ(types(), expected);
}

TEST_F(IntfQueueCountersHelper, ThreeUnicastAndEightMulticastQueuesAreEleven) {
  sut->numUnicastQueuesIs(3);
  std::map<std::uint8_t, QueueType> expected;
  for (std::uint8_t i = 0; i < 11; ++i)
    expected[i] = i < 3 ? QueueType::unicast : QueueType::multicast;
  EXPECT_EQ(types(), expected);
}

TEST_F(IntfQueueCountersHelper, TheNumbersOfQueuesAreAddedInEightBits) {
  sut->numUnicastQueuesIs(250);
  sut->numMulticastQueuesIs(8);
  EXPECT_EQ(types(),
            (std::map<std::uint8_t, QueueType>{{0, QueueType::unicast}, {1, QueueType::unicast}}));
}

TEST_F(IntfQueueCountersHelper, WithoutQueuesTellsNone) {
  sut->numUnicastQueuesIs(0);
  sut->numMulticastQueuesIs(0);
  EXPECT_TRUE(types().empty());
}

TEST_F(IntfQueueCountersHelper, TellsOfANumberOfQueuesThatChanges) {
  sut->numUnicastQueuesIs(9);
  sut->numMulticastQueuesIs(8);
  EXPECT_EQ(log.calls(), Calls{});
  sut->numUnicastQueuesIs(3);
  sut->numMulticastQueuesIs(2);
  EXPECT_EQ(log.calls(), (Calls{"onNumUnicastQueues", "onNumMulticastQueues"}));
  EXPECT_EQ(sut->numUnicastQueues(), 3);
  EXPECT_EQ(sut->numMulticastQueues(), 2);
}

// --- records ---

TEST_F(IntfQueueCountersHelper, KeepsTheRecordsOfEachInterfaceUnderItsKey) {
  auto const a = record("Ethernet1", {{0, {.pkts = 1}}}), b = record("Ethernet2", {});
  sut->intfExpectedCountersIs(a);
  sut->intfExpectedCountersIs(b);
  sut->intfIncCountersIs(b);
  EXPECT_EQ(sut->intfExpectedCounters(eth1), a);
  EXPECT_EQ(sut->intfExpectedCounters(eth2), b);
  EXPECT_EQ(sut->intfExpectedCounters().size(), 2u);
  EXPECT_EQ(sut->intfIncCounters().size(), 1u);
  EXPECT_EQ(sut->intfIncCounters(eth1), record("Ethernet1", {}));  // absent: empty, with its key
}

TEST_F(IntfQueueCountersHelper, TellsOfEveryWriteWithItsKey) {
  auto const written = record("Ethernet1", {{0, {.pkts = 1}}});
  sut->intfExpectedCountersIs(written);
  sut->intfExpectedCountersIs(written);  // the same again is told too
  sut->intfIncCountersIs(record("Ethernet2", {}));
  EXPECT_EQ(log.calls(),
            (Calls{"onIntfExpectedCounters Ethernet1", "onIntfExpectedCounters Ethernet1",
                   "onIntfIncCounters Ethernet2"}));
}

TEST_F(IntfQueueCountersHelper, ARecordThatIsWrittenAgainReplacesTheOneThere) {
  sut->intfExpectedCountersIs(record("Ethernet1", {{0, {.pkts = 1}}, {3, {.pkts = 4}}}));
  sut->intfExpectedCountersIs(record("Ethernet1", {{0, {.octets = 2}}}));
  EXPECT_EQ(sut->intfExpectedCounters(eth1), record("Ethernet1", {{0, {.octets = 2}}}));
  EXPECT_EQ(sut->intfExpectedCounters().size(), 1u);
}

TEST_F(IntfQueueCountersHelper, TellsOfARecordThatIsRemovedOnce) {
  sut->intfExpectedCountersIs(record("Ethernet1", {}));
  sut->intfIncCountersIs(record("Ethernet2", {}));
  log.clear();
  sut->intfExpectedCountersDel(eth1);
  sut->intfExpectedCountersDel(eth1);
  sut->intfIncCountersDel(eth2);
  EXPECT_EQ(log.calls(),
            (Calls{"onIntfExpectedCounters Ethernet1", "onIntfIncCounters Ethernet2"}));
  EXPECT_TRUE(sut->intfExpectedCounters().empty());
  EXPECT_TRUE(sut->intfIncCounters().empty());
}

TEST_F(IntfQueueCountersHelper, TellsOfTheRemovalOfAllAtOnceAndThenAsAWhole) {
  for (char const* const intf : {"Ethernet1", "Ethernet2"}) {
    sut->intfExpectedCountersIs(record(intf, {}));
    sut->intfIncCountersIs(record(intf, {}));
  }
  log.clear();
  sut->intfExpectedCountersDelAll();
  EXPECT_EQ(sut->intfIncCounters().size(), 2u);
  sut->intfIncCountersDelAll();
  EXPECT_EQ(log.calls(), (Calls{"onIntfExpectedCounterskelImmediate", "onIntfExpectedCounters",
                                "onIntfIncCounterskelImmediate", "onIntfIncCounters"}));
  EXPECT_TRUE(sut->intfExpectedCounters().empty());
  EXPECT_TRUE(sut->intfIncCounters().empty());
}

TEST_F(IntfQueueCountersHelper, EveryNotifieeIsToldInOrderOfRegistration) {
  Support::CallLog order;
  class Named : public Helper::NotifieeConst {
   public:
    Named(Kel::Ptr<Helper const> const& helper, Support::CallLog& log, char const* name)
        : _log(log), _name(name) {
      notifierIs(helper);
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
    }
    using Helper::NotifieeConst::onIntfIncCounters;
    void onIntfIncCounters(Pekt::IntfId id) override { _log(_name, id); }

   private:
    Support::CallLog& _log;
    char const* const _name;
  };
  Kel::Ptr<Helper const> const helper(sut);
  auto const a = Kel::make<Named>(helper, order, "a"), b = Kel::make<Named>(helper, order, "b");
  sut->intfIncCountersIs(record("Ethernet1", {}));
  EXPECT_EQ(order.calls(), (Calls{"a Ethernet1", "b Ethernet1"}));
}

TEST_F(IntfQueueCountersHelper, MayBeLetGoOfByWhoeverIsToldOfTheRemovalOfAll) {
  class LastHolder : public Helper::NotifieeConst {
   public:
    LastHolder(Kel::Ptr<Helper>& helper, Support::CallLog& log) : _helper(helper), _log(log) {
      notifierIs(helper);
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
    }
    using Helper::NotifieeConst::onIntfIncCounters;
    void onIntfIncCounterskelImmediate() override {
      _log("at once");
      _helper = nullptr;
      notifierIs(nullptr);
    }
    void onIntfIncCounters() override { _log("as a whole"); }

   private:
    Kel::Ptr<Helper>& _helper;
    Support::CallLog& _log;
  };
  sut->intfIncCountersIs(record("Ethernet1", {}));
  watcher = nullptr;
  Support::CallLog told;
  auto const last = Kel::make<LastHolder>(sut, told);
  sut->intfIncCountersDelAll();
  EXPECT_EQ(sut, nullptr);
  EXPECT_EQ(told.calls(), (Calls{"at once"}));
}

TEST_F(IntfQueueCountersHelper, WhoWatchesAnyHelperIsToldOfWhatEveryHelperHas) {
  class OfAnyHelper : public OruHelper::OruHelperCountersSm::NotifieeConst {
   public:
    OfAnyHelper(Kel::Ptr<Helper const> const& helper, Support::CallLog& log) : _log(log) {
      notifierIs(helper);
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
    }
    void onQueueCountersIncrement() override { _log("any onQueueCountersIncrement"); }

   private:
    Support::CallLog& _log;
  };
  auto const any = Kel::make<OfAnyHelper>(Kel::Ptr<Helper const>(sut), log);
  sut->queueCountersIncrementIs(true);
  sut->intfIncCountersIs(record("Ethernet1", {}));
  EXPECT_EQ(log.calls(), (Calls{"onQueueCountersIncrement", "any onQueueCountersIncrement",
                                "onIntfIncCounters Ethernet1"}));
}

TEST_F(IntfQueueCountersHelperDeathTest, AnEntryOverwrittenUnderAnotherKeyEndsTheProcess) {
  Oru::Counters::Tester::RecordEntry entry(record("Ethernet1", {}));
  entry.valueIs(record("Ethernet1", {{0, {.pkts = 1}}}));
  EXPECT_DEATH(entry.valueIs(record("Ethernet2", {})),
               "OruIntfQueueTester:[0-9]+: .*RecordEntry::valueIs\\(.*"
               "Assertion `fwkKey\\(\\) == KeyFunktor\\(\\)\\( _value \\)' failed");
}

// --- absolute counts ---

TEST_F(IntfQueueCountersHelper, DeliversExpectedCountsUntilTheyAreWrittenAgain) {
  sut->intfExpectedCountersIs(
      record("Ethernet1", {{0, {1, 2, 3, 4}}, {2, {5, 6, 7, 8}}}, {9, 9, 9, 9}));
  Sample const expected{.queues = {{0, {1, 2, 3, 4}}, {1, {}}, {2, {5, 6, 7, 8}}},
                        .ofAll = QueueCounts{9, 9, 9, 9}};
  EXPECT_EQ(poll(), expected);
  EXPECT_EQ(poll(), expected);
}

TEST_F(IntfQueueCountersHelper, AnInterfaceWithoutARecordDeliversAnEmptyOne) {
  sut->intfExpectedCountersIs(record("Ethernet1", {{0, {.pkts = 1}}}));
  sut->intfIncCountersIs(record("Ethernet1", {{0, {.pkts = 1}}}));
  poll(eth1);  // and nothing of this is left in the sample
  EXPECT_EQ(poll(eth2), kNothing);
  sut->queueCountersIncrementIs(true);
  poll(eth1);
  EXPECT_EQ(poll(eth2), kNothing);
  EXPECT_EQ(poll(eth2), kNothing);
}

TEST_F(IntfQueueCountersHelper, ExpectedCountsLeaveIncrementsAlone) {
  sut->intfIncCountersIs(record("Ethernet1", {{0, {.pkts = 1}}}));
  log.clear();
  EXPECT_EQ(poll(), kNothing);
  EXPECT_EQ(sut->intfIncCounters(eth1), record("Ethernet1", {{0, {.pkts = 1}}}));
  EXPECT_EQ(log.calls(), Calls{});
}

// --- increments ---

TEST_F(IntfQueueCountersHelper, DeliversAnIncrementOnce) {
  sut->queueCountersIncrementIs(true);
  sut->intfIncCountersIs(record("Ethernet1", {{0, {1, 2, 3, 4}}}, {5, 6, 7, 8}));
  EXPECT_EQ(poll(), (Sample{.queues = {{0, {1, 2, 3, 4}}}, .ofAll = QueueCounts{5, 6, 7, 8}}));
  EXPECT_EQ(sut->intfIncCounters(eth1), record("Ethernet1", {}));
  EXPECT_EQ(poll(), kNothing);
}

TEST_F(IntfQueueCountersHelper, TellsThatItTookAnIncrementAlsoWhereThereWasNone) {
  sut->queueCountersIncrementIs(true);
  log.clear();
  poll(eth2);
  EXPECT_EQ(log.calls(), (Calls{"onIntfIncCounters Ethernet2"}));
  EXPECT_EQ(sut->intfIncCounters().size(), 1u);
  poll(eth2);
  EXPECT_EQ(log.count("onIntfIncCounters Ethernet2"), 2u);
}

TEST_F(IntfQueueCountersHelper, AnIncrementOfOneInterfaceWaitsForItsOwnPoll) {
  sut->queueCountersIncrementIs(true);
  sut->intfIncCountersIs(record("Ethernet1", {{0, {.pkts = 1}}}));
  poll(eth2);
  EXPECT_EQ(poll(eth1).queues, (std::map<std::uint32_t, QueueCounts>{{0, {.pkts = 1}}}));
}

TEST_F(IntfQueueCountersHelper, AnIncrementWrittenWhileOneIsTakenIsForTheNextPoll) {
  class Feeder : public Helper::Notifiee {
   public:
    explicit Feeder(Kel::Ptr<Helper> const& helper) : _helper(helper.get()) {
      notifierIs(helper);
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
    }
    using Helper::Notifiee::onIntfIncCounters;
    void onIntfIncCounters(Pekt::IntfId) override {
      if (std::exchange(_fed, true)) return;
      _helper->intfIncCountersIs(record("Ethernet1", {{0, {.pkts = 8}}}));
    }

   private:
    Helper* _helper;
    bool _fed = false;
  };
  sut->queueCountersIncrementIs(true);
  sut->intfIncCountersIs(record("Ethernet1", {{0, {.pkts = 1}}}));
  auto const feeder = Kel::make<Feeder>(sut);
  EXPECT_EQ(poll().queues, (std::map<std::uint32_t, QueueCounts>{{0, {.pkts = 1}}}));
  EXPECT_EQ(poll().queues, (std::map<std::uint32_t, QueueCounts>{{0, {.pkts = 8}}}));
}

TEST_F(IntfQueueCountersHelper, ClearingTouchesNothing) {
  sut->intfExpectedCountersIs(record("Ethernet1", {{0, {.pkts = 1}}}));
  sut->intfIncCountersIs(record("Ethernet1", {{0, {.pkts = 2}}}));
  log.clear();
  sut->doClearCounters("all");
  EXPECT_EQ(sut->intfExpectedCounters(eth1), record("Ethernet1", {{0, {.pkts = 1}}}));
  EXPECT_EQ(sut->intfIncCounters(eth1), record("Ethernet1", {{0, {.pkts = 2}}}));
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(IntfQueueCountersHelper, IsOtherwiseAsAMachineWithoutAChip) {
  EXPECT_EQ(sut->firstSyncDelay(), 0.0);
  EXPECT_FALSE(sut->aclDropCountersSupported());
  EXPECT_FALSE(sut->initializeVlanIntfCounters(Pekt::IntfId("Vlan7"), 7));
  EXPECT_EQ(sut->getIntfAclDropCounters(eth1), 0u);
}

// --- by name ---

TEST_F(IntfQueueCountersHelper, IsMadeByNameInADirectory) {
  auto const dir = Kel::make<Kel::Dir>("helpers");
  auto const made = dir->newEntity("Oru::Counters::IntfQueueCountersHelper", "h");
  EXPECT_EQ(made->fwkType(), &Helper::_kelType);
  EXPECT_EQ(made->name(), Kel::Name("h"));
  EXPECT_EQ(dir->entry("h"), made);
}

TEST_F(IntfQueueCountersHelper, IsReadAndSetByName) {
  EXPECT_EQ(Kel::read(*sut, "numUnicastQueues"), "9");
  Kel::set(*sut, "numUnicastQueues", "3");
  Kel::set(*sut, "queueCountersIncrement", "true");
  EXPECT_EQ(sut->numUnicastQueues(), 3);
  EXPECT_TRUE(sut->queueCountersIncrement());
  EXPECT_THROW(Kel::set(*sut, "numUnicastQueues", "256"), Kel::RangeException);
  EXPECT_EQ(sut->numUnicastQueues(), 3);
  sut->intfIncCountersIs(record("Ethernet1", {}));
  Kel::invoke(*sut, "intfIncCountersDel", {"Ethernet1"});
  EXPECT_TRUE(sut->intfIncCounters().empty());
}

TEST_F(IntfQueueCountersHelper, DeclaresItsAttributes) {
  Calls names;
  for (auto const& a : Helper::_kelType.attributes()) names.emplace_back(a.name);
  EXPECT_EQ(names,
            (Calls{"name", "queueCountersIncrement", "intfExpectedCounters", "intfIncCounters",
                   "numUnicastQueues", "numMulticastQueues", "intfExpectedCountersDel",
                   "intfExpectedCountersDelAll", "intfIncCountersDel", "intfIncCountersDelAll"}));
}

TEST_F(IntfQueueCountersHelper, RecordsAreListedAndRemovedByName) {
  EXPECT_EQ(Kel::iterKey(*sut, "intfExpectedCounters"), Calls{});
  sut->intfExpectedCountersIs(record("Ethernet10", {}));
  sut->intfExpectedCountersIs(record("Ethernet2", {}));
  log.clear();
  EXPECT_EQ(Kel::iterKey(*sut, "intfExpectedCounters"), (Calls{"Ethernet2", "Ethernet10"}));
  Kel::iterDel(*sut, "intfExpectedCounters", "Ethernet2");
  EXPECT_EQ(Kel::iterKey(*sut, "intfExpectedCounters"), Calls{"Ethernet10"});
  EXPECT_EQ(log.calls(), Calls{"onIntfExpectedCounters Ethernet2"});
  EXPECT_THROW(Kel::iterObj(*sut, "intfExpectedCounters", "Ethernet10"),
               Kel::OpNotSupportedException);
}

TEST_F(IntfQueueCountersHelper, WithoutMemoryIsANullPointer) {
  Kel::System::allocator = [](std::size_t) noexcept -> void* { return nullptr; };
  try {
    Oru::Counters::intfQueueCountersHelperFactory("h");
    ADD_FAILURE() << "not refused";
  } catch (Kel::RangeException const& e) {
    EXPECT_STREQ(e.what(), "null ValidPtr");
  }
  Kel::System::allocator = &Kel::System::heap;
}

}  // namespace
