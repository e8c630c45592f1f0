#include "platform/glim/table_check.h"

#include <algorithm>
#include <compare>
#include <iterator>
#include <utility>

#include "platform/glim/boot_time.h"
#include "platform/glim/record.h"

namespace Glim {

using Layout::TableState;

namespace {

// More versions of a row than any writer gets to.
constexpr Word endOfVersions = Word{1} << 62;
// Linux's own limit of process ids, PID_MAX_LIMIT.
constexpr Word mostPid = 4u << 20;
// A writer a millisecond for 30 years.
constexpr Word mostEpochs = Word{1} << 40;
constexpr unsigned slotAttempts = 64;
constexpr unsigned indexAttempts = 8;
constexpr Word slotsBetweenProgress = 4096;

// What may be wrong, or may be a writer at work. Two sightings are of one thing when all that is
// listed agrees. Rows change all the time, so a live one is known by its key; the version of the
// index is among it where the thing may come, go and come again, since every row that goes raises
// that.
enum class Kind {
  state,          // value
  epoch,          // value
  pid,            // value
  heartbeat,      //
  allocated,      // said, whole slots in the file
  members,        // said, counted, index version
  indexBuilding,  // index version
  noneEmpty,      //
  beyond,         // bucket, slot
  toNothing,      // bucket, slot, version
  linkedTwice,    // bucket, slot, key, index version
  otherHash,      // bucket, slot, key, index version
  unreachable,    // bucket, slot, key, index version
  notLinked,      // slot, key, index version
  keyTwice,       // slot, key, index version, other slot
};

struct Suspicion {
  Kind kind;
  Word a = 0, b = 0, c = 0, d = 0;
  auto operator<=>(Suspicion const&) const = default;
};

struct SlotSeen {
  enum class Use : std::uint8_t { unread, neverUsed, dead, live, corrupt, busy };
  Use use = Use::unread;
  std::uint32_t hash = 0;  // of the key, where it is known how
  Word version = 0;        // of the row
  Word keySum = 0;         // tells keys apart, nearly always
};
using Use = SlotSeen::Use;

class Check {
 public:
  Check(TableFile const& file, CheckOptions const& options)
      : _file(file),
        _options(options),
        _geometry(file.header().geometry),
        _row(_geometry.rowWords),
        _other(_geometry.rowWords) {}

  CheckReport run();

 private:
  std::vector<Suspicion> pass();
  void readSlots();
  void look(Word slot);
  Word versionOf(Word slot) const { return Words::loadAcquire(_file.mapping().slotAt(slot)); }
  void compareHeader(std::vector<Suspicion>& found) const;
  bool copyIndex();
  void compareIndex(std::vector<Suspicion>& found);
  std::vector<Word> chainLengths() const;
  void compareKeys(std::vector<Suspicion>& found);
  void compareCounts(std::vector<Suspicion>& found) const;

  bool leftByAKill(std::vector<Suspicion> const& kept) const;
  void tellSlots();
  std::string slotProblem(Word slot);
  std::string keyProblem(void const* key) const {
    return _options.keyProblem ? _options.keyProblem(key) : std::string();
  }
  Finding told(Suspicion const& suspicion);
  std::string slotText(Word slot);
  template <class Tell>
  void damage(Tell tell);

