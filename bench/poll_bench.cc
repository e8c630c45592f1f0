// One poll of each kind, chip to table, beside a bare memcpy of the same row. The chip costs next
// to nothing.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "bench/side_by_side.h"
#include "bench/table_folder.h"
#include "counters/pollers/intf_acl_drop_counters_sm.h"
#include "counters/pollers/intf_queue_counters_sm.h"
#include "counters/pollers/port_counters_sm.h"
#include "counters/vlan/helper.h"
#include "counters/vlan/vlan_counters_sm.h"
#include "platform/bridging/config.h"
#include "platform/bridging/vlan_counter_tables.h"
#include "platform/bridging/vlan_counters_cli_req.h"
#include "platform/interface/counter_tables.h"
#include "platform/wib/timer_wheel.h"

namespace {

using Interface::QueueCounter::QueueIndex;

constexpr std::uint32_t kQueues = 8;

// Each port's counts go up by one frame a poll, and those of each of its queues.
class Chip : public OruHelper::OruHelperCountersSm {
 public:
  Chip() : OruHelperCountersSm("chip") {}
  void getCounters(Pekt::IntfId, Kel::Ptr<OruTypes::IntfCounters> newCounters,
                   Kel::Ptr<OruTypes::IntfCounters> prevCounters) override {
    newCounters->intfStats().inOctets = prevCounters->intfStats().inOctets + 64;
    newCounters->intfStats().inUcastPkts = prevCounters->intfStats().inUcastPkts + 1;
  }
  void getIntfQueueType(Pekt::IntfId, Kel::Ptr<OruTypes::IntfQueueType> queueType) override {
    for (std::uint8_t i = 0; i < kQueues; ++i)
      queueType->queueTypeIs(i, OruTypes::QueueType::unicast);
  }
  void getIntfQueueCounters(Pekt::IntfId, Kel::Ptr<OruTypes::IntfQueueCounters> counters) override {
    for (std::uint32_t i = 0; i < kQueues; ++i) {
      auto counts = counters->queueCounts(QueueIndex(i));
      ++counts.pkts;
      counts.octets += 64;
      counters->queueCountsIs(QueueIndex(i), counts);
    }
  }
  std::uint64_t getIntfAclDropCounters(Pekt::IntfId) override { return ++_drops; }
  std::uint64_t drops() const { return _drops; }

 private:
  std::uint64_t _drops = 0;
};

// A table and a poller of each interface Ethernet1 to Ethernet<count>; `make` makes one.
template <class Table, class Poller>
class Pollers {
 public:
  using Record = typename Table::Record;

  template <class Make>
  Pollers(std::size_t count, Make const& make) {
    _table = Kel::make<Table>(_debug, Glim::RootPath(_debug, _folder.at("counters"), true),
                              Glim::TableLimits{.maxRows = static_cast<std::uint32_t>(count)});
    auto const clock = Kel::make<Kel::Clock>();
    clock->timeIs(1000.0);
    for (std::size_t i = 1; i <= count; ++i) {
      Kel::Ptr<Poller> const poller =
          make(Pekt::IntfId("Ethernet" + std::to_string(i)), clock, _table);
      poller->initializedIs(true);
      _pollers.push_back(poller);
    }
  }

  void poll() {
    for (auto const& poller : _pollers) poller->updateCounters();
  }
  Record row(Pekt::IntfId const& intfId) { return _table->lookup(intfId); }

 private:
  Dov::Platform::DebugHandler _debug;
  Bench::TableFolder _folder;
  Kel::Ptr<Table> _table;
  std::vector<Kel::Ptr<Poller>> _pollers;
};

// A table and its one state machine, VLANs 1 to <count>.
class Vlans {
 public:
  using Record = Glim::Bridging::VlanCounter;

  // Each VLAN's octets go up by 64 a poll.
  class Chip : public OruHelper::OruVlanCountersHelper {
   public:
    Chip() : OruVlanCountersHelper("chip") {}
    void getVlanCounters(Bridging::VlanId, Kel::Ptr<OruTypes::VlanCounters> newCounters,
                         Kel::Ptr<OruTypes::VlanCounters>) override {
      newCounters->countsIs({.inOctets = 64});
    }
  };

  explicit Vlans(std::size_t count) {
    Glim::TableLimits const limits{.maxRows = static_cast<std::uint32_t>(count)};
    auto const live = Kel::make<Glim::Bridging::VlanCounterDir>(
        _debug, Glim::RootPath(_debug, _folder.at("vlans"), true), limits);
    auto const snapshots = Kel::make<Glim::Bridging::VlanCounterSnapshotDir>(
        _debug, Glim::RootPath(_debug, _folder.at("snapshots"), true), limits);
    auto const config = Kel::make<Bridging::Config>();
    for (std::uint64_t id = 1; id <= count; ++id) config->vlanConfigIs({Bridging::VlanId(id)});
    auto const wheel = Kel::make<Wib::TimerWheel>();
    wheel->timeIs(1000.0);
    _sm = Oru::Counters::vlanCountersSmFactory(config, nullptr, live, snapshots, wheel,
                                               Kel::make<Chip>());
  }
  void poll() { _sm->updateCounters(); }
  Record row(std::uint64_t id) { return _sm->vlanCounterDir()->vlanCounter(Bridging::VlanId(id)); }

