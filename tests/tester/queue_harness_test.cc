// The harness from outside: what a tester of queue counters does with the installed shared objects.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "platform/dov/debug_handler.h"
#include "platform/interface/counter_tables.h"
#include "platform/kel/activity.h"
#include "platform/kel/system.h"
#include "platform/oru/common_sm_data.h"
#include "tester/intf_queue_counter_test_wrapper.h"
#include "tester/intf_queue_counters_helper.h"

namespace {

using Helper = Oru::Counters::IntfQueueCountersHelper;
using Interface::QueueCounter::AllIntfQueueCounters;
using Interface::QueueCounter::IntfQueueCounter;
using Interface::QueueCounter::QueueCounts;
using Interface::QueueCounter::QueueIndex;

double now = 1e9;

class QueueHarness : public testing::Test {
 protected:
  QueueHarness() {
    Kel::System::timeSource = [] { return now; };
    std::string folder = "/dev/shm/oru-harness-XXXXXX";
    if (!mkdtemp(folder.data())) throw std::runtime_error("no folder in /dev/shm");
    _folder = folder;
    live = table("live");
    cleared = table("cleared");
    for (auto const& id : intfs) ocsd->intfIs(id, true);
    sut = Oru::Counters::intfQueueCounterTestWrapperFactory(ocsd, helper, live, cleared);
  }
  ~QueueHarness() override {
    sut = nullptr;
    Kel::ActivityManagerConfig::clockIs(nullptr);
    Kel::System::timeSource = &Kel::System::wallClock;
    std::filesystem::remove_all(_folder);
  }

  Kel::Ptr<AllIntfQueueCounters> table(std::string const& name) {
    return Kel::make<AllIntfQueueCounters>(_debug,
                                           Glim::RootPath(_debug, (_folder / name).string(), true));
  }
  void pass(double seconds) {
    auto const clock = Kel::ActivityManagerConfig::clock();
    double const end = now + seconds;
    for (double next = clock->nextWakeUp(); next <= end; next = clock->nextWakeUp()) {
      now = next;
      clock->timeIs(now);
    }
    now = end;
  }
  // What came over the queues of an interface; queue 9 is the first multicast one.
  static IntfQueueCounter traffic(Pekt::IntfId const& id, std::uint64_t pkts) {
    IntfQueueCounter record;
    record.intfId = id;
    record.statistics.sizeIs(17);
    record.statistics[QueueIndex(0)].counts = {pkts, 64 * pkts, 1, 64};
    record.statistics[QueueIndex(9)].counts = {2 * pkts, 128 * pkts, 0, 0};
    record.intfCounts = {3 * pkts, 192 * pkts, 1, 64};
    return record;
  }
  void clear() {
    live->forEach([&](IntfQueueCounter const& row) { cleared->intfQueueCounterIs(row); });
  }
  QueueCounts sinceClear(Pekt::IntfId const& id, std::uint32_t queue) {
    return Helper::computeIntfQueueCounterDiff(live, cleared, id)
        .statistics[QueueIndex(queue)]
        .counts;
  }
  QueueCounts total(Pekt::IntfId const& id, std::uint32_t queue) {
    return live->intfQueueCounter(id).statistics[QueueIndex(queue)].counts;
  }

