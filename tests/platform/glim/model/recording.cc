#include "tests/platform/glim/model/recording.h"

#include <stdexcept>

namespace GlimModel {

using Glim::ConquerWriter;

RecordedTable::RecordedTable(Glim::RowShape const& shape, std::uint32_t maxRows)
    : _shape(shape), _maxRows(maxRows) {
  makeWriter();
  if (_file.open(path() + ".glim", {}) != Glim::Answer::ok) throw std::runtime_error("no table");
  _words.fileIs(path() + ".glim");
}

RecordedTable::~RecordedTable() { Glim::Words::memory = nullptr; }

void RecordedTable::makeWriter() {
  _words.forget();
  _writer.emplace(Glim::RootPath(_debug, path(), false), _shape, Glim::TableLimits{_maxRows});
}

void RecordedTable::record() {
  _recording = true;
  _initial.resize(geometry().fileBytes / sizeof(Word));
  Word const allocated = geometry().bytesFor(_file.slots()) / sizeof(Word);
  for (Word i = 0; i < allocated; ++i) _initial[i] = *_file.mapping().wordAt(i * sizeof(Word));
}

void RecordedTable::operation(std::string name, std::function<void()> const& work) {
  if (!_recording) return work();
  _operations.emplace_back(static_cast<Stamp>(_program.size()), std::move(name));
  Glim::Words::memory = &_recorder;
  try {
    work();
    Glim::Words::memory = nullptr;
  } catch (...) {
    Glim::Words::memory = nullptr;
    throw;
  }
  _operationEnds.push_back(static_cast<Stamp>(_program.size()));
}

bool RecordedTable::survives(std::function<void()> const& work) {
  try {
    work();
    _storesToLive.reset();
    return true;
  } catch (Killed const&) {
    return false;
  }
}

void RecordedTable::reign(std::optional<std::size_t> diesAfter) {
  if (_writer && !_dead) operation("detach", [this] { _writer.reset(); });
  // What a dead writer's destructors do is not what a dead process does.
  Glim::Words::memory = &_recorder;
  _writer.reset();
  Glim::Words::memory = nullptr;
  _dead = false;
  _storesToLive = diesAfter;
  _program.push_back(Step::nextWriter());
  operation("conquer", [this] { makeWriter(); });
}

void RecordedTable::write(void const* row) {
  operation("write " + _shape.key.text(row), [&] { _writer->write(row); });
}
void RecordedTable::remove(void const* key) {
  operation("remove " + _shape.key.text(key), [&] { _writer->remove(key); });
}
ConquerWriter::OpenRow RecordedTable::open(void const* key) {
  ConquerWriter::OpenRow open;
  operation("open " + _shape.key.text(key), [&] { open = _writer->open(key); });
  return open;
}
void RecordedTable::commit(ConquerWriter::OpenRow const& open) {
  operation("commit " + _shape.key.text(open.row), [&] { _writer->commit(open); });
}

std::string RecordedTable::operationAt(Stamp stamp) const {
  std::string name = "before";
  for (auto const& [begin, operation] : _operations) {
    if (stamp > begin) name = operation;
  }
  return name;
}

void RecordedTable::Recorder::store(Word* at, Word value, std::memory_order order) {
  if (_table._dead) return;
  if (_table._storesToLive && (*_table._storesToLive)-- == 0) {
    _table._dead = true;
    throw Killed();
  }
  ++_table._stores;
  _table._program.push_back(Step::store(_table.locationOf(at), value, order));
  std::atomic_ref<Word>(*at).store(value);
}

Word RecordedTable::Recorder::load(Word const* at, std::memory_order) {
  return std::atomic_ref<Word>(*const_cast<Word*>(at)).load();
}

void RecordedTable::Recorder::fence(std::memory_order order) {
  if (order != std::memory_order_release) throw std::logic_error("a writer's fence is a release");
  if (!_table._dead) _table._program.push_back(Step::fence());
}

}  // namespace GlimModel
