// A row's slot without a table around it: what the protocol of rows costs, part by part.
#include <cstring>
#include <vector>

#include "bench/table_bench.h"
#include "platform/glim/row_slot.h"
#include "platform/glim/row_words.h"

namespace Bench {

namespace {

using Glim::Answer;
using Glim::Word;

template <class Record>
class BareSlots {
 public:
  static constexpr std::size_t rowWords = sizeof(Record) / sizeof(Word);

  explicit BareSlots(std::size_t count)
      : _stride(Glim::Layout::Geometry::make(rowWords, sizeof(Record::key), count, 1)->stride),
        _words(count * _stride / sizeof(Word)),
        _versions(count) {}

  void publish(std::size_t number, Record const& row) {
    slot(number).publish(_versions[number]++, &row);
  }
  Answer read(std::size_t number, Record& row) const {
    return Glim::readSlot(at(number), rowWords, number, &row, 64);
  }
  // How many there were, as the slots themselves tell.
  Word publications() const {
    Word sum = 0;
    for (std::size_t i = 0; i < _versions.size(); ++i) sum += slot(i).versionWord() / 2;
    return sum;
  }

  // The parts of a publication. The same bytes to the same places, a half in turns:
  void copyToHalf(std::size_t number, Record const& row) {
    void* const half = slot(number).row(++_versions[number]);
    copyRow(static_cast<Record*>(half), &row);
  }
  // The protocol without the checksum:
  void storeWords(std::size_t number, Record const& row) {
    Glim::RowSlot to = slot(number);
    Word const version = _versions[number]++;
    to.begin(version);
    Word* const half = to.row(version + 1);
#pragma GCC unroll 8
    for (std::size_t i = 0; i < rowWords; ++i) Glim::Words::storeRow(half + i, wordOf(row, i));
    to.commit(version, 0, Glim::Layout::rowLive);
  }
  // The parts of a read. The half that the version says, by memcpy:
  void copyFromHalf(std::size_t number, Record& row) const {
    Word const version = slot(number).versionWord() / 2;
    void const* const half = slot(number).row(version);
    copyRow(&row, static_cast<Record const*>(half));
  }

 private:
  Word* at(std::size_t number) const { return &_words[number * _stride / sizeof(Word)]; }
  Glim::RowSlot slot(std::size_t number) const { return {at(number), rowWords, number}; }
  static Word wordOf(Record const& row, std::size_t i) {
    Word word;
    std::memcpy(&word, static_cast<std::byte const*>(static_cast<void const*>(&row)) + i * 8, 8);
    return word;
  }

  std::size_t _stride;
  SharedMemory<Word> _words;
  std::vector<Word> _versions;
};

enum class Company { none, reader };

template <class Record>
void publishes(benchmark::State& state, SampleRows<Record>& sample, Company company) {
  BareSlots<Record> slots(sample.count());
  auto const publishAll = [&] {
    for (std::size_t i = 0; i < sample.count(); ++i) slots.publish(i, sample.rows[i]);
  };
  publishAll();
  OtherProcess reader;
  if (company == Company::reader) {
    reader.start([&](OtherProcess::Progress& progress) {
      Record row;
      atRandom(progress, sample, [&](std::size_t i) {
        Answer const answer = slots.read(i, row);
        return answer == Answer::busy || (answer == Answer::ok && sample.isWhole(row, i));
      });
    });
  }
  std::uint64_t const visits = besideStores(
      state, sample, {.other = &reader}, [&](std::size_t i) { slots.publish(i, sample.rows[i]); });
  expect(slots.publications() == visits + sample.count(), "not every row was published");
  sample.change();
  publishAll();
  Record row;
  for (std::size_t i = 0; i < sample.count(); ++i) {
    expect(slots.read(i, row) == Answer::ok && row == sample.rows[i], "a row was not published");
  }
  reader.finish();
}

template <class Record>
void reads(benchmark::State& state, SampleRows<Record>& sample) {
  BareSlots<Record> slots(sample.count());
  for (std::size_t i = 0; i < sample.count(); ++i) slots.publish(i, sample.rows[i]);
  alignas(64) Record row;
  std::uint64_t good = 0;
  std::uint64_t const visits = besideLoads(state, sample, {}, [&](std::size_t i) {
    good += slots.read(i, row) == Answer::ok;
    benchmark::DoNotOptimize(row);
  });
  expect(good == visits, "a row was not read");
  for (std::size_t i = 0; i < sample.count(); ++i) {
    expect(slots.read(i, row) == Answer::ok && row == sample.rows[i], "another row was read");
  }
}

template <class Record>
void stores(benchmark::State& state, SampleRows<Record>& sample,
            void (BareSlots<Record>::*part)(std::size_t, Record const&)) {
  BareSlots<Record> slots(sample.count());
  besideStores(state, sample, {}, [&](std::size_t i) { (slots.*part)(i, sample.rows[i]); });
}

template <class Record>
void halves(benchmark::State& state, SampleRows<Record>& sample) {
  BareSlots<Record> slots(sample.count());
  for (std::size_t i = 0; i < sample.count(); ++i) slots.publish(i, sample.rows[i]);
  alignas(64) Record row;
  besideLoads(state, sample, {}, [&](std::size_t i) {
    slots.copyFromHalf(i, row);
    benchmark::DoNotOptimize(row);
  });
}

}  // namespace

void registerBareSlots() {
  auto const add = [](std::string const& name, std::string const& suffix, auto run) {
    forEachTable(name, suffix, [run](auto& state, auto& sample) { run(state, sample); });
  };
  add("publish/slot", "",
      [](auto& state, auto& sample) { publishes(state, sample, Company::none); });
  if (twoCores()) {
    add("publish/slot", "/reader",
        [](auto& state, auto& sample) { publishes(state, sample, Company::reader); });
  }
  add("publish/part_memcpy_to_halves", "",
      []<class Record>(auto& state, SampleRows<Record>& sample) {
        stores(state, sample, &BareSlots<Record>::copyToHalf);
      });
  add("publish/part_without_checksum", "",
      []<class Record>(auto& state, SampleRows<Record>& sample) {
        stores(state, sample, &BareSlots<Record>::storeWords);
      });
  add("read/slot", "", [](auto& state, auto& sample) { reads(state, sample); });
  add("read/part_memcpy_from_halves", "", [](auto& state, auto& sample) { halves(state, sample); });
}

}  // namespace Bench
