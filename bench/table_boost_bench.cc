// The map of Boost.Interprocess, in a segment of shared memory, under its mutex. All of Boost that
// the benchmarks compile is here.
#include <unistd.h>

#include <boost/interprocess/allocators/allocator.hpp>
#include <boost/interprocess/managed_shared_memory.hpp>
#include <boost/interprocess/sync/interprocess_mutex.hpp>
#include <boost/interprocess/sync/scoped_lock.hpp>
#include <boost/unordered_map.hpp>
#include <functional>
#include <utility>

#include "bench/table_bench.h"

namespace Bench {

namespace {

namespace Ipc = boost::interprocess;

template <class Record>
class SharedMap {
 public:
  using Key = decltype(Record::key);
  struct Hash {
    std::size_t operator()(Key const& key) const { return key.hash(); }
  };
  using Entry = std::pair<Key const, Record>;
  using Allocator = Ipc::allocator<Entry, Ipc::managed_shared_memory::segment_manager>;
  using Map = boost::unordered_map<Key, Record, Hash, std::equal_to<Key>, Allocator>;
  using Lock = Ipc::scoped_lock<Ipc::interprocess_mutex>;

  explicit SharedMap(SampleRows<Record> const& sample)
      : _segment(Ipc::create_only, name().c_str(), bytesFor(sample.count())),
        _mutex(*_segment.template construct<Ipc::interprocess_mutex>("mutex")()),
        _map(*_segment.template construct<Map>("map")(sample.count(), Hash(), std::equal_to<Key>(),
                                                      _segment.get_segment_manager())) {
    // Whoever has it mapped keeps it, and nothing stays behind, however the benchmark ends.
    Ipc::shared_memory_object::remove(name().c_str());
    for (std::uint32_t const i : shuffled(sample.count(), 0)) write(sample.rows[i]);
  }

  bool write(Record const& row) {
    Lock const lock(_mutex);
    auto const at = _map.find(row.key);
    if (at == _map.end()) return _map.emplace(row.key, row).second;
    at->second = row;
    return true;
  }
  bool countUp(Key const& key) {
    Lock const lock(_mutex);
    auto const at = _map.find(key);
    if (at == _map.end()) return false;
    ++at->second.counts.back();
    return true;
  }
  bool lookup(Key const& key, Record& out) {
    Lock const lock(_mutex);
    auto const at = _map.find(key);
    if (at == _map.end()) return false;
    copyRow(&out, &at->second);
    return true;
  }
  // Nobody writes meanwhile.
  template <class Visit>
  void forEach(Visit visit) {
    Lock const lock(_mutex);
    for (auto const& entry : _map) {
      alignas(64) Record row;
      copyRow(&row, &entry.second);
      visit(row);
    }
  }

 private:
  static std::string name() { return "oru-bench-" + std::to_string(getpid()); }
  static std::size_t bytesFor(std::size_t rows) {
    return (1u << 16) + rows * (sizeof(Entry) + 128);
  }

