#include "platform/glim/table_reader.h"

#include <utility>

namespace Glim {

namespace {

// Of one search, however often it begins anew. Another key of the same hash is rare, and so is an
// entry that moves just then: whoever needs more than this is better off without the index.
constexpr unsigned attachAttempts = 4;
constexpr unsigned probeAttempts = 8;
constexpr Word probeDetours = 64;  // buckets, beyond those of the longest chain
constexpr Word probeCandidates = 64;
constexpr Word searchRetries = 64;

}  // namespace

TableReader::TableReader(std::string path, ReaderOptions options)
    : _path(std::move(path)), _options(options) {}

Answer TableReader::attach() {
  for (unsigned i = 0; i < attachAttempts; ++i) {
    Answer const opened = _file.open(dataFile(), _options);
    if (opened != Answer::ok) {
      detach();
      return opened;
    }
    // A file that is retired while it has the name waits for its successor.
    _standsIn = _file.retired();
    if (!_standsIn || _file.stillNamed(dataFile(), _options)) return Answer::ok;
  }
  detach();
  return Answer::retired;
}

Answer TableReader::refresh() {
  // In this order: the memory of a file that was cut short cannot be touched.
  if (!attached() || !_file.stillNamed(dataFile(), _options)) return attach();
  _standsIn = _file.retired();
  if (!_standsIn || _file.stillNamed(dataFile(), _options)) return Answer::ok;
  return attach();
}

void TableReader::detach() { _file.close(); }

Answer TableReader::rowAt(Word slot, void* row) const {
  return replaced() ? Answer::retired : _file.rowAt(slot, row);
}

// What a search looks for, and the work that is left to it.
struct TableReader::Search {
  std::function<bool(void const* row)> const& isIt;
  void* row;
  Word buckets;
  Word candidates = probeCandidates;
  Word retries = searchRetries;  // of rows that the writer overtakes
};

Answer TableReader::find(std::uint32_t hash, std::function<bool(void const* row)> const& isIt,
                         void* row) const {
  if (replaced()) return Answer::retired;
  // More rows than maxRows cannot stand in one chain.
  Search search{.isIt = isIt, .row = row, .buckets = header().geometry.maxRows + 1 + probeDetours};
  Word const* const version = _file.mapping().wordAt(Layout::indexVersionOffset);
  for (unsigned i = 0; i < probeAttempts; ++i) {
    Word const before = Words::loadAcquire(version);
    if ((before & 1) != 0) break;  // the index is being built, or its builder died
    std::optional<Answer> const found = probe(hash, search);
    if (!found) break;
    if (*found == Answer::ok) return *found;
    Words::fenceBeforeRecheck();
    // Not found: to be believed only when no entry was moved meanwhile.
    if (Words::loadRow(version) == before) return *found;
  }
  return scan(search);
}

// As rowAt, but absent also when it is another row.
Answer TableReader::candidate(Word slot, Search& search) const {
  Answer read = _file.rowAt(slot, search.row, 1);
  for (; read == Answer::busy && search.retries > 0; --search.retries) {
    read = _file.rowAt(slot, search.row, 1);
  }
  return read == Answer::ok && !search.isIt(search.row) ? Answer::absent : read;
}

// Along the chain of the hash; nothing when there is more of it than a whole index has. What a row
// that cannot be read may be decides the answer when no other row is it.
std::optional<Answer> TableReader::probe(std::uint32_t hash, Search& search) const {
  Word const buckets = header().geometry.buckets;
  Answer miss = Answer::absent;
  for (Word at = Layout::homeBucket(hash, buckets); search.buckets > 0;
       at = (at + 1) & (buckets - 1)) {
    --search.buckets;
    Word const entry = Words::loadAcquire(_file.mapping().index() + at);
    if (entry == 0) return miss;
    if (Layout::entryHash(entry) != hash) continue;
    if (search.candidates == 0) break;
    --search.candidates;
    Answer const read = candidate(Layout::entrySlot(entry), search);
    if (read == Answer::ok) return read;
    if (read == Answer::busy || read == Answer::corrupt) miss = read;
  }
  return {};
}

// Through all slots: slower, and needs no index.
Answer TableReader::scan(Search& search) const {
  Word const allocated = slots();
  Answer miss = Answer::absent;
  for (Word slot = 0; slot < allocated; ++slot) {
    Answer const read = candidate(slot, search);
    if (read == Answer::ok) return read;
    // It may be the row of the key.
    if (read == Answer::busy || read == Answer::corrupt) miss = read;
  }
  return miss;
}

}  // namespace Glim