  Pekt::IntfId const intfs[2]{Pekt::IntfId("Ethernet1"), Pekt::IntfId("Ethernet2")};
  Dov::Platform::DebugHandler _debug;
  std::filesystem::path _folder;
  Kel::Ptr<AllIntfQueueCounters> live, cleared;
  Kel::Ptr<Oru::OruCommonSmData> ocsd = Kel::make<Oru::OruCommonSmData>();
  Kel::Ptr<Helper> helper = Oru::Counters::intfQueueCountersHelperFactory("helper");
  Kel::Ptr<Oru::Counters::IntfQueueCounterTestWrapper> sut;
};

TEST_F(QueueHarness, IncrementsOfHoursAddUpInTheLiveTable) {
  helper->queueCountersIncrementIs(true);
  sut->initializedIs(true);
  for (int minute = 0; minute < 3 * 60; ++minute) {
    helper->intfIncCountersIs(traffic(intfs[0], 10));
    if (minute % 2 == 0) helper->intfIncCountersIs(traffic(intfs[1], 1));
    pass(60.0);
  }
  EXPECT_EQ(total(intfs[0], 0), (QueueCounts{1800, 115200, 180, 11520}));
  EXPECT_EQ(total(intfs[0], 9), (QueueCounts{3600, 230400, 0, 0}));
  EXPECT_EQ(total(intfs[0], 1), QueueCounts());
  EXPECT_EQ(total(intfs[1], 0), (QueueCounts{90, 5760, 90, 5760}));
  EXPECT_EQ(live->intfQueueCounter(intfs[0]).intfCounts, (QueueCounts{5400, 345600, 180, 11520}));
  EXPECT_EQ(live->intfQueueCounter(intfs[0]).statistics[QueueIndex(9)].queueType,
            OruTypes::QueueType::multicast);
}

TEST_F(QueueHarness, AbsoluteCountsReplaceWhatIsInTheLiveTable) {
  sut->initializedIs(true);
  for (std::uint64_t hour = 1; hour <= 5; ++hour) {
    helper->intfExpectedCountersIs(traffic(intfs[0], 100 * hour));
    pass(3600.0);
    EXPECT_EQ(total(intfs[0], 9), (QueueCounts{200 * hour, 12800 * hour, 0, 0}));
  }
  EXPECT_EQ(total(intfs[1], 9), QueueCounts());
}

TEST_F(QueueHarness, ACountIsThereOnlyAfterThePollThatIsDue) {
  sut->initializedIs(true);
  helper->intfExpectedCountersIs(traffic(intfs[0], 5));
  pass(1.999);
  EXPECT_EQ(total(intfs[0], 0), QueueCounts());
  pass(0.002);
  EXPECT_EQ(total(intfs[0], 0).pkts, 5u);
}

TEST_F(QueueHarness, SinceAClearIsWhatCameSince) {
  helper->queueCountersIncrementIs(true);
  sut->initializedIs(true);
  helper->intfIncCountersIs(traffic(intfs[0], 1000));
  pass(3600.0);
  clear();
  EXPECT_EQ(sinceClear(intfs[0], 0), QueueCounts());
  helper->intfIncCountersIs(traffic(intfs[0], 7));
  pass(3600.0);
  EXPECT_EQ(sinceClear(intfs[0], 0), (QueueCounts{7, 448, 1, 64}));
  EXPECT_EQ(sinceClear(intfs[0], 9), (QueueCounts{14, 896, 0, 0}));
  EXPECT_EQ(total(intfs[0], 0).pkts, 1007u);  // nothing was set back
}

TEST_F(QueueHarness, ModesCanBeChangedWhilePollersRun) {
  helper->queueCountersIncrementIs(true);
  sut->initializedIs(true);
  helper->intfIncCountersIs(traffic(intfs[0], 4));
  pass(10.0);
  helper->queueCountersIncrementIs(false);
  helper->intfExpectedCountersIs(traffic(intfs[0], 1));
  pass(10.0);
  EXPECT_EQ(total(intfs[0], 0).pkts, 1u);
  helper->queueCountersIncrementIs(true);
  helper->intfIncCountersIs(traffic(intfs[0], 2));
  pass(10.0);
  EXPECT_EQ(total(intfs[0], 0).pkts, 3u);
}

TEST_F(QueueHarness, TotalsOutliveTheHarnessThatCountedThem) {
  helper->queueCountersIncrementIs(true);
  sut->initializedIs(true);
  helper->intfIncCountersIs(traffic(intfs[0], 4));
  pass(10.0);
  sut = Oru::Counters::intfQueueCounterTestWrapperFactory(ocsd, helper, live, cleared);
  sut->initializedIs(true);
  helper->intfIncCountersIs(traffic(intfs[0], 5));
  pass(10.0);
  EXPECT_EQ(total(intfs[0], 0).pkts, 9u);
}

}  // namespace
