#include "platform/glim/row_slot.h"

#include "platform/glim/row_words.h"

namespace Glim {

using Layout::rowDead;
using Layout::rowLive;

void RowSlot::begin(Word k) {
  versionWordIs(2 * k + 1);
  Words::fenceAfterBeginMark();
}

Word RowSlot::commit(Word k, Word checksum, Layout::RowState state) {
  Word const meta = Layout::metaOf(checksum, state);
  Words::storeRow(metaAt(k + 1), meta);
  versionWordIs(2 * k + 2);
  return meta;
}

Word RowSlot::publish(Word k, void const* source) {
  begin(k);
  return commit(k, RowWords::store(row(k + 1), source, _rowWords, seed(k + 1, rowLive)), rowLive);
}

Word RowSlot::publishDead(Word k) {
  begin(k);
  return commit(k, RowWords::checksum(nullptr, 0, seed(k + 1, rowDead)), rowDead);
}

bool RowSlot::copyOwn(Word k, Word expected, void* copy) const {
  Words::aboutToRead(row(k), _rowWords);
  Word const sum = RowWords::copyOwn(copy, row(k), _rowWords, seed(k, rowLive));
  return meta(k) == expected && Layout::metaOf(sum, rowLive) == expected;
}

bool RowSlot::validate(Word k, Layout::RowState& state) const {
  Word const found = meta(k);
  switch (found & Layout::rowStateMask) {
    case rowLive:
      state = rowLive;
      Words::aboutToRead(row(k), _rowWords);
      return Layout::metaOf(RowWords::checksum(row(k), _rowWords, seed(k, rowLive)), rowLive) ==
             found;
    case rowDead:
      state = rowDead;
      return Layout::metaOf(RowWords::checksum(nullptr, 0, seed(k, rowDead)), rowDead) == found;
    default:
      return false;
  }
}

namespace {

// Which half is the one to read tells the version only, which is as far away as they are: the first
// lines of both are fetched meanwhile.
void prefetchHalves(Word const* at, Word rowWords) {
  constexpr Word lineWords = 8;
  if (rowWords < 4 * lineWords) return;
  for (Word const* half : {at, at + 1 + rowWords}) {
    __builtin_prefetch(half + lineWords);
    __builtin_prefetch(half + 2 * lineWords);
    __builtin_prefetch(half + 3 * lineWords);
  }
}

}  // namespace

Answer readSlot(Word const* at, Word rowWords, Word number, void* row, unsigned attempts) {
  prefetchHalves(at, rowWords);
  for (unsigned i = 0; i < attempts; ++i) {
    Word const before = Words::loadAcquire(at);
    Word const k = before / 2;
    if (k == 0) return Answer::absent;
    Word const* const half = at + 1 + (k & 1) * (1 + rowWords);
    Word const meta = Words::loadRow(half);
    Word const sum = RowWords::load(row, half + 1, rowWords, Layout::rowSeed(number, k, rowLive));
    Words::fenceBeforeRecheck();
    Word const after = Words::loadRow(at);
    if (after - 2 * k > 2) continue;  // the half was taken for version k + 2 meanwhile
    if (meta == Layout::metaOf(sum, rowLive)) return Answer::ok;
    Word const dead = RowWords::checksum(nullptr, 0, Layout::rowSeed(number, k, rowDead));
    return meta == Layout::metaOf(dead, rowDead) ? Answer::absent : Answer::corrupt;
  }
  return Answer::busy;
}

}  // namespace Glim
