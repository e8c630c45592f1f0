#include "tests/platform/glim/crash/table_view.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <sstream>

#include "platform/glim/schema.h"

namespace GlimCrash {

using Glim::Answer;
using Glim::Word;

namespace {

class Looker {
 public:
  Looker(Glim::TableReader const& reader, View& view)
      : _reader(reader),
        _view(view),
        _schema(Glim::parseSchema(reader.schema(), reader.rowWords() * sizeof(Word))),
        _row(reader.rowWords()) {
    if (!_schema) return;
    _view.record = _schema->record;
    for (auto const& field : _schema->fields) {
      if (field.name == "added") _view.record += ", later";
    }
  }

  void lookUp(std::uint64_t key) {
    auto const isIt = [key](void const* row) { return *static_cast<Word const*>(row) == key; };
    Answer const answer = _reader.find(hashOf(key), isIt, _row.data());
    if (note(answer)) return;
    if (answer == Answer::corrupt) _view.corruptKeys.insert(key);
    if (answer == Answer::ok) _view.byKey[key] = value();
  }

  void walk() {
    for (Word slot = 0; slot < _reader.slots(); ++slot) {
      Answer const answer = _reader.rowAt(slot, _row.data());
      if (note(answer)) return;
      if (answer == Answer::corrupt) ++_view.corruptSlots;
      if (answer != Answer::ok) continue;
      if (!_view.bySlot.emplace(_row[0], value()).second) trouble("a key in two slots");
    }
  }

 private:
  static std::uint32_t hashOf(std::uint64_t key) { return static_cast<std::uint32_t>(key >> 32); }

  void trouble(std::string const& what) { _view.trouble += what + "; "; }

  // Answers whether there is no more to be seen.
  bool note(Answer answer) {
    if (answer == Answer::retired) _view.answer = answer;
    if (answer == Answer::busy) trouble("busy without a writer");
    return answer == Answer::retired;
  }

  // Of a whole row: its counts are all the same, and what the writer does not know is zero.
  std::uint64_t value() {
    if (!_schema) {
      trouble("no schema");
      return 0;
    }
    for (auto const& field : _schema->fields) {
      if (field.name == "key") continue;
      Word const expected = field.name == "counts" ? _row[1] : 0;
      for (std::size_t i = 0; i < field.count; ++i) {
        if (_row[field.offset / sizeof(Word) + i] != expected) {
          trouble("a torn row");
          return 0;
        }
      }
    }
    return _row[1];
  }

  Glim::TableReader const& _reader;
  View& _view;
  std::optional<Glim::Schema> _schema;
  std::vector<Word> _row;
};

bool stands(View const& view, State const& state) {
  return view.answer == state.answer &&
         (state.answer != Answer::ok || view.record == state.record) && view.trouble.empty();
}

void write(std::ostream& out, Rows const& rows) {
  for (auto const& [key, value] : rows) out << ' ' << std::hex << key << std::dec << '=' << value;
}

}  // namespace

View look(Glim::TableReader const& reader, Answer answer, std::set<std::uint64_t> const& keys) {
  View view;
  view.answer = answer;
  if (!reader.attached()) return view;
  view.answer = Answer::ok;
  view.epoch = reader.status().epoch;
  Looker looker(reader, view);
  for (std::uint64_t const key : keys) looker.lookUp(key);
  looker.walk();
  return view;
}

bool lookedUpIs(View const& view, State const& state) {
  Rows linked = state.rows;
  for (std::uint64_t const key : state.unlinked) linked.erase(key);
  if (!stands(view, state) || view.byKey != linked) return false;
  for (std::uint64_t const key : view.corruptKeys) {
    if (!state.damaged.contains(key)) return false;
  }
  return true;
}

bool walkedIs(View const& view, State const& state) {
  return stands(view, state) && view.bySlot == state.rows &&
         view.corruptSlots == state.damaged.size();
}

std::string text(View const& view) {
  std::ostringstream out;
  out << Glim::text(view.answer) << ' ' << view.record << ", looked up:";
  write(out, view.byKey);
  out << ", walked:";
  write(out, view.bySlot);
  out << ", corrupt: " << view.corruptKeys.size() << " keys, " << view.corruptSlots << " slots";
  if (!view.trouble.empty()) out << ", " << view.trouble;
  return out.str();
}

bool Versions::wentBackTo(Versions const& later) const {
  if (inode != later.inode) return false;
  if (later.bySlot.size() < bySlot.size()) return true;
  for (std::size_t i = 0; i < bySlot.size(); ++i) {
    if (later.bySlot[i] < bySlot[i]) return true;
  }
  return false;
}

Versions versions(std::string const& path) {
  Versions found;
  Glim::FileDescriptor const file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  Glim::HeaderCopy header;
  if (!file || ::fstat(file.get(), &status) != 0) return found;
  found.inode = status.st_ino;
  if (Glim::readHeader(file.get(), header) != Answer::ok) return found;
  auto const table = Glim::TableMapping::map(file.get(), header.geometry, false);
  for (Word slot = 0; slot < header.geometry.rowsWithin(header.fileBytes); ++slot) {
    found.bySlot.push_back(Glim::Words::loadAcquire(table.slotAt(slot)) / 2);
  }
  return found;
}

}  // namespace GlimCrash