  Ipc::managed_shared_memory _segment;
  Ipc::interprocess_mutex& _mutex;
  Map& _map;
};

enum class Company { none, reader, writer };

// Another process that reads or writes rows at random, without a pause.
template <class Record>
void startOther(OtherProcess& other, Company company, SharedMap<Record>& map,
                SampleRows<Record> const& sample, bool whole = true) {
  if (company == Company::none) return;
  other.start([&map, &sample, company, whole](OtherProcess::Progress& progress) {
    std::uint64_t generation = 1;
    atRandom(progress, sample, [&](std::size_t i) {
      Record row;
      if (company == Company::reader) {
        return map.lookup(sample.keys[i], row) && (!whole || sample.isWhole(row, i));
      }
      row.key = sample.keys[i];
      sample.contentIs(row, i, ++generation);
      return map.write(row);
    });
  });
}

template <class Record>
void writes(benchmark::State& state, SampleRows<Record>& sample, Company company) {
  SharedMap<Record> map(sample);
  OtherProcess other;
  startOther(other, company, map, sample);
  std::uint64_t good = 0;
  std::uint64_t const visits = besideStores(
      state, sample, {.other = &other}, [&](std::size_t i) { good += map.write(sample.rows[i]); });
  expect(good == visits, "a row was not written");
  sample.change();
  Record row;
  for (std::size_t i = 0; i < sample.count(); ++i) {
    expect(map.write(sample.rows[i]) && map.lookup(sample.keys[i], row) && row == sample.rows[i],
           "a row was not written");
  }
  other.finish();
}

template <class Record>
void countsUp(benchmark::State& state, SampleRows<Record>& sample, Company company) {
  SharedMap<Record> map(sample);
  OtherProcess other;
  startOther(other, company, map, sample, false);
  std::uint64_t const visits = besideStores(state, sample, {.other = &other},
                                            [&](std::size_t i) { map.countUp(sample.keys[i]); });
  std::uint64_t sum = 0;
  map.forEach([&](Record const& row) { sum += row.counts.back(); });
  for (Record const& row : sample.rows) sum -= row.counts.back();
  expect(sum == visits, "not every count was written");
  other.finish();
}

template <class Record>
void lookups(benchmark::State& state, SampleRows<Record>& sample, Company company) {
  SharedMap<Record> map(sample);
  OtherProcess other;
  startOther(other, company, map, sample);
  std::uint64_t hits = 0;
  alignas(64) Record row;
  std::uint64_t const visits = besideLoads(state, sample, {.other = &other}, [&](std::size_t i) {
    hits += map.lookup(sample.keys[i], row);
    benchmark::DoNotOptimize(row);
  });
  expect(hits == visits, "a row was not found");
  for (std::size_t i = 0; i < sample.count(); ++i) {
    expect(map.lookup(sample.keys[i], row) && sample.isWhole(row, i), "a torn row");
  }
  other.finish();
}

template <class Record>
void misses(benchmark::State& state, SampleRows<Record>& sample, Company company) {
  SharedMap<Record> map(sample);
  OtherProcess other;
  startOther(other, company, map, sample);
  std::uint64_t hits = 0;
  alignas(64) Record row;
  besideLoads(state, sample, {.other = &other}, [&](std::size_t i) {
    hits += map.lookup(sample.absentKeys[i], row);
    benchmark::DoNotOptimize(row);
  });
  expect(hits == 0, "an absent row was found");
  other.finish();
}

template <class Record>
void walks(benchmark::State& state, SampleRows<Record>& sample, Company company) {
  SharedMap<Record> map(sample);
  OtherProcess other;
  startOther(other, company, map, sample);
  std::uint64_t rows = 0;
  std::uint64_t const walked = besideWalk(state, sample, {.other = &other}, [&] {
    map.forEach([&](Record& row) {
      ++rows;
      benchmark::DoNotOptimize(row);
    });
  });
  expect(rows == walked * sample.count(), "a walk missed rows");
  map.forEach([&](Record const& row) { expect(sample.isWhole(row), "a torn row"); });
  other.finish();
}

void registerWith(Company writersCompany, Company readersCompany, std::string const& writersSuffix,
                  std::string const& readersSuffix) {
  auto const add = [](Company company, std::string const& suffix, std::string const& name,
                      auto run) {
    forEachTable(name + "/boost", suffix,
                 [company, run](auto& state, auto& sample) { run(state, sample, company); });
  };
  add(writersCompany, writersSuffix, "write_by_key", [](auto&... args) { writes(args...); });
  add(writersCompany, writersSuffix, "direct_write_counter",
      [](auto&... args) { countsUp(args...); });
  add(readersCompany, readersSuffix, "lookup", [](auto&... args) { lookups(args...); });
  add(readersCompany, readersSuffix, "miss", [](auto&... args) { misses(args...); });
  add(readersCompany, readersSuffix, "walk", [](auto&... args) { walks(args...); });
}

}  // namespace

void registerBoostMap() {
  registerWith(Company::none, Company::none, "", "");
  if (twoCores()) registerWith(Company::reader, Company::writer, "/reader", "/writer");
}

}  // namespace Bench