 private:
  Dov::Platform::DebugHandler _debug;
  Bench::TableFolder _folder;
  Kel::Ptr<Oru::Counters::VlanCountersSm> _sm;
};

// Answers how often all were polled.
template <class Pollers>
std::uint64_t againstMemcpy(benchmark::State& state, Pollers& pollers) {
  using Record = typename Pollers::Record;
  auto const count = static_cast<std::size_t>(state.range(0));
  std::vector<Record> from(count), to(count);
  std::uint64_t polls = 0;
  Bench::sideBySide(
      state, count,
      [&] {
        pollers.poll();
        ++polls;
      },
      [&] {
        for (std::size_t i = 0; i < count; ++i) {
          std::memcpy(&to[i], &from[i], sizeof(Record));
          benchmark::DoNotOptimize(to[i]);
        }
        benchmark::ClobberMemory();
      });
  return polls;
}

void reached(benchmark::State& state, bool table) {
  if (!table) state.SkipWithError("the polls did not reach the table");
}

void portPollAgainstMemcpy(benchmark::State& state) {
  using Oru::Counters::PortCountersSm;
  auto const chip = Kel::make<Chip>();
  Pollers<Interface::AllEthIntfCounterGlim, PortCountersSm> ports(
      static_cast<std::size_t>(state.range(0)),
      [&](Pekt::IntfId const& intfId, auto const& clock, auto const& table) {
        return PortCountersSm::PortCountersSmIs(
            Kel::make<Oru::OruCommonSmData>(), intfId, nullptr, clock,
            Kel::make<Interface::EthPhyIntfConfig>(), Kel::make<Interface::EthPhyIntfStatus>(),
            chip, Kel::make<Interface::GlobalIntfConfig>(), table, nullptr);
      });
  auto const polls = againstMemcpy(state, ports);
  reached(state, ports.row("Ethernet1").statistics.inOctets == 64 * polls);
}

void queuePollAgainstMemcpy(benchmark::State& state) {
  using Oru::Counters::IntfQueueCountersSm;
  auto const chip = Kel::make<Chip>();
  Bench::TableFolder clearFolder;
  Dov::Platform::DebugHandler debug;
  auto const clear = Kel::make<Interface::QueueCounter::AllIntfQueueCounters>(
      debug, Glim::RootPath(debug, clearFolder.at("clear"), true),
      Glim::TableLimits{.maxRows = static_cast<std::uint32_t>(state.range(0))});
  Pollers<Interface::QueueCounter::AllIntfQueueCounters, IntfQueueCountersSm> queues(
      static_cast<std::size_t>(state.range(0)),
      [&](Pekt::IntfId const& intfId, auto const& clock, auto const& table) {
        return IntfQueueCountersSm::IntfQueueCountersSmIs(Kel::make<Oru::OruCommonSmData>(), intfId,
                                                          5.0, clock, chip, table, clear);
      });
  auto const polls = againstMemcpy(state, queues);
  auto const row = queues.row("Ethernet1").statistics;
  reached(state, row.size() == kQueues && row[QueueIndex(kQueues - 1)].counts.pkts == polls);
}

void dropPollAgainstMemcpy(benchmark::State& state) {
  using Oru::Counters::IntfAclDropCountersSm;
  auto const chip = Kel::make<Chip>();
  auto const count = static_cast<std::size_t>(state.range(0));
  Pollers<Glim::Interface::AllDropCounterDir, IntfAclDropCountersSm> drops(
      count, [&](Pekt::IntfId const& intfId, auto const& clock, auto const& table) {
        return IntfAclDropCountersSm::IntfAclDropCountersSmIs(
            intfId, clock, Glim::Interface::DropCounter(), table, chip);
      });
  againstMemcpy(state, drops);
  Pekt::IntfId const last("Ethernet" + std::to_string(count));
  reached(state, drops.row(last).aclDropPkts == chip->drops());
}

void vlanPollAgainstMemcpy(benchmark::State& state) {
  Vlans vlans(static_cast<std::size_t>(state.range(0)));
  auto const polls = againstMemcpy(state, vlans);
  reached(state, vlans.row(1).counts.inOctets == 64 * polls);
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(64)->Arg(1024)->Arg(16384)->UseManualTime()->Unit(benchmark::kMicrosecond);
}
BENCHMARK(portPollAgainstMemcpy)->Apply(sizes);
BENCHMARK(queuePollAgainstMemcpy)->Apply(sizes);
BENCHMARK(dropPollAgainstMemcpy)->Apply(sizes);
BENCHMARK(vlanPollAgainstMemcpy)
    ->Arg(64)
    ->Arg(4094)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
