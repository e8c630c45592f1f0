// What the benchmarks of tables share: their sizes, their names, and what they are compared with.
//
//   order/who/bytes:1024/rows:1024          one order on one row, or a walk's part of one row
//   order/who/bytes:1024/rows:1024/reader   while another process reads the same rows
//   order/who/bytes:1024/rows:1024/writer   while another process writes them
//
// Each is timed in turns with a bare memcpy of the same rows in the same order, between private
// memory and shared memory.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "bench/other_process.h"
#include "bench/sample_rows.h"
#include "bench/side_by_side.h"

namespace Bench {

void registerBareSlots();
void registerTableWriter();
void registerTableReader();
void registerBoostMap();
// Answers whether there is a server's program.
bool registerRedis();

inline constexpr std::array<std::size_t, 3> rowCounts{64, 1024, 16384};

// Registers run(state, sample) for each size of row and number of rows. What it throws is the
// benchmark's error.
template <class Run>
void forEachTable(std::string const& name, std::string const& company, Run run) {
  auto const withRecord = [&]<class Record>(std::type_identity<Record>) {
    for (std::size_t const count : rowCounts) {
      std::string const full = name + "/bytes:" + std::to_string(sizeof(Record)) +
                               "/rows:" + std::to_string(count) + company;
      benchmark::RegisterBenchmark(full.c_str(),
                                   [run, count](benchmark::State& state) {
                                     try {
                                       SampleRows<Record> sample(count);
                                       run(state, sample);
                                     } catch (std::exception const& exception) {
                                       state.SkipWithError(exception.what());
                                     }
                                   })
          ->UseManualTime()
          ->ComputeStatistics("min", [](auto const& v) { return std::ranges::min(v); })
          ->ComputeStatistics("max", [](auto const& v) { return std::ranges::max(v); });
    }
  };
  withRecord(std::type_identity<Small>());
  withRecord(std::type_identity<Middle>());
  withRecord(std::type_identity<Large>());
}

inline void expect(bool holds, char const* what) {
  if (!holds) throw std::runtime_error(what);
}

// The bare memcpy, the faster of the two that there are: short rows by what the compiler makes of
// it, long ones by the C library, which uses the widest registers of the machine.
template <class Record>
void copyRow(Record* to, Record const* from) {
  std::size_t bytes = sizeof(Record);
  if constexpr (sizeof(Record) > 256) asm volatile("" : "+r"(bytes));  // now it knows it no longer
  std::memcpy(static_cast<void*>(to), from, bytes);
}

// The rounds of one benchmark: how much each does, and who works beside it.
struct Rounds {
  // Rows a round; 0 is the whole order, which the yardstick goes through in any case. The next
  // round goes on where the last one ended.
  std::size_t visits = 0;
  // Its pace is reported: nanoseconds a step, while the timed work is done.
  OtherProcess const* other = nullptr;
};

// Counts the steps of another process during the timed work.
class Pace {
 public:
  explicit Pace(OtherProcess const* other) : _other(other) {}

  template <class Work>
  void during(Work const& work) {
    if (_other == nullptr || !_other->started()) return work();
    auto const steps = _other->steps();
    auto const start = Clock::now();
    work();
    _time += Clock::now() - start;
    _steps += _other->steps() - steps;
  }
  void report(benchmark::State& state) const {
    if (_time.count() == 0.0) return;
    state.counters["ns_other"] =
        _time.count() / static_cast<double>(std::max<std::uint64_t>(_steps, 1));
  }

 private:
  using Clock = std::chrono::steady_clock;
  OtherProcess const* _other;
  std::chrono::duration<double, std::nano> _time{};
  std::uint64_t _steps = 0;
};

// Goes through the sample's order, and begins anew at its end.
template <class Sample>
class Visits {
 public:
  Visits(Sample const& sample, std::size_t visits) : _sample(sample), _visits(visits) {}

  template <class Visit>
  void round(Visit visit) {
    for (std::size_t i = 0; i < _visits; ++i) {
      visit(std::size_t{_sample.order[_next]});
      if (++_next == _sample.order.size()) _next = 0;
    }
    _done += _visits;
  }
  std::uint64_t done() const { return _done; }

 private:
  Sample const& _sample;
  std::size_t _visits;
  std::size_t _next = 0;
  std::uint64_t _done = 0;
};

// Times `visit(number)` beside `yardstick(number)`. Returns how many visits there were.
template <class Record, class Visit, class Yardstick>
std::uint64_t besideEach(benchmark::State& state, SampleRows<Record> const& sample, Rounds rounds,
                         Visit visit, Yardstick yardstick) {
  std::size_t const visits = rounds.visits != 0 ? rounds.visits : sample.roundVisits;
  Visits work(sample, visits), bare(sample, sample.roundVisits);
  Pace pace(rounds.other);
  sideBySide(
      state, visits, [&] { pace.during([&] { work.round(visit); }); },
      [&] { bare.round(yardstick); }, rounds.visits != 0 ? sample.roundVisits : 0);
  pace.report(state);
  return work.done();
}

// Beside a memcpy of the same rows into shared memory.
template <class Record, class Visit>
std::uint64_t besideStores(benchmark::State& state, SampleRows<Record> const& sample, Rounds rounds,
                           Visit visit) {
  SharedMemory<Record> plain(sample.count());
  return besideEach(state, sample, rounds, visit, [&](std::size_t i) {
    copyRow(&plain[i], &sample.rows[i]);
    benchmark::ClobberMemory();
  });
}

// Beside a memcpy of the same rows out of shared memory.
template <class Record, class Visit>
std::uint64_t besideLoads(benchmark::State& state, SampleRows<Record> const& sample, Rounds rounds,
                          Visit visit) {
  SharedMemory<Record> plain(sample.count());
  std::ranges::copy(sample.rows, plain.get());
  alignas(64) Record out;
  return besideEach(state, sample, rounds, visit, [&](std::size_t i) {
    copyRow(&out, &plain[i]);
    benchmark::DoNotOptimize(out);
  });
}

// Times walk(), which goes through all rows, beside a memcpy of all rows in the order in which they
// lie. Returns how many walks there were.
template <class Record, class Walk>
std::uint64_t besideWalk(benchmark::State& state, SampleRows<Record> const& sample, Rounds rounds,
                         Walk walk) {
  std::size_t const walks = sample.order.size() / sample.count();
  SharedMemory<Record> plain(sample.count());
  std::ranges::copy(sample.rows, plain.get());
  Pace pace(rounds.other);
  std::uint64_t walked = 0;
  alignas(64) Record out;
  sideBySide(
      state, walks * sample.count(),
      [&] {
        pace.during([&] {
          for (std::size_t n = 0; n < walks; ++n) walk();
        });
        walked += walks;
      },
      [&] {
        for (std::size_t n = 0; n < walks; ++n) {
          for (std::size_t i = 0; i < sample.count(); ++i) {
            copyRow(&out, &plain[i]);
            benchmark::DoNotOptimize(out);
          }
        }
      });
  pace.report(state);
  return walked;
}

}  // namespace Bench