  TableFile const& _file;
  CheckOptions const& _options;
  Layout::Geometry const& _geometry;
  std::vector<Word> _row, _other;
  std::vector<SlotSeen> _slots;
  std::vector<Word> _index;
  Word _indexVersion = 0;  // when the index was last copied
  bool _indexCopied = false;
  CheckReport _report;
};

// --- slots ---

void Check::readSlots() {
  bool const first = _slots.empty();
  _slots.resize(std::max<std::size_t>(_slots.size(), _file.slots()));
  for (Word slot = 0; slot < _slots.size(); ++slot) {
    SlotSeen const& seen = _slots[slot];
    bool const known = seen.use != Use::unread && seen.use != Use::corrupt && seen.use != Use::busy;
    if (!known || versionOf(slot) / 2 != seen.version) look(slot);
    if (first && _options.progress && slot % slotsBetweenProgress == 0)
      _options.progress(slot, _slots.size());
  }
  if (first && _options.progress) _options.progress(_slots.size(), _slots.size());
}

void Check::look(Word slot) {
  SlotSeen seen;
  seen.use = Use::busy;
  for (unsigned i = 0; i < slotAttempts; ++i) {
    Word const before = versionOf(slot) / 2;
    Answer const answer = _file.rowAt(slot, _row.data());
    if (answer == Answer::busy || versionOf(slot) / 2 != before) continue;
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

void Check::compareHeader(std::vector<Suspicion>& found) const {
  Word const state = _file.word(Layout::stateOffset);
  if (state == static_cast<Word>(TableState::making) ||
      state > static_cast<Word>(TableState::detached))
    found.push_back({Kind::state, state});
  Word const epoch = _file.word(Layout::epochOffset);
  if (epoch == 0 || epoch > mostEpochs) found.push_back({Kind::epoch, epoch});
  Word const pid = _file.word(Layout::writerPidOffset);
  if (pid == 0 || pid > mostPid) found.push_back({Kind::pid, pid});
  // The clock is read after the word.
  Word const beat = _file.word(Layout::heartbeatOffset);
  if (beat > bootTime()) found.push_back({Kind::heartbeat});
}

void Check::compareCounts(std::vector<Suspicion>& found) const {
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

bool Check::copyIndex() {
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
std::vector<Word> Check::chainLengths() const {
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

void Check::compareIndex(std::vector<Suspicion>& found) {
  _report.indexEntries = 0;
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
    ++_report.indexEntries;
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
void Check::compareKeys(std::vector<Suspicion>& found) {
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

std::vector<Suspicion> Check::pass() {
  std::vector<Suspicion> found;
  ++_report.passes;
  readSlots();
  compareIndex(found);
  compareKeys(found);
  compareCounts(found);
  compareHeader(found);
  std::sort(found.begin(), found.end());
  return found;
}

// --- what it means ---

// A writer that is killed leaves at most one step undone. A table that was let go of has none.
bool Check::leftByAKill(std::vector<Suspicion> const& kept) const {
  if (_file.word(Layout::stateOffset) == static_cast<Word>(TableState::detached)) return false;
  unsigned steps = 0;
  for (Suspicion const& s : kept) {
    switch (s.kind) {
      case Kind::notLinked:
      case Kind::toNothing:
      case Kind::linkedTwice:
        ++steps;
        break;
      case Kind::members:
        if (s.a + 1 != s.b && s.a != s.b + 1) return false;
        break;
      case Kind::allocated:
        if (s.a > s.b) return false;
        break;
      case Kind::indexBuilding:
        break;
      default:
        return false;
    }
  }
  return steps <= 1;
}

template <class Tell>
void Check::damage(Tell tell) {
  ++_report.damage;
  if (_report.findings.size() < _options.mostFindings) _report.findings.push_back(tell());
}

CheckReport Check::run() {
  bool const wasRetired = _file.retired();
  auto kept = pass();
  Word beat = _file.word(Layout::heartbeatOffset);
  bool again = false;   // seen in more than one pass
  bool proven = false;  // the writer has done other things meanwhile
  while (!kept.empty() && !proven && _report.passes < _options.passes) {
    if (again && !_options.writerLives) break;
    if (_options.writerLives && _options.wait) _options.wait();
    Word const beatBefore = _file.word(Layout::heartbeatOffset);
    auto const now = pass();
    std::vector<Suspicion> still;
    std::set_intersection(kept.begin(), kept.end(), now.begin(), now.end(),
                          std::back_inserter(still));
    again = !still.empty();
    if (again) {
      kept = std::move(still);
      proven = beatBefore != beat;
    } else {
      kept = now;
      beat = _file.word(Layout::heartbeatOffset);
    }
  }
  bool const indexUnknown = !_indexCopied && (_indexVersion & 1) == 0;
  _report.overtaken = indexUnknown || (!kept.empty() && !again);
  _report.replaced = !wasRetired && _file.retired();

  tellSlots();
  if (again) {
    bool const unfinished = !proven && leftByAKill(kept);
    for (Suspicion const& suspicion : kept) {
      if (suspicion.kind == Kind::indexBuilding && (suspicion.a & 1) == 0) continue;
      if (unfinished)
        _report.unfinished.push_back(told(suspicion));
      else
        damage([&] { return told(suspicion); });
    }
  }
  return std::move(_report);
}

std::string Check::slotText(Word slot) {
  std::string text = "slot " + std::to_string(slot);
  if (_options.keyText && slot < _slots.size() && _slots[slot].use == Use::live &&
      _file.rowAt(slot, _row.data()) == Answer::ok)
    text += " (" + _options.keyText(_row.data()) + ")";
  return text;
}

std::string Check::slotProblem(Word slot) {
  SlotSeen const& seen = _slots[slot];
  if (seen.use == Use::live) {
    if (!_options.keyProblem || _file.rowAt(slot, _row.data()) != Answer::ok) return {};
    return keyProblem(_row.data());
  }
  if (seen.use != Use::corrupt) return {};
  if (seen.version >= endOfVersions) return "its version is beyond what any writer counts to";
  Word const meta = _file.mapping().slot(slot).meta(seen.version);
  switch (meta & Layout::rowStateMask) {
    case Layout::rowLive:
      return "the checksum of the row fails";
    case Layout::rowDead:
      return "the checksum of the dead row fails";
    default:
      return "its row is neither live nor dead: state " +
             std::to_string(meta & Layout::rowStateMask);
  }
}

void Check::tellSlots() {
  _report.slots = _slots.size();
  for (Word slot = 0; slot < _slots.size(); ++slot) {
    switch (_slots[slot].use) {
      case Use::live:
        ++_report.liveRows;
        break;
      case Use::dead:
        ++_report.deadRows;
        break;
      case Use::corrupt:
        ++_report.corruptRows;
        break;
      case Use::busy:
        ++_report.busyRows;
        break;
      case Use::neverUsed:
      case Use::unread:
        ++_report.neverUsed;
        break;
    }
    if ((versionOf(slot) & 1) != 0 && _slots[slot].use != Use::corrupt) ++_report.halfWritten;
    if (std::string const problem = slotProblem(slot); !problem.empty())
      damage([&] { return Finding{Finding::Part::slot, slot, slotText(slot) + ": " + problem}; });
  }
}

Finding Check::told(Suspicion const& s) {
  using Part = Finding::Part;
  auto const number = [](Word n) { return std::to_string(n); };
  std::string const bucket = "bucket " + number(s.a) + " of the index ";
  switch (s.kind) {
    case Kind::state:
      return {Part::header, {}, "the state of the table is " + number(s.a) + ", which is none"};
    case Kind::epoch:
      return {
          Part::header, {}, "the epoch is " + number(s.a) + ": no table has had that many writers"};
    case Kind::pid:
      return {Part::header, {}, "the writer's process id is " + number(s.a) + ", which is none"};
    case Kind::heartbeat:
      return {Part::header, {}, "the heartbeat lies in the future"};
    case Kind::allocated:
      return {Part::count,
              {},
              "the header says " + number(s.a) + " allocated rows, and the file has memory for " +
                  number(s.b)};
    case Kind::members:
      return {Part::count,
              {},
              "the header says " + number(s.a) + " rows, and there are " + number(s.b)};
    case Kind::indexBuilding:
      return {Part::index,
              {},
              "the index is being built anew, or was left so: readers look "
              "through the slots instead"};
    case Kind::noneEmpty:
      return {Part::index, {}, "no bucket of the index is empty"};
    case Kind::beyond:
      return {Part::index, {}, bucket + "leads to slot " + number(s.b) + ", which there is not"};
    case Kind::toNothing:
      return {Part::index, s.b, bucket + "leads to slot " + number(s.b) + ", which has no row"};
    case Kind::linkedTwice:
      return {Part::index, s.b, bucket + "leads to " + slotText(s.b) + ", as another one does"};
    case Kind::otherHash:
      return {Part::index, s.b,
              bucket + "leads to " + slotText(s.b) + " under a hash that is not its key's"};
    case Kind::unreachable:
      return {Part::index, s.b,
              bucket + "leads to " + slotText(s.b) + ", and a search for its key ends before it"};
    case Kind::notLinked:
      return {Part::index, s.a, slotText(s.a) + ": no bucket of the index leads to the row"};
    case Kind::keyTwice:
      return {Part::slot, s.d, slotText(s.d) + ": slot " + number(s.a) + " has the same key"};
  }
  return {};
}

}  // namespace

std::string_view text(Finding::Part part) {
  switch (part) {
    case Finding::Part::header:
      return "header";
    case Finding::Part::slot:
      return "slot";
    case Finding::Part::index:
      return "index";
    case Finding::Part::count:
      return "count";
  }
  return "";
}

CheckReport checkTable(TableFile const& file, CheckOptions const& options) {
  return Check(file, options).run();
}

}  // namespace Glim
