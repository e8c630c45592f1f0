// One port poll, chip to table, beside a bare memcpy of the same row.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/side_by_side.h"
#include "counters/pollers/port_counters_sm.h"
#include "platform/interface/counter_tables.h"

namespace {

using Interface::EthIntfCounterGlim;

// A chip that costs next to nothing: the port's count goes up by one a poll.
class Chip : public OruHelper::OruHelperCountersSm {
 public:
  Chip() : OruHelperCountersSm("chip") {}
  void getCounters(Pekt::IntfId, Kel::Ptr<OruTypes::IntfCounters> newCounters,
                   Kel::Ptr<OruTypes::IntfCounters> prevCounters) override {
    newCounters->intfStats().inOctets = prevCounters->intfStats().inOctets + 64;
    newCounters->intfStats().inUcastPkts = prevCounters->intfStats().inUcastPkts + 1;
  }
};

class Ports {
 public:
  explicit Ports(std::size_t count) {
    char directory[] = "/dev/shm/oru-bench-XXXXXX";
    _directory = mkdtemp(directory);
    _table = Kel::make<Interface::AllEthIntfCounterGlim>(
        _debug, Glim::RootPath(_debug, (_directory / "intfCounters").string(), true),
        Glim::TableLimits{.maxRows = static_cast<std::uint32_t>(count)});
    auto const clock = Kel::make<Kel::Clock>();
    clock->timeIs(1000.0);
    auto const chip = Kel::make<Chip>();
    for (std::size_t i = 1; i <= count; ++i) {
      auto const poller = Oru::Counters::PortCountersSm::PortCountersSmIs(
          Kel::make<Oru::OruCommonSmData>(), "Ethernet" + std::to_string(i), nullptr, clock,
          Kel::make<Interface::EthPhyIntfConfig>(), Kel::make<Interface::EthPhyIntfStatus>(), chip,
          Kel::make<Interface::GlobalIntfConfig>(), _table, nullptr);
      poller->initializedIs(true);
      _pollers.push_back(poller);
    }
  }
  ~Ports() { std::filesystem::remove_all(_directory); }
  Ports(Ports const&) = delete;
  Ports& operator=(Ports const&) = delete;

  void poll() {
    for (auto const& poller : _pollers) poller->updateCounters();
  }
  std::uint64_t inOctets() { return _table->counter("Ethernet1").statistics.inOctets; }

 private:
  Dov::Platform::DebugHandler _debug;
  std::filesystem::path _directory;
  Kel::Ptr<Interface::AllEthIntfCounterGlim> _table;
  std::vector<Kel::Ptr<Oru::Counters::PortCountersSm>> _pollers;
};

void portPollAgainstMemcpy(benchmark::State& state) {
  auto const count = static_cast<std::size_t>(state.range(0));
  Ports ports(count);
  std::vector<EthIntfCounterGlim> from(count), to(count);
  std::uint64_t polls = 0;
  Bench::sideBySide(
      state, count,
      [&] {
        ports.poll();
        ++polls;
      },
      [&] {
        for (std::size_t i = 0; i < count; ++i) {
          std::memcpy(&to[i], &from[i], sizeof(EthIntfCounterGlim));
          benchmark::DoNotOptimize(to[i]);
        }
        benchmark::ClobberMemory();
      });
  if (ports.inOctets() != 64 * polls) state.SkipWithError("the polls did not reach the table");
}
BENCHMARK(portPollAgainstMemcpy)
    ->Arg(64)
    ->Arg(1024)
    ->Arg(16384)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
