// Everything that readers and a writer can do with a table file, done to one that may be damaged.
// What the orders promise is checked on the way; the first promise that is broken is the answer.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/dov/exception.h"
#include "platform/glim/conquer_writer.h"
#include "platform/glim/header_check.h"
#include "platform/glim/reader.h"
#include "platform/glim/schema.h"
#include "platform/glim/table_check.h"
#include "tests/platform/glim/hostile/table_image.h"
#include "tests/platform/glim/test_records.h"

namespace GlimTest {

inline constexpr std::uint64_t drillKeys = 20;

// The row of a key, with a value that tells versions apart.
template <class Record>
Record sampleRow(std::uint64_t key, std::uint64_t value) {
  if constexpr (requires(Record record) { record.counts; }) {
    Record record;
    record.key = NameKey("Ethernet" + std::to_string(key));
    record.counts.fill(value);
    return record;
  } else {
    return Record{{key}, value};
  }
}
template <class Record>
auto sampleKey(std::uint64_t key) {
  return sampleRow<Record>(key, 0).key;
}

// All rows that were ever published: which, and as which version of which slot.
template <class Record>
class History {
 public:
  // Takes the rows that stand in a table which nobody has damaged.
  void note(TableImage const& table) {
    for (Glim::Word slot = 0; slot < table.slots(); ++slot) {
      Glim::Word const k = table.word(table.slot(slot)) / 2;
      Glim::Word const state = table.word(table.half(slot, k)) & Glim::Layout::rowStateMask;
      if (k == 0 || state != Glim::Layout::rowLive) continue;
      Bytes row;
      std::memcpy(row.data(), table.bytes.data() + table.row(slot, k), row.size());
      _rows.insert(row);
      _versions[{slot, k}] = row;
    }
  }
  bool has(Record const& row) const { return _rows.contains(bytesOf(row)); }
  bool has(Glim::Word slot, Glim::Word k, Record const& row) const {
    auto const found = _versions.find({slot, k});
    return found != _versions.end() && found->second == bytesOf(row);
  }

 private:
  using Bytes = std::array<char, sizeof(Record)>;

  static Bytes bytesOf(Record const& row) {
    Bytes bytes;
    std::memcpy(bytes.data(), &row, sizeof row);
    return bytes;
  }
  std::set<Bytes> _rows;
  std::map<std::pair<Glim::Word, Glim::Word>, Bytes> _versions;
};

struct DrillCounts {
  std::uint64_t files = 0;
  std::uint64_t attached = 0;  // files that a reader took for a table
  std::uint64_t rows = 0;      // that readers accepted
  std::uint64_t corrupt = 0;   // that readers refused
  std::uint64_t adopted = 0;   // files that a writer took over in place
  std::uint64_t moved = 0;     // whose rows it moved into a larger one
  std::uint64_t migrated = 0;  // whose rows it carried over from an older schema
  std::uint64_t setAside = 0;
  std::uint64_t givenUp = 0;  // rows that a writer refused
};

// `Record`: of the file's rows. `Today`: of the writer, which may know a later release of them.
template <class Record, class Today = Record>
class Drill {
 public:
  // `published`: the rows that may be accepted. Without it the file may have been forged, and any
  // row will do.
  Drill(Glim::RootPath const& root, History<Record> const* published, DrillCounts& counts)
      : _root(root), _published(published), _counts(counts) {}

  // `file` is what the table's file holds. Empty when every promise held, else the one that did
  // not.
  std::string run(std::string_view file, Glim::TableLimits const& limits) {
    ++_counts.files;
    try {
      readTyped(file);
      readUntyped();
      examine();
      write(limits);
    } catch (Broken const& broken) {
      return broken.promise;
    } catch (std::exception const& exception) {
      return std::string("an exception: ") + exception.what();
    }
    return {};
  }

 private:
  struct Broken {
    std::string promise;
  };
  static void expect(bool holds, char const* promise) {
    if (!holds) throw Broken{promise};
  }

  void checkRow(Record const& row) const {
    expect(_published == nullptr || _published->has(row), "no row is accepted that nobody wrote");
  }

  void checkTaken(Today const& row) const {
    if constexpr (std::is_same_v<Record, Today>) {
      checkRow(row);
    } else {
      checkRow(Record{row.key, row.count});
    }
  }

  // k of the version that stands in a slot.
  static Glim::Word versionIn(std::string_view file, Glim::TableReader const& reader,
                              Glim::Word slot) {
    Glim::Word version = 0;
    std::size_t const at = reader.header().geometry.bytesFor(slot);
    expect(at + sizeof version <= file.size(), "slots lie within the file");
    std::memcpy(&version, file.data() + at, sizeof version);
    return version / 2;
  }

  void readTyped(std::string_view file) {
    Glim::Reader<Record> reader(_root.path());
    if (reader.attach() != Glim::Answer::ok) {
      expect(!reader.attached(), "a reader that could not attach is detached");
      return;
    }
    ++_counts.attached;
    auto const status = reader.status();
    expect(status.allocatedRows <= status.maxRows && status.rows <= status.allocatedRows,
           "counts are within the table");
    auto const walk = reader.forEach([this](Record const& row) { checkRow(row); });
    expect(walk.rows + walk.corrupt + walk.busy <= reader.slots(), "a walk meets each slot once");
    _counts.rows += walk.rows;
    _counts.corrupt += walk.corrupt;
    Record row;
    for (Glim::Word slot = 0; _published != nullptr && slot < reader.slots(); ++slot) {
      if (reader.rowAt(slot, row) != Glim::Answer::ok) continue;
      expect(_published->has(slot, versionIn(file, reader.table(), slot), row),
             "a row is accepted in its own slot, as its own version");
    }
    for (std::uint64_t key = 0; key < drillKeys; ++key) {
      if (reader.lookup(sampleKey<Record>(key), row) != Glim::Answer::ok) continue;
      expect(row.key == sampleKey<Record>(key), "a row that is found has the key");
      checkRow(row);
    }
    for (Glim::Word const slot : {reader.slots(), reader.slots() + 1, ~Glim::Word{0}}) {
      expect(reader.rowAt(slot, row) != Glim::Answer::ok, "there is nothing beyond the last slot");
    }
    reader.refresh();
  }

