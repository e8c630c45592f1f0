#include "platform/glim/table_reader.h"

#include <utility>

namespace Glim {

namespace {

constexpr unsigned probeAttempts = 8;

}  // namespace

TableReader::TableReader(std::string path, ReaderOptions options)
    : _path(std::move(path)), _options(options) {}

Answer TableReader::attach() {
  Answer const opened = _file.open(dataFile(), _options);
  if (opened == Answer::ok && !_file.retired()) return Answer::ok;
  detach();
  return opened == Answer::ok ? Answer::retired : opened;
}

Answer TableReader::refresh() {
  if (attached() && !_file.retired() && _file.stillNamed(dataFile(), _options)) return Answer::ok;
  return attach();
}

void TableReader::detach() { _file.close(); }

Answer TableReader::rowAt(Word slot, void* row) const {
  return _file.retired() ? Answer::retired : _file.rowAt(slot, row);
}

Answer TableReader::find(std::uint32_t hash, std::function<bool(void const* row)> const& isIt,
                         void* row) const {
  if (_file.retired()) return Answer::retired;
  Word const* const version = _file.mapping().wordAt(Layout::indexVersionOffset);
  for (unsigned i = 0; i < probeAttempts; ++i) {
    Word const before = Words::loadAcquire(version);
    if ((before & 1) != 0) break;  // the index is being built, or its builder died
    Answer const found = probe(hash, isIt, row);
    if (found == Answer::ok) return found;
    Words::fenceBeforeRecheck();
    // Not found: to be believed only when no entry was moved meanwhile.
    if (Words::loadRow(version) == before) return found;
  }
  return scan(isIt, row);
}

// Along the chain of the hash. What a row that cannot be read may be decides the answer when no
// other row is it.
Answer TableReader::probe(std::uint32_t hash, std::function<bool(void const*)> const& isIt,
                          void* row) const {
  auto const& geometry = header().geometry;
  Word const buckets = geometry.buckets;
  Answer miss = Answer::absent;
  Word at = Layout::homeBucket(hash, buckets);
  // More rows than maxRows cannot stand in one chain.
  for (Word n = 0; n <= geometry.maxRows; ++n, at = (at + 1) & (buckets - 1)) {
    Word const entry = Words::loadAcquire(_file.mapping().index() + at);
    if (entry == 0) return miss;
    if (Layout::entryHash(entry) != hash) continue;
    Answer const read = _file.rowAt(Layout::entrySlot(entry), row);
    if (read == Answer::ok && isIt(row)) return Answer::ok;
    if (read == Answer::busy || read == Answer::corrupt) miss = read;
  }
  return miss;
}

// Through all slots: slower, and needs no index.
Answer TableReader::scan(std::function<bool(void const*)> const& isIt, void* row) const {
  Word const allocated = slots();
  Answer miss = Answer::absent;
  for (Word slot = 0; slot < allocated; ++slot) {
    Answer const read = _file.rowAt(slot, row);
    if (read == Answer::ok && isIt(row)) return Answer::ok;
    if (read == Answer::busy) miss = Answer::busy;
  }
  return miss;
}

}  // namespace Glim
