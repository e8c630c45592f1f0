// The orders of a table's writer.
#include <string>

#include "bench/table_bench.h"
#include "bench/table_folder.h"
#include "platform/glim/collection.h"
#include "platform/glim/reader.h"

namespace Bench {

namespace {

using Glim::Answer;

template <class Record>
class Table {
 public:
  explicit Table(SampleRows<Record> const& sample)
      : path(_folder.at("table")),
        collection(Kel::make<Glim::Collection<Record>>(
            _debug, Glim::RootPath(_debug, path, false),
            Glim::TableLimits{.maxRows = static_cast<std::uint32_t>(sample.count())})) {
    for (std::uint32_t const i : shuffled(sample.count(), 0)) collection->write(sample.rows[i]);
  }

  void allHaveOpened() { _folder.remove(); }
  std::uint64_t writes() { return collection->map().writer()->writes(); }

 private:
  Dov::Platform::DebugHandler _debug;
  TableFolder _folder;

 public:
  std::string const path;
  Kel::Ptr<Glim::Collection<Record>> const collection;
};

// Rows as a process with nothing but the path sees them.
template <class Record>
void expectContent(Glim::Reader<Record> const& reader, SampleRows<Record> const& sample) {
  Record row;
  for (std::size_t i = 0; i < sample.count(); ++i) {
    expect(reader.lookup(sample.keys[i], row) == Answer::ok && row == sample.rows[i],
           "a row is not the one that was written");
  }
}

enum class Company { none, reader };

// A reader in another process, if there is to be one; it opens the table by its path.
template <class Record>
void startOther(OtherProcess& other, Company company, Table<Record> const& table,
                SampleRows<Record> const& sample, bool whole = true) {
  if (company == Company::none) return;
  other.start([&table, &sample, whole](OtherProcess::Progress& progress) {
    Glim::Reader<Record> reader(table.path);
    expect(reader.attach() == Answer::ok, "cannot read the table");
    Record row;
    atRandom(progress, sample, [&](std::size_t i) {
      Answer const answer = reader.lookup(sample.keys[i], row);
      return answer == Answer::busy || (answer == Answer::ok && (!whole || sample.isWhole(row, i)));
    });
  });
}

// order(table, i) writes row i of the sample, as it stands there, when `whole`, or something of it.
template <class Record, class Order>
void tableWrites(benchmark::State& state, SampleRows<Record>& sample, Company company, bool whole,
                 Order order) {
  Table<Record> table(sample);
  auto& collection = *table.collection;
  OtherProcess other;
  startOther(other, company, table, sample, whole);
  Glim::Reader<Record> reader(table.path);
  expect(reader.attach() == Answer::ok, "cannot read the table");
  table.allHaveOpened();
  std::uint64_t const before = table.writes();
  std::uint64_t const visits = besideStores(state, sample, {.other = &other},
                                            [&](std::size_t i) { order(collection, sample, i); });
  expect(table.writes() - before == visits, "not every row was written");
  if (whole) {
    sample.change();
    for (std::size_t i = 0; i < sample.count(); ++i) order(collection, sample, i);
    expectContent(reader, sample);
  } else {
    // Each order has counted one up.
    std::uint64_t sum = 0;
    reader.forEach([&](Record const& row) { sum += row.counts.back(); });
    for (Record const& row : sample.rows) sum -= row.counts.back();
    expect(sum == visits, "not every count was written");
  }
  other.finish();
}

template <class Record>
void tableLookup(benchmark::State& state, SampleRows<Record>& sample, Company company) {
  Table<Record> table(sample);
  OtherProcess other;
  startOther(other, company, table, sample);
  table.allHaveOpened();
  auto& collection = *table.collection;
  std::uint64_t hits = 0, whole = 0;
  alignas(64) Record row;
  bool found = false;
  std::uint64_t const visits = besideLoads(state, sample, {.other = &other}, [&](std::size_t i) {
    collection.safeLookup(sample.keys[i], found, row);
    hits += found;
    benchmark::DoNotOptimize(row);
  });
  expect(hits == visits, "a row was not found");
  for (std::size_t i = 0; i < sample.count(); ++i) {
    collection.safeLookup(sample.keys[i], found, row);
    whole += row == sample.rows[i];
  }
  expect(whole == sample.count(), "a row is not the one that was written");
  other.finish();
}

template <class Record>
void tableMiss(benchmark::State& state, SampleRows<Record>& sample, Company company) {
  Table<Record> table(sample);
  OtherProcess other;
  startOther(other, company, table, sample);
  table.allHaveOpened();
  auto& collection = *table.collection;
  std::uint64_t hits = 0;
  alignas(64) Record row;
  bool found = false;
  besideLoads(state, sample, {.other = &other}, [&](std::size_t i) {
    collection.safeLookup(sample.absentKeys[i], found, row);
    hits += found;
    benchmark::DoNotOptimize(row);
  });
  expect(hits == 0, "an absent row was found");
  other.finish();
}

template <class Record>
void tableWalk(benchmark::State& state, SampleRows<Record>& sample, Company company) {
  Table<Record> table(sample);
  OtherProcess other;
  startOther(other, company, table, sample);
  table.allHaveOpened();
  std::uint64_t sum = 0, rows = 0;
  std::uint64_t const walks = besideWalk(state, sample, {.other = &other}, [&] {
    table.collection->forEach([&](Record const& row) {
      ++rows;
      benchmark::DoNotOptimize(row);
    });
  });
  expect(rows == walks * sample.count(), "a walk missed rows");
  table.collection->forEach([&](Record const& row) { sum += row.counts.back(); });
  for (Record const& row : sample.rows) sum -= row.counts.back();
  expect(sum == 0, "a walk showed what was never written");
  other.finish();
}

void registerWrites(Company company, std::string const& suffix) {
  auto const writes = [company, &suffix](std::string const& name, bool whole, auto order) {
    forEachTable(name, suffix, [company, whole, order](auto& state, auto& sample) {
      tableWrites(state, sample, company, whole, order);
    });
  };
  writes("write_by_key/table", true,
         [](auto& table, auto const& sample, std::size_t i) { table.write(sample.rows[i]); });
  writes("direct_write_row/table", true, [](auto& table, auto const& sample, std::size_t i) {
    auto const slot = table.directWrite(sample.keys[i]);
    *slot = sample.rows[i];
    table.commit(slot);
  });
  writes("direct_write_counter/table", false, [](auto& table, auto const& sample, std::size_t i) {
    auto const slot = table.directWrite(sample.keys[i]);
    ++slot->counts.back();
    table.commit(slot);
  });
}

void registerReads(Company company, std::string const& suffix) {
  auto const reads = [company, &suffix](std::string const& name, auto run) {
    forEachTable(name, suffix,
                 [company, run](auto& state, auto& sample) { run(state, sample, company); });
  };
  reads("lookup/table_writer", [](auto&... args) { tableLookup(args...); });
  reads("miss/table_writer", [](auto&... args) { tableMiss(args...); });
  reads("walk/table_writer", [](auto&... args) { tableWalk(args...); });
}

}  // namespace

void registerTableWriter() {
  registerWrites(Company::none, "");
  registerReads(Company::none, "");
  if (!twoCores()) return;
  registerWrites(Company::reader, "/reader");
  registerReads(Company::reader, "/reader");
}

}  // namespace Bench
