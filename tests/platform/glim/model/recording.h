// A table whose writers are recorded: the real ConquerWriter on a real file, with every store and
// fence that it makes, in order, with its memory order. The model thus has no copy of the writer's
// protocol that could drift from the code: its writer is the code.
//
//   RecordedTable table(rowShape<Row>(), 4);
//   table.record();
//   table.write(&row);
//   History const history(table.program(), table.initial());
//
// A writer can be killed before any of its stores: that store and all later ones are not made, the
// writer is forgotten without a word to the file, and reign() puts the next one in its place.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/glim/conquer_writer.h"
#include "platform/glim/table_file.h"
#include "tests/platform/glim/model/mapped_words.h"
#include "tests/platform/glim/model/places.h"
#include "tests/support/temporary_folder.h"

namespace GlimModel {

class RecordedTable {
 public:
  RecordedTable(Glim::RowShape const& shape, std::uint32_t maxRows);
  ~RecordedTable();
  RecordedTable(RecordedTable const&) = delete;
  RecordedTable& operator=(RecordedTable const&) = delete;

  // From now on; what there is becomes the initial content.
  void record();
  // The writer dies before the store that comes after this many more.
  void dieAfter(std::size_t stores) { _storesToLive = stores; }
  // What `work` stores until it is done or its writer dies; answers whether it was done.
  bool survives(std::function<void()> const& work);
  // The next writer takes the table: from a dead one, or from one that lets go of it. It may die in
  // turn.
  void reign(std::optional<std::size_t> diesAfter = {});

  void write(void const* row);
  void remove(void const* key);
  Glim::ConquerWriter::OpenRow open(void const* key);
  void commit(Glim::ConquerWriter::OpenRow const& open);
  Glim::ConquerWriter& writer() { return *_writer; }

  Program const& program() const { return _program; }
  std::vector<Word> const& initial() const { return _initial; }
  std::size_t stores() const { return _stores; }  // since record()
  Glim::Layout::Geometry const& geometry() const { return _file.header().geometry; }
  Glim::TableFile const& file() const { return _file; }
  std::string path() const { return _folder.text("table"); }
  Location locationOf(Word const* at) const { return _words.locationOf(at); }

  // Steps at which an operation was done, and what was being done at a step.
  std::vector<Stamp> const& operationEnds() const { return _operationEnds; }
  std::string operationAt(Stamp stamp) const;

 private:
  class Recorder final : public Glim::Words::Memory {
   public:
    explicit Recorder(RecordedTable& table) : _table(table) {}
    void store(Word* at, Word value, std::memory_order order) override;
    Word load(Word const* at, std::memory_order order) override;
    void fence(std::memory_order order) override;

   private:
    RecordedTable& _table;
  };
  struct Killed {};

  void operation(std::string name, std::function<void()> const& work);
  void makeWriter();

  Glim::RowShape const& _shape;
  std::uint32_t _maxRows;
  Support::TemporaryFolder _folder;
  Dov::Platform::DebugHandler _debug{0};
  std::optional<Glim::ConquerWriter> _writer;
  Glim::TableFile _file;
  mutable MappedWords _words;
  Recorder _recorder{*this};
  Program _program;
  std::vector<Word> _initial;
  std::vector<Stamp> _operationEnds;
  std::vector<std::pair<Stamp, std::string>> _operations;  // where each begins
  std::optional<std::size_t> _storesToLive;
  std::size_t _stores = 0;
  bool _recording = false;
  bool _dead = false;
};

}  // namespace GlimModel
