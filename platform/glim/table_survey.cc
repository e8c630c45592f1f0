#include "platform/glim/table_survey.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/glim/boot_time.h"
#include "platform/glim/record.h"

namespace Glim {

using Kind = SuspicionKind;
using Layout::TableState;

namespace {

// Linux's own limit of process ids, PID_MAX_LIMIT.
constexpr Word mostPid = 4u << 20;
constexpr unsigned slotAttempts = 64;
constexpr unsigned indexAttempts = 8;
constexpr Word slotsBetweenProgress = 4096;

}  // namespace

TableSurvey::TableSurvey(TableFile const& file, CheckOptions const& options)
    : _file(file),
      _options(options),
      _geometry(file.header().geometry),
      _row(_geometry.rowWords),
      _other(_geometry.rowWords) {}

// --- slots ---

void TableSurvey::readSlots() {
  bool const first = _slots.empty();
  _slots.resize(std::max<std::size_t>(_slots.size(), _file.slots()));
  for (Word slot = 0; slot < _slots.size(); ++slot) {
    SlotSeen const& seen = _slots[slot];
    bool const known = seen.use != Use::unread && seen.use != Use::corrupt && seen.use != Use::busy;
    if (!known || versionWord(slot) / 2 != seen.version) look(slot);
    if (first && _options.progress && slot % slotsBetweenProgress == 0)
      _options.progress(slot, _slots.size());
  }
  if (first && _options.progress) _options.progress(_slots.size(), _slots.size());
}

void TableSurvey::look(Word slot) {
  SlotSeen seen;
  seen.use = Use::busy;
  for (unsigned i = 0; i < slotAttempts; ++i) {
    Word const before = versionWord(slot) / 2;
    Answer const answer = _file.rowAt(slot, _row.data());
    if (answer == Answer::busy || versionWord(slot) / 2 != before) continue;
    seen.version = before;
    if (before >= endOfVersions || answer == Answer::corrupt)
      seen.use = Use::corrupt;
    else if (answer == Answer::absent)
      seen.use = before == 0 ? Use::neverUsed : Use::dead;
    else
      seen.use = Use::live;
    break;
  }
  if (seen.use == Use::live) {
    if (_options.keyHash) seen.hash = _options.keyHash(_row.data());
    seen.keySum = schemaHashOf(
        std::string_view(reinterpret_cast<char const*>(_row.data()), _geometry.keyBytes));
  }
  _slots[slot] = seen;
}

// --- what is compared ---

void TableSurvey::compareHeader(std::vector<Suspicion>& found) const {
  Word const state = _file.word(Layout::stateOffset);
  if (state == static_cast<Word>(TableState::making) ||
      state > static_cast<Word>(TableState::detached))
    found.push_back({Kind::state, state});
  Word const epoch = _file.word(Layout::epochOffset);
  if (epoch == 0 || epoch > Layout::mostEpochs) found.push_back({Kind::epoch, epoch});
  Word const pid = _file.word(Layout::writerPidOffset);
  if (pid == 0 || pid > mostPid) found.push_back({Kind::pid, pid});
  // The clock is read after the word.
  Word const beat = _file.word(Layout::heartbeatOffset);
  if (_options.writerLives && beat > bootTime()) found.push_back({Kind::heartbeat});
}

void TableSurvey::compareCounts(std::vector<Suspicion>& found) const {
  HeaderCopy now;  // the file may have grown
  Word const said = _file.word(Layout::allocatedRowsOffset);
  if (readHeader(_file.fd(), now) == Answer::ok) {
    Word const within = _geometry.rowsWithin(now.fileBytes);
    if (said != within) found.push_back({Kind::allocated, said, within});
  }
  auto const count = [this](auto... use) {
    return static_cast<Word>(std::count_if(
        _slots.begin(), _slots.end(), [=](SlotSeen const& s) { return ((s.use == use) || ...); }));
  };
  Word const live = count(Use::live);
  Word const members = _file.word(Layout::membersOffset);
  if (members < live || members > live + count(Use::corrupt, Use::busy))
    found.push_back({Kind::members, members, live, _indexVersion});
}

bool TableSurvey::copyIndex() {
  Word const* const version = _file.mapping().wordAt(Layout::indexVersionOffset);
  _index.resize(_geometry.buckets);
  for (unsigned i = 0; i < indexAttempts; ++i) {
    _indexVersion = Words::loadAcquire(version);
    if ((_indexVersion & 1) != 0) return false;
    for (Word at = 0; at < _geometry.buckets; ++at)
      _index[at] = Words::loadAcquire(_file.mapping().index() + at);
    Words::fenceBeforeRecheck();
    if (Words::loadRow(version) == _indexVersion) return true;
  }
  return false;
}

// For each bucket how many taken ones in a row end with it. All of them: the whole index.
std::vector<Word> TableSurvey::chainLengths() const {
  Word const buckets = _geometry.buckets;
  std::vector<Word> lengths(buckets, buckets);
  auto const empty = std::find(_index.begin(), _index.end(), Word{0});
  if (empty == _index.end()) return lengths;
  Word const start = static_cast<Word>(empty - _index.begin());
  Word length = 0;
  for (Word n = 0; n < buckets; ++n) {
    Word const at = (start + n) & (buckets - 1);
    length = _index[at] == 0 ? 0 : length + 1;
    lengths[at] = length;
  }
  return lengths;
}

void TableSurvey::compareIndex(std::vector<Suspicion>& found) {
  _indexEntries = 0;
  _indexCopied = copyIndex();
  if (!_indexCopied) {
    found.push_back({Kind::indexBuilding, _indexVersion & 1, _indexVersion});
    return;
  }
  auto const lengths = chainLengths();
  Word const mask = _geometry.buckets - 1;
  if (std::find(_index.begin(), _index.end(), Word{0}) == _index.end())
    found.push_back({Kind::noneEmpty});
  std::vector<bool> linked(_slots.size(), false);
  for (Word at = 0; at < _geometry.buckets; ++at) {
    Word const entry = _index[at];
    if (entry == 0) continue;
    ++_indexEntries;
    Word const slot = Layout::entrySlot(entry);
    if (slot >= _slots.size()) {
      found.push_back({Kind::beyond, at, slot});
      continue;
    }
    SlotSeen const& seen = _slots[slot];
    Word const home = Layout::homeBucket(Layout::entryHash(entry), _geometry.buckets);
    if (seen.use == Use::dead || seen.use == Use::neverUsed)
      found.push_back({Kind::toNothing, at, slot, seen.version});
    else if (linked[slot])
      found.push_back({Kind::linkedTwice, at, slot, seen.keySum, _indexVersion});
    else if (seen.use == Use::live && _options.keyHash && Layout::entryHash(entry) != seen.hash)
      found.push_back({Kind::otherHash, at, slot, seen.keySum, _indexVersion});
    else if (lengths[at] <= ((at - home) & mask))
      found.push_back({Kind::unreachable, at, slot, seen.keySum, _indexVersion});
    linked[slot] = true;
  }
  for (Word slot = 0; slot < _slots.size(); ++slot)
    if (_slots[slot].use == Use::live && !linked[slot])
      found.push_back({Kind::notLinked, slot, _slots[slot].keySum, _indexVersion});
}

// Only neighbours are compared, so that keys that were made to have one sum cost no more.
void TableSurvey::compareKeys(std::vector<Suspicion>& found) {
  std::vector<std::pair<Word, Word>> sums;
  for (Word slot = 0; slot < _slots.size(); ++slot)
    if (_slots[slot].use == Use::live) sums.emplace_back(_slots[slot].keySum, slot);
  std::sort(sums.begin(), sums.end());
  auto const keyOf = [this](std::vector<Word> const& row) {
    return std::string_view(reinterpret_cast<char const*>(row.data()), _geometry.keyBytes);
  };
  for (std::size_t i = 1; i < sums.size(); ++i) {
    if (sums[i].first != sums[i - 1].first) continue;
    Word const one = sums[i - 1].second;
    Word const other = sums[i].second;
    if (_file.rowAt(one, _row.data()) == Answer::ok &&
        _file.rowAt(other, _other.data()) == Answer::ok && keyOf(_row) == keyOf(_other))
      found.push_back({Kind::keyTwice, one, sums[i].first, _indexVersion, other});
  }
}

std::vector<Suspicion> TableSurvey::pass() {
  std::vector<Suspicion> found;
  readSlots();
  compareIndex(found);
  compareKeys(found);
  compareCounts(found);
  compareHeader(found);
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace Glim
