// A direct write in progress: in-place access to the half of a row that no reader looks at.
//
//   auto slot = table->directWrite(intfId);
//   slot->drops = count;
//   table->commit(slot);                       // now, and all at once, readers see it
//
// The record begins as the key's row stands, or as a default record under the key. The key itself
// must stay as it is. A handle that is dropped without a commit changes nothing, and the row can be
// opened again; to commit one that is stale (conquer_writer.h tells when) is an assertion.
#pragma once

#include "platform/glim/conquer_writer.h"

namespace Glim {

template <class Record>
class Slot {
 public:
  Slot() = default;
  // REQUIRES: open.row holds a Record
  explicit Slot(ConquerWriter::OpenRow const& open) : _open(open) {}
  // A slot over a record of the caller's own, for stand-ins of a table.
  explicit Slot(Record& record) { _open.row = &record; }

  explicit operator bool() const { return _open.row != nullptr; }
  Record& operator*() const { return *static_cast<Record*>(_open.row); }
  Record* operator->() const { return &**this; }
  ConquerWriter::OpenRow const& open() const { return _open; }

 private:
  ConquerWriter::OpenRow _open;
};

}  // namespace Glim
