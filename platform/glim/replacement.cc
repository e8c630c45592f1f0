// How a writer takes a table whose file it cannot go on with: the rows, or none, move into a file
// of its own.
#include <algorithm>
#include <utility>
#include <vector>

#include "platform/dov/exception.h"
#include "platform/glim/conquer_writer.h"
#include "platform/glim/migration.h"

namespace Glim {

using Layout::TableState;

// More room is wanted than the file was made for, or its rows are those of an older schema: the
// good ones go into a new file, which has room for all of them.
void ConquerWriter::moveFrom(FileDescriptor const& file, HeaderCopy const& header,
                             Migration const* migration) {
  TableMapping const old = mapped(file, header.geometry);
  Word const rows = header.geometry.rowsWithin(header.fileBytes);
  fillHoles(file, header.geometry.bytesFor(rows));
  create(std::max<Word>(_limits.maxRows, header.geometry.maxRows));
  Conquest found;
  found.kind = migration == nullptr ? Conquest::Kind::moved : Conquest::Kind::migrated;
  std::vector<Word> row(header.geometry.rowWords);
  std::vector<Word> carried(_shape.rowWords);
  auto const limits = std::exchange(_limits, {.maxRows = Layout::maxRowsLimit});
  for (Word i = 0; i < rows; ++i) {
    RowSlot const at = old.slot(i);
    Word const k = at.versionWord() / 2;
    if (k == 0) continue;
    Layout::RowState state{};
    bool const good = at.validate(k, state);
    if (good && state == Layout::rowDead) continue;
    if (!good || !at.copyOwn(k, at.meta(k), row.data())) {
      ++found.corruptRows;
    } else {
      if (migration != nullptr) migration->carry(row.data(), carried.data());
      write(migration != nullptr ? carried.data() : row.data());
    }
  }
  _limits = limits;
  found.rows = _slots.members();
  beginReign(Words::loadAcquire(old.wordAt(Layout::epochOffset)));
  publishInPlaceOf(old);
  concluded(std::move(found));
}

// Rows of another schema or layout, or no table at all: never thrown away, kept under another name.
void ConquerWriter::replaceForeign(FileDescriptor const& file, HeaderCopy const& header,
                                   Answer what) {
  create(_limits.maxRows);
  TableMapping old;
  if (what == Answer::otherSchema) old = mapped(file, header.geometry);
  Conquest found;
  found.kind = Conquest::Kind::setAside;
  found.keptAs = _directory.setAside();
  found.why = std::string(text(what));
  beginReign(old ? Words::loadAcquire(old.wordAt(Layout::epochOffset)) : 0);
  if (old) {
    publishInPlaceOf(old);
  } else {
    _directory.publishNew();
  }
  concluded(std::move(found));
}

// The old file is retired before the new one has the name: were it the other way round, a kill in
// between would leave readers of the old file without a sign. A retired file that still has the
// name is read on, and taken by the next writer as any other.
void ConquerWriter::publishInPlaceOf(TableMapping const& old) {
  Word* const state = old.wordAt(Layout::stateOffset);
  Word const former = Words::loadAcquire(state);
  Words::storeRelease(state, static_cast<Word>(TableState::retired));
  try {
    _directory.publishNew();
  } catch (...) {
    Words::storeRelease(state, former);
    throw;
  }
}

}  // namespace Glim