  // As a program that knows no record: by the schema in the file.
  void readUntyped() {
    Glim::TableReader reader(_root.path());
    if (reader.attach() != Glim::Answer::ok) return;
    std::size_t const rowBytes = reader.rowWords() * sizeof(Glim::Word);
    auto const schema = Glim::parseSchema(reader.schema(), rowBytes);
    std::vector<Glim::Word> row(reader.rowWords());
    for (Glim::Word slot = 0; slot < reader.slots(); ++slot) {
      if (reader.rowAt(slot, row.data()) != Glim::Answer::ok || !schema) continue;
      for (auto const& field : schema->fields) {
        expect(field.offset + field.size() <= rowBytes, "fields lie within the row");
      }
    }
    reader.find(
        1, [](void const*) { return true; }, row.data());
    reader.refresh();
  }

  // As a tool does that looks into damage.
  Glim::CheckReport examine() {
    Glim::TableFile file;
    auto const opened = file.open(_root.path() + ".glim", {});
    auto const problems = Glim::headerProblems(file.fd());
    expect(!problems.empty() || opened == Glim::Answer::ok, "what is wrong with a header is told");
    if (opened != Glim::Answer::ok) return {};
    auto const& shape = Glim::rowShape<Today>();
    Glim::CheckOptions options{.passes = 3, .mostFindings = 10};
    if (file.header().geometry.keyBytes == shape.keyBytes) options.keyHash = shape.key.hash;
    return Glim::checkTable(file, options);
  }

  void write(Glim::TableLimits const& limits) {
    {
      Glim::ConquerWriter writer(_root, Glim::rowShape<Today>(), limits);
      auto const kind = writer.conquest().kind;
      if (kind == Glim::Conquest::Kind::adopted) ++_counts.adopted;
      if (kind == Glim::Conquest::Kind::moved) ++_counts.moved;
      if (kind == Glim::Conquest::Kind::migrated) ++_counts.migrated;
      if (kind == Glim::Conquest::Kind::setAside) ++_counts.setAside;
      _counts.givenUp += writer.conquest().corruptRows;
      Today row;
      for (bool more = writer.first(&row); more; more = writer.next(&row.key, &row)) {
        checkTaken(row);
      }
      expect(writer.validate() && writer.validateFiles(), "what was taken over is valid");
      Expected expected = change(writer);
      expect(writer.validate() && writer.validateFiles(), "what was written is valid");
      readBack(expected, Glim::TableStatus::State::ready);
    }
    readBack({}, Glim::TableStatus::State::detached);
    auto const report = examine();
    expect(report.unfinished.empty(), "a tool finds nothing unfinished");
    if (report.damage != 0) {
      throw Broken{"a tool finds no damage left: " + report.findings.front().text};
    }
  }

  // Rows that the table must hold, by their keys; false: must not hold.
  using Expected = std::map<std::uint64_t, std::pair<bool, Today>>;

  // A table that may already be full of rows: of keys, some find no room.
  Expected change(Glim::ConquerWriter& writer) {
    Expected expected;
    auto const change = [&expected](std::uint64_t key, bool there, Today const& row, auto order) {
      try {
        order();
        expected[key] = {there, row};
      } catch (Dov::ResourceException const&) {
      }
    };
    for (std::uint64_t key = 0; key < drillKeys; ++key) {
      Today const row = sampleRow<Today>(key, 1000 + key);
      switch (key % 4) {
        case 0:
          change(key, true, row, [&] { writer.write(&row); });
          break;
        case 1:
          change(key, false, row, [&] { writer.remove(&row.key); });
          break;
        case 2:
          change(key, true, row, [&] {
            auto const open = writer.open(&row.key);
            std::memcpy(open.row, &row, sizeof row);
            writer.commit(open);
          });
          break;
        default: {  // opened and abandoned
          Today before{};
          bool const was = writer.lookup(&row.key, &before);
          change(key, was, before, [&] { writer.open(&row.key); });
        }
      }
    }
    writer.heartbeat();
    return expected;
  }

  void readBack(Expected const& expected, Glim::TableStatus::State state) {
    Glim::Reader<Today> reader(_root.path());
    expect(reader.attach() == Glim::Answer::ok, "a table that has a writer can be read");
    expect(reader.status().state == state, "the state is the writer's");
    Today row;
    for (auto const& [key, what] : expected) {
      auto const answer = reader.lookup(sampleKey<Today>(key), row);
      expect(answer == (what.first ? Glim::Answer::ok : Glim::Answer::absent),
             "what was written is found, what was removed is not");
      expect(!what.first || std::memcmp(&row, &what.second, sizeof row) == 0,
             "what is found is what was written");
    }
    auto const walk = reader.forEach([](Today const&) {});
    expect(walk.corrupt == 0 && walk.busy == 0, "no damage is left behind");
    expect(walk.rows == reader.status().rows, "readers see as many rows as the writer has");
  }

  Glim::RootPath _root;
  History<Record> const* _published;
  DrillCounts& _counts;
};

}  // namespace GlimTest
