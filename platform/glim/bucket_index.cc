#include "platform/glim/bucket_index.h"

#include <algorithm>

namespace Glim {

using Layout::bucketEntry;
using Layout::entryHash;
using Layout::entrySlot;
using Layout::homeBucket;

BucketIndex::BucketIndex(Word* shared, Word buckets, Word* version)
    : _own(buckets), _shared(shared), _version(version) {}

void BucketIndex::store(Word bucket, Word entry) {
  _own[bucket] = entry;
  Words::storeRelease(_shared + bucket, entry);
}

void BucketIndex::raiseVersion() { versionIs(_versionNow + 2); }

void BucketIndex::versionIs(Word version) {
  _versionNow = version;
  Words::storeRelease(_version, version);
  Words::fenceAfterBeginMark();
}

void BucketIndex::link(std::uint32_t hash, std::uint32_t slot) {
  Word at = homeBucket(hash, size());
  while (_own[at] != 0) at = next(at);
  store(at, bucketEntry(hash, slot));
}

void BucketIndex::unlink(std::uint32_t hash, std::uint32_t slot) {
  Word const entry = bucketEntry(hash, slot);
  Word hole = homeBucket(hash, size());
  while (_own[hole] != entry) hole = next(hole);
  // Entries behind the hole move into it, unless that would put them before their home.
  for (Word at = next(hole); _own[at] != 0; at = next(at)) {
    Word const home = homeBucket(entryHash(_own[at]), size());
    bool const homeLiesBehindHole = ((at - home) & (size() - 1)) < ((at - hole) & (size() - 1));
    if (homeLiesBehindHole) continue;
    raiseVersion();
    store(hole, _own[at]);
    hole = at;
  }
  raiseVersion();
  store(hole, 0);
}

bool BucketIndex::adopt(std::vector<Link> const& links) {
  _versionNow = Words::loadAcquire(_version);
  bool const wasBeingBuilt = (_versionNow & 1) != 0;
  for (Word i = 0; i < size(); ++i) _own[i] = Words::loadAcquire(_shared + i);
  if (!wasBeingBuilt && holdsExactly(links)) return true;
  rebuild(links);
  return false;
}

// In one pass: an index that somebody made to be slow to search is not searched.
bool BucketIndex::holdsExactly(std::vector<Link> const& links) const {
  Word taken = 0;
  for (Word const entry : _own) taken += entry != 0;
  if (taken != links.size()) return false;  // also: at least half of the buckets are empty
  std::uint32_t slots = 0;
  for (Link const& link : links) slots = std::max(slots, link.slot + 1);
  std::vector<Word> missing(slots);  // entries, by slot
  for (Link const& link : links) missing[link.slot] = bucketEntry(link.hash, link.slot);

  Word start = 0;
  while (_own[start] != 0) ++start;
  Word run = 0;  // taken buckets in a row: a search finds what lies no further from its home
  for (Word n = 1; n < size(); ++n) {
    Word const at = (start + n) & (size() - 1);
    Word const entry = _own[at];
    run = entry == 0 ? 0 : run + 1;
    if (entry == 0) continue;
    Word const slot = entrySlot(entry);
    if (slot >= slots || missing[slot] != entry) return false;
    missing[slot] = 0;
    Word const home = homeBucket(entryHash(entry), size());
    if (((at - home) & (size() - 1)) >= run) return false;
  }
  return true;
}

void BucketIndex::rebuild(std::vector<Link> const& links) {
  versionIs(_versionNow | 1);
  for (Word i = 0; i < size(); ++i) store(i, 0);
  for (Link const& link : links) this->link(link.hash, link.slot);
  versionIs(_versionNow + 1);
}

bool BucketIndex::validate() const {
  for (Word i = 0; i < size(); ++i) {
    if (Words::loadAcquire(_shared + i) != _own[i]) return false;
  }
  return true;
}

}  // namespace Glim
