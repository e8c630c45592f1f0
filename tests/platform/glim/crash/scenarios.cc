#include "tests/platform/glim/crash/scenario.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <utility>

#include "tests/platform/glim/crash/crash_point.h"
#include "tests/platform/glim/crash/placed_row.h"
#include "tests/platform/glim/table_fixture.h"

namespace GlimCrash {

using Glim::Answer;
using Glim::Layout::TableState;
using GlimTest::Vandal;

namespace {

constexpr std::uint32_t maxRows = 16;
constexpr Glim::Word buckets = 32;

// Keys a to f share their home bucket 5, g to i begin in the buckets behind it.
std::uint64_t const a = keyAt(5, buckets, 0), b = keyAt(5, buckets, 1), c = keyAt(5, buckets, 2),
                    d = keyAt(5, buckets, 3), e = keyAt(5, buckets, 4), f = keyAt(5, buckets, 5),
                    g = keyAt(6, buckets), h = keyAt(7, buckets), i = keyAt(20, buckets);
// And these go round the end of the index.
std::uint64_t const y1 = keyAt(30, buckets, 0), y2 = keyAt(30, buckets, 1),
                    y3 = keyAt(30, buckets, 2), z = keyAt(31, buckets), o = keyAt(0, buckets);

Rows const chain{{a, 1}, {b, 2}, {c, 3}, {g, 4}, {d, 5}, {h, 6}, {i, 7}};

template <class Record = Narrow, std::uint32_t rows = maxRows>
WriterPtr open(Place const& place) {
  return makeWriter<Record>(place, rows);
}

// A table with these rows, in the order of their values, from a writer that ended well.
template <class Record = Narrow, std::uint32_t most = maxRows>
auto tableOf(Rows const& rows) {
  std::multimap<std::uint64_t, std::uint64_t> byValue;
  for (auto const& [key, value] : rows) byValue.emplace(value, key);
  return [byValue](Place const& place) {
    auto const writer = open<Record, most>(place);
    for (auto const& [value, key] : byValue) writer->write(key, value);
  };
}

// As tableOf; then more is done to it.
template <class Then>
auto tableOf(Rows const& rows, Then then) {
  return [first = tableOf(rows), then](Place const& place) {
    first(place);
    then(place);
  };
}

Rows with(Rows rows, std::uint64_t key, std::uint64_t value) {
  rows[key] = value;
  return rows;
}
std::vector<State> inserted(std::vector<State> before, std::uint64_t key, std::uint64_t value) {
  Rows const rows = with(before.back().rows, key, value);
  before.push_back({.rows = rows, .unlinked = {key}});
  before.push_back({.rows = rows});
  return before;
}
std::vector<State> inserted(Rows const& before, std::uint64_t key, std::uint64_t value) {
  return inserted(std::vector<State>{{.rows = before}}, key, value);
}
Rows without(Rows rows, std::uint64_t key) {
  rows.erase(key);
  return rows;
}

// Rows that its killed writer had begun: the hidden halves hold neither the old nor a new row.
void leaveHalfWrittenRows(Place const& place) {
  killAt(
      never, [&] { return open(place); },
      [](WriterPtr const& writer) {
        writer->writeDirectly(a, 99, false);
        writer->writeDirectly(g, 99, false);
        writer->writeDirectly(f, 99, false);
      });
  Vandal vandal(place.file());
  auto const table = Glim::TableMapping::map(vandal.fd(), vandal.geometry(), true);
  for (Glim::Word slot = 0; slot < maxRows; ++slot) {
    Glim::Word const version = vandal.version(slot);
    if (version % 2 == 1) *table.slot(slot).row(version / 2 + 1) ^= 77;
  }
}

void scrambleIndex(Place const& place) {
  Vandal vandal(place.file());
  for (Glim::Word n = 0; n < buckets; ++n) vandal.bucket(n) = n % 3 == 0 ? 0 : ~Glim::Word{n};
}

// What a writer leaves that is killed between publishing a row and linking it.
void unlinkRow(Place const& place) {
  Vandal vandal(place.file());
  for (Glim::Word n = 0; n < buckets; ++n) {
    if (vandal.bucket(n) != 0 && Glim::Layout::entrySlot(vandal.bucket(n)) == 6) {
      vandal.bucket(n) = 0;
    }
  }
}

// Of the rows in slots 1, 4 and 5: b, d, h.
void damageRows(Place const& place) {
  Vandal vandal(place.file());
  vandal.rowWord(1, 2) ^= 1;
  vandal.rowWord(4, 1) ^= 1;
  vandal.slotWord(5, 0) = ~Glim::Word{0};
}
Rows const undamaged{{a, 1}, {c, 3}, {g, 4}, {i, 7}};

void leaveUnusualSlots(Place const& place) {
  {
    auto const writer = open(place);
    writer->remove(c);
    writer->write(a, 11);
  }
  leaveHalfWrittenRows(place);
}
Rows const unusual{{a, 11}, {b, 2}, {g, 4}, {d, 5}, {h, 6}, {i, 7}};

void beRetired(Place const& place) {
  Vandal(place.file()).word(Glim::Layout::stateOffset) =
      static_cast<Glim::Word>(TableState::retired);
}
void beOfAnotherLayout(Place const& place) {
  Vandal(place.file()).word(8 * Glim::Layout::fixedLayoutVersion) = 99;
}
void beTruncated(Place const& place) {
  if (::truncate(place.file().c_str(), 4096 + 100) != 0) std::abort();
}
void beNoTable(Place const& place) {
  std::filesystem::create_directory(place.directory());
  std::ofstream(place.file()) << "no table";
}

// Rows until the next one wants another chunk of the file.
constexpr std::uint32_t wideRows = 140;
Rows wideChunk() {
  Rows rows;
  for (std::uint64_t n = 1; n <= 124; ++n) rows[n << 32 | n] = n;
  return rows;
}

std::vector<Scenario> writing() {
  return {
      {.name = "InsertIntoAnEmptyTable",
       .atLeast = 8,
       .prepare = tableOf({}),
       .open = open,
       .act = [](Writer& writer) { writer.write(a, 1); },
       .states = {{}, {.rows = {{a, 1}}, .unlinked = {a}}, {.rows = {{a, 1}}}}},
      {.name = "InsertIntoAChainOfCollidingKeys",
       .atLeast = 8,
       .prepare = tableOf(chain),
       .open = open,
       .act = [](Writer& writer) { writer.write(e, 8); },
       .states = inserted(chain, e, 8)},
      {.name = "InsertIntoAFreedSlot",
       .atLeast = 8,
       .prepare = tableOf(chain, [](Place const& place) { open(place)->remove(b); }),
       .open = open,
       .act = [](Writer& writer) { writer.write(f, 8); },
       .states = inserted(without(chain, b), f, 8)},
      {.name = "InsertOverAnAbandonedDirectWrite",
       .atLeast = 12,
       .prepare = tableOf(chain),
       .open = open,
       .act =
           [](Writer& writer) {
             writer.writeDirectly(e, 9, false);
             writer.write(e, 8);
             writer.writeDirectly(f, 9, false);
             writer.remove(f);
             writer.write(o, 9);
           },
       .states = inserted(inserted(chain, e, 8), o, 9)},
      {.name = "Overwrite",
       .atLeast = 7,
       .prepare = tableOf(chain),
       .open = open,
       .act = [](Writer& writer) { writer.write(c, 33); },
       .states = {{.rows = chain}, {.rows = with(chain, c, 33)}}},
      {.name = "OverwriteAgainAndAgain",
       .atLeast = 21,
       .prepare = tableOf(chain),
       .open = open,
       .act =
           [](Writer& writer) {
             for (std::uint64_t const value : {31u, 32u, 33u}) writer.write(c, value);
           },
       .states = {{.rows = chain},
                  {.rows = with(chain, c, 31)},
                  {.rows = with(chain, c, 32)},
                  {.rows = with(chain, c, 33)}}},
      {.name = "Delete",
       .atLeast = 6,
       .prepare = tableOf(chain),
       .open = open,
       .act = [](Writer& writer) { writer.remove(i); },
       .states = {{.rows = chain}, {.rows = without(chain, i)}}},
      {.name = "DeleteAtTheHeadOfAChain",
       .atLeast = 15,
       .prepare = tableOf(chain),
       .open = open,
       .act = [](Writer& writer) { writer.remove(a); },
       .states = {{.rows = chain}, {.rows = without(chain, a)}}},
      {.name = "DeleteInAChainOfSeveralHomes",
       .atLeast = 12,
       .prepare = tableOf(chain),
       .open = open,
       .act = [](Writer& writer) { writer.remove(b); },
       .states = {{.rows = chain}, {.rows = without(chain, b)}}},
      {.name = "DeleteAcrossTheEndOfTheIndex",
       .atLeast = 12,
       .prepare = tableOf({{y1, 1}, {y2, 2}, {z, 3}, {y3, 4}, {o, 5}}),
       .open = open,
       .act = [](Writer& writer) { writer.remove(y1); },
       .states = {{.rows = {{y1, 1}, {y2, 2}, {z, 3}, {y3, 4}, {o, 5}}},
                  {.rows = {{y2, 2}, {z, 3}, {y3, 4}, {o, 5}}}}},
      {.name = "DirectWriteOfAKeyThatIsThere",
       .atLeast = 7,
       .prepare = tableOf(chain),
       .open = open,
       .act = [](Writer& writer) { writer.writeDirectly(c, 33); },
       .states = {{.rows = chain}, {.rows = with(chain, c, 33)}}},
      {.name = "DirectWriteOfAnAbsentKey",
       .atLeast = 8,
       .prepare = tableOf(chain),
       .open = open,
       .act = [](Writer& writer) { writer.writeDirectly(e, 8); },
       .states = inserted(chain, e, 8)},
      {.name = "DirectWritesAfterAbandonedOnes",
       .atLeast = 16,
       .prepare = tableOf(chain),
       .open = open,
       .act =
           [](Writer& writer) {
             writer.writeDirectly(c, 9, false);
             writer.writeDirectly(e, 9, false);
             writer.writeDirectly(c, 33);
             writer.writeDirectly(e, 8);
             writer.writeDirectly(d, 9, false);
             writer.remove(d);
           },
       .states = {{.rows = chain},
                  {.rows = with(chain, c, 33)},
                  {.rows = with(with(chain, c, 33), e, 8), .unlinked = {e}},
                  {.rows = with(with(chain, c, 33), e, 8)},
                  {.rows = without(with(with(chain, c, 33), e, 8), d)}}},
      {.name = "GrowthOfTheFileByAChunk",
       .atLeast = 136,
       .prepare = tableOf<Wide, wideRows>(wideChunk()),
       .open = open<Wide, wideRows>,
       .act = [](Writer& writer) { writer.write(a, 1); },
       .states = inserted(wideChunk(), a, 1)},
      {.name = "Heartbeat",
       .atLeast = 1,
       .prepare = tableOf(chain),
       .open = open,
       .act = [](Writer& writer) { writer.heartbeat(); },
       .states = {{.rows = chain}}},
      {.name = "Detach",
       .atLeast = 1,
       .prepare = tableOf(chain),
       .open = open,
       .act = [](Writer& writer) { writer.detach(); },
       .states = {{.rows = chain}}},
      {.name = "GivingATableUpAsCorrupt",
       .atLeast = 7,
       .prepare = tableOf(chain),
       .open = open,
       .act = [](Writer& writer) { writer.giveUpAsCorrupt(); },
       .states = {{.rows = chain}},
       .besides = {"table.corruption", "table.corruption.new"}},
  };
}

std::vector<Scenario> takingOver() {
  return {
      {.name = "CreationOfATableAndItsDirectory",
       .atLeast = 40,
       .prepare = [](Place const&) {},
       .open = open,
       .states = {{.answer = Answer::missing}, {}}},
      {.name = "AdoptionAfterACleanEnd",
       .atLeast = 9,
       .prepare = tableOf(chain),
       .open = open,
       .states = {{.rows = chain}}},
      {.name = "AdoptionOfHalfWrittenRows",
       .atLeast = 12,
       .prepare = tableOf(chain, leaveHalfWrittenRows),
       .open = open,
       .states = {{.rows = chain}}},
      {.name = "AdoptionOfADamagedIndex",
       .atLeast = 50,
       .prepare = tableOf(chain, scrambleIndex),
       .open = open,
       .states = {{.rows = chain, .unlinked = {a, b, c, d, g, h, i}}, {.rows = chain}}},
      {.name = "AdoptionOfARowThatWasNotLinked",
       .atLeast = 50,
       .prepare = tableOf(chain, unlinkRow),
       .open = open,
       .states = {{.rows = chain, .unlinked = {i}}, {.rows = chain}}},
      {.name = "AdoptionOfCorruptRows",
       .atLeast = 18,
       .prepare = tableOf(chain, damageRows),
       .open = open,
       .states = {{.rows = undamaged, .damaged = {b, d, h}},
                  {.rows = undamaged, .damaged = {d, h}},
                  {.rows = undamaged, .damaged = {h}},
                  {.rows = undamaged}},
       .versionsBeginAnew = true},
      {.name = "AdoptionOfARetiredFile",
       .atLeast = 9,
       .prepare = tableOf(chain, beRetired),
       .open = open,
       .states = {{.rows = chain}}},
      {.name = "MoveIntoALargerFile",
       .atLeast = 80,
       .prepare = tableOf(chain, leaveUnusualSlots),
       .open = open<Narrow, 40>,
       .states = {{.rows = unusual}}},
      {.name = "MoveThatTheNextWriterDoesNotWant",
       .atLeast = 80,
       .prepare = tableOf(chain),
       .open = open<Narrow, 40>,
       .openNext = open<Narrow, maxRows>,
       .states = {{.rows = chain}}},
      {.name = "MoveOfCorruptRows",
       .atLeast = 60,
       .prepare = tableOf(chain, damageRows),
       .open = open<Narrow, 40>,
       .states = {{.rows = undamaged, .damaged = {b, d, h}}, {.rows = undamaged}}},
      {.name = "MigrationFromAnOlderSchema",
       .atLeast = 80,
       .prepare = tableOf(chain, leaveUnusualSlots),
       .open = open<Later>,
       .states = {{.rows = unusual}, {.rows = unusual, .record = "Placed, later"}}},
      {.name = "SettingAsideWhatIsNoTable",
       .atLeast = 40,
       .prepare = beNoTable,
       .open = open,
       .states = {{.answer = Answer::notATable}, {}},
       .keptAs = "table.glim.aside-1"},
      {.name = "SettingAsideATableOfAnotherRecord",
       .atLeast = 40,
       .prepare = tableOf<Foreign>(chain),
       .open = open,
       .states = {{.rows = chain, .record = "Foreign"}, {}},
       .keptAs = "table.glim.aside-1"},
      {.name = "SettingAsideATableOfAnotherLayout",
       .atLeast = 40,
       .prepare = tableOf(chain, beOfAnotherLayout),
       .open = open,
       .states = {{.answer = Answer::otherLayout}, {}},
       .keptAs = "table.glim.aside-1"},
      {.name = "SettingAsideATruncatedTable",
       .atLeast = 40,
       .prepare = tableOf(chain, beTruncated),
       .open = open,
       .states = {{.answer = Answer::truncated}, {}},
       .keptAs = "table.glim.aside-1"},
  };
}

}  // namespace

std::vector<Scenario> scenarios() {
  std::vector<Scenario> all = writing();
  for (Scenario& scenario : takingOver()) all.push_back(std::move(scenario));
  return all;
}

Scenario scenario(std::string_view name) {
  std::vector<Scenario> const all = scenarios();
  return *std::find_if(all.begin(), all.end(), [&](auto const& s) { return s.name == name; });
}

}  // namespace GlimCrash
