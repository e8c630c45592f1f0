// The orders of a table's readers: the table and its writer are another process's.
#include <unistd.h>

#include "bench/table_bench.h"
#include "bench/table_folder.h"
#include "platform/glim/collection.h"
#include "platform/glim/reader.h"

namespace Bench {

namespace {

using Glim::Answer;

enum class Writer { idle, writing };

// A table that another process makes, and writes at random if it is to.
template <class Record>
class OthersTable {
 public:
  OthersTable(SampleRows<Record> const& sample, Writer writer)
      : reader(_folder.at("table")), _pace(writer == Writer::writing) {
    _writer.start([&](OtherProcess::Progress& progress) { write(progress, sample, writer); });
    expect(reader.attach() == Answer::ok, "cannot read the table");
    _folder.remove();
  }

  OtherProcess& writer() { return _writer; }
  Rounds rounds() const { return {.other = _pace ? &_writer : nullptr}; }

 private:
  void write(OtherProcess::Progress& progress, SampleRows<Record> const& sample, Writer writer) {
    Dov::Platform::DebugHandler debug;
    auto const table = Kel::make<Glim::Collection<Record>>(
        debug, Glim::RootPath(debug, _folder.at("table"), false),
        Glim::TableLimits{.maxRows = static_cast<std::uint32_t>(sample.count())});
    auto const order = shuffled(sample.count(), 0);
    for (std::uint32_t const i : order) table->write(sample.rows[i]);
    progress.count(true);
    progress.ready = true;
    if (writer == Writer::writing) {
      std::uint64_t generation = 1;
      return atRandom(progress, sample, [&](std::size_t i) {
        Record row;
        row.key = sample.keys[i];
        sample.contentIs(row, i, ++generation);
        table->write(row);
        return true;
      });
    }
    while (!progress.stopped()) usleep(1000);
  }

  TableFolder _folder;
  OtherProcess _writer;

 public:
  Glim::Reader<Record> reader;

 private:
  bool _pace;
};

// How often a writer overtook all attempts of a reader; anything but that and `ok` is a defect.
class Answers {
 public:
  void count(Answer answer) {
    _ok += answer == Answer::ok;
    _busy += answer == Answer::busy;
  }
  void report(benchmark::State& state, std::uint64_t visits) const {
    expect(_ok + _busy == visits, "a row was not found");
    if (_busy > 0) state.counters["busy"] = static_cast<double>(_busy);
  }

 private:
  std::uint64_t _ok = 0;
  std::uint64_t _busy = 0;
};

template <class Record>
void readerLookup(benchmark::State& state, SampleRows<Record>& sample, Writer writer) {
  OthersTable<Record> table(sample, writer);
  Answers answers;
  alignas(64) Record row;
  std::uint64_t const visits = besideLoads(state, sample, table.rounds(), [&](std::size_t i) {
    answers.count(table.reader.lookup(sample.keys[i], row));
    benchmark::DoNotOptimize(row);
  });
  answers.report(state, visits);
  for (std::uint32_t const i : sample.order) {
    Answer const answer = table.reader.lookup(sample.keys[i], row);
    expect(answer == Answer::busy || (answer == Answer::ok && sample.isWhole(row, i)),
           "a row that was never written");
  }
  table.writer().finish();
}

// A reader that remembers where its rows are: the copy and its checks alone.
template <class Record>
void readerRowAt(benchmark::State& state, SampleRows<Record>& sample, Writer writer) {
  OthersTable<Record> table(sample, writer);
  Answers answers;
  alignas(64) Record row;
  std::uint64_t const visits = besideLoads(state, sample, table.rounds(), [&](std::size_t i) {
    answers.count(table.reader.rowAt(i, row));
    benchmark::DoNotOptimize(row);
  });
  answers.report(state, visits);
  for (std::size_t i = 0; i < sample.count(); ++i) {
    Answer const answer = table.reader.rowAt(i, row);
    expect(answer == Answer::busy || (answer == Answer::ok && sample.isWhole(row)),
           "a row that was never written");
  }
  table.writer().finish();
}

template <class Record>
void readerMiss(benchmark::State& state, SampleRows<Record>& sample, Writer writer) {
  OthersTable<Record> table(sample, writer);
  alignas(64) Record row;
  std::uint64_t absent = 0;
  std::uint64_t const visits = besideLoads(state, sample, table.rounds(), [&](std::size_t i) {
    absent += table.reader.lookup(sample.absentKeys[i], row) == Answer::absent;
    benchmark::DoNotOptimize(row);
  });
  expect(absent == visits, "an absent row was found");
  table.writer().finish();
}

template <class Record>
void readerWalk(benchmark::State& state, SampleRows<Record>& sample, Writer writer) {
  OthersTable<Record> table(sample, writer);
  std::uint64_t rows = 0, busy = 0;
  std::uint64_t const walks = besideWalk(state, sample, table.rounds(), [&] {
    Glim::WalkResult const walk =
        table.reader.forEach([&](Record const& row) { benchmark::DoNotOptimize(row); });
    rows += walk.rows;
    busy += walk.busy;
  });
  expect(rows + busy == walks * sample.count(), "a walk missed rows");
  if (busy > 0) state.counters["busy"] = static_cast<double>(busy);
  table.reader.forEach(
      [&](Record const& row) { expect(sample.isWhole(row), "a row that was never written"); });
  table.writer().finish();
}

void registerReads(Writer writer, std::string const& suffix) {
  auto const reads = [writer, &suffix](std::string const& name, auto run) {
    forEachTable(name, suffix,
                 [writer, run](auto& state, auto& sample) { run(state, sample, writer); });
  };
  reads("lookup/table_reader", [](auto&... args) { readerLookup(args...); });
  reads("read_slot/table_reader", [](auto&... args) { readerRowAt(args...); });
  reads("miss/table_reader", [](auto&... args) { readerMiss(args...); });
  reads("walk/table_reader", [](auto&... args) { readerWalk(args...); });
}

}  // namespace

void registerTableReader() {
  registerReads(Writer::idle, "");
  if (twoCores()) registerReads(Writer::writing, "/writer");
}

}  // namespace Bench
