// Queue counters without a switch: a helper stands in for the chip, hours pass in milliseconds, and
// what the pollers publish is compared with what came over the queues. Exits 1 where they differ.
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>

#include "platform/dov/debug_handler.h"
#include "platform/interface/counter_tables.h"
#include "platform/kel/activity.h"
#include "platform/kel/system.h"
#include "platform/oru/common_sm_data.h"
#include "tester/intf_queue_counter_test_wrapper.h"
#include "tester/intf_queue_counters_helper.h"

using Interface::QueueCounter::AllIntfQueueCounters;
using Interface::QueueCounter::IntfQueueCounter;
using Interface::QueueCounter::QueueCounts;
using Interface::QueueCounter::QueueIndex;
using Oru::Counters::IntfQueueCountersHelper;

namespace {

double now = 1'700'000'000;  // seconds since the epoch; stands still unless it is moved
bool good = true;

// Runs the pollers at each wake-up on the way.
void pass(double seconds) {
  auto const clock = Kel::ActivityManagerConfig::clock();
  for (double const end = now + seconds; now < end; clock->timeIs(now))
    now = std::min(end, clock->nextWakeUp());
}

// So much traffic on queue 0, the first unicast one, and twice that on queue 9, the first multicast
// one, in packets of 64 octets.
IntfQueueCounter traffic(Pekt::IntfId const& id, std::uint64_t pkts) {
  IntfQueueCounter record;
  record.intfId = id;
  record.statistics.sizeIs(17);
  record.statistics[QueueIndex(0)].counts = {.pkts = pkts, .octets = 64 * pkts};
  record.statistics[QueueIndex(9)].counts = {.pkts = 2 * pkts, .octets = 128 * pkts};
  return record;
}

void expect(char const* what, IntfQueueCounter const& row, std::uint64_t pkts) {
  QueueCounts const first = row.statistics[QueueIndex(0)].counts;
  QueueCounts const ninth = row.statistics[QueueIndex(9)].counts;
  bool const same = first == QueueCounts{.pkts = pkts, .octets = 64 * pkts} &&
                    ninth == QueueCounts{.pkts = 2 * pkts, .octets = 128 * pkts};
  std::printf("%-34s queue 0 %8ju pkts, queue 9 %8ju pkts  %s\n", what, std::uintmax_t{first.pkts},
              std::uintmax_t{ninth.pkts}, same ? "as expected" : "DIFFERENT");
  good = good && same;
}

}  // namespace

int main() {
  Kel::System::timeSource = [] { return now; };
  std::string folder = "/dev/shm/queue-harness-XXXXXX";
  if (!mkdtemp(folder.data())) return std::perror(folder.c_str()), 2;

  Dov::Platform::DebugHandler debug;
  auto const table = [&](char const* name) {
    return Kel::make<AllIntfQueueCounters>(debug, Glim::RootPath(debug, folder + '/' + name, true));
  };
  auto const live = table("queues"), cleared = table("clearedQueues");
  auto const ocsd = Kel::make<Oru::OruCommonSmData>();
  auto const helper = Oru::Counters::intfQueueCountersHelperFactory("helper");
  Pekt::IntfId const intf("Ethernet1");
  ocsd->intfIs(intf, true);

  auto const sut = Oru::Counters::intfQueueCounterTestWrapperFactory(ocsd, helper, live, cleared);
  sut->initializedIs(true);  // makes a poller of each interface, which polls every 2 seconds

  helper->queueCountersIncrementIs(true);
  for (int minute = 0; minute < 3 * 60; pass(60), ++minute)
    helper->intfIncCountersIs(traffic(intf, 100));
  expect("increments of 3 hours:", live->intfQueueCounter(intf), 18'000);

  cleared->intfQueueCounterIs(live->intfQueueCounter(intf));  // a clear is a copy, never a zero
  helper->intfIncCountersIs(traffic(intf, 7));
  pass(3600);
  auto const sinceClear = [&] {
    return IntfQueueCountersHelper::computeIntfQueueCounterDiff(live, cleared, intf);
  };
  expect("an hour later, in all:", live->intfQueueCounter(intf), 18'007);
  expect("an hour later, since the clear:", sinceClear(), 7);

  helper->queueCountersIncrementIs(false);
  helper->intfExpectedCountersIs(traffic(intf, 20'000));
  pass(3600);
  expect("absolute counts, in all:", live->intfQueueCounter(intf), 20'000);
  expect("absolute counts, since the clear:", sinceClear(), 2'000);

  std::filesystem::remove_all(folder);
  return good ? 0 : 1;
}
