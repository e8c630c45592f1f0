// How one slot is written and read: the protocol that keeps a row readable while its writer is dead
// in the middle of writing it. Version k of the row stands in half k & 1 and stays whole until
// version k + 2 is begun.
//
// Writer side: one thread of one process. Reader side: any number of processes, which never store.
#pragma once

#include "platform/glim/answer.h"
#include "platform/glim/layout.h"

namespace Glim {

class RowSlot {
 public:
  RowSlot(Word* at, Word rowWords, Word number) : _at(at), _rowWords(rowWords), _number(number) {}

  // --- writer; `k` is the version that the writer knows to be the slot's ---

  Word versionWord() const { return Words::loadAcquire(_at); }
  void versionWordIs(Word version) { Words::storeRelease(_at, version); }
  Word meta(Word k) const { return Words::loadRow(metaAt(k)); }
  Word* row(Word k) const { return _at + 2 + (k & 1) * (1 + _rowWords); }

  // Opens the half of version k + 1.
  void begin(Word k);
  // Makes version k + 1 the slot's version. `checksum` is that of the row in its half. Returns its
  // meta word.
  Word commit(Word k, Word checksum, Layout::RowState state);
  // begin, row, commit. Returns the meta word.
  Word publish(Word k, void const* row);
  // A dead version has no row. Returns the meta word.
  Word publishDead(Word k);
  // Copies version k and says whether its checksum agrees with `meta`.
  bool copyOwn(Word k, Word meta, void* row) const;
  // Whether version k has a valid state and checksum, and which state.
  // Sets `state` when it answers true.
  bool validate(Word k, Layout::RowState& state) const;

  Word seed(Word k, Layout::RowState state) const { return Layout::rowSeed(_number, k, state); }

 private:
  Word* metaAt(Word k) const { return row(k) - 1; }

  Word* _at;
  Word _rowWords;
  Word _number;
};

// Copies the row of a slot for a reader: ok, absent, corrupt, or busy after `attempts` copies that
// were overtaken by the writer. `row` holds a whole row only when the answer is ok.
Answer readSlot(Word const* at, Word rowWords, Word number, void* row, unsigned attempts);

}  // namespace Glim
