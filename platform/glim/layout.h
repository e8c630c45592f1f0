// The table file. docs/table-format.md tells it with the protocol around it; this is the one place
// for its offsets.
//
//     byte
//        0  fixed words 0 to 14: magic ... checksum
//      128  allocated rows
//      192  state
//      256  epoch of the writer, its process id
//      320  index version
//      384  heartbeat
//      448  members
//      512  schema text
//     page  index: `buckets` words, each hash << 32 | slot + 1, 0 when empty
//     page  slots: `allocated rows` of `stride` bytes; the file grows here
//
//     slot  | version | meta 0 | row of half 0 | meta 1 | row of half 1 | padding |
//
//     version  2k: version k stands in half k & 1; 2k + 1: the other half is being written;
//              0, 1: no row yet
//     meta     checksum of the row (upper 62 bits), state of the row (lower 2 bits: 1 live, 2 dead)
//
// All words are 64 bits in the machine's byte order. The fixed words never change after the file
// has its name.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/glim/atomic_words.h"

namespace Glim::Layout {

inline constexpr Word magic =
    0x314d494c4755524f;  // "ORUGLIM1" in the order of a little-endian machine
inline constexpr Word layoutVersion = 1;

// Nothing that a file says can make anyone map or walk more than this.
inline constexpr Word maxRowsLimit = 1u << 20;
inline constexpr Word rowWordsLimit = 1u << 13;
inline constexpr Word schemaBytesLimit = 1u << 16;

// The fixed words.
enum FixedWord : std::size_t {
  fixedMagic,
  fixedLayoutVersion,
  fixedSchemaHash,
  fixedRowWords,
  fixedKeyBytes,
  fixedMaxRows,
  fixedSchemaBytes,
  // From here on everything follows from the words above, and is recomputed rather than believed.
  fixedStride,
  fixedBuckets,
  fixedIndexOffset,
  fixedSlotsOffset,
  fixedFileBytes,
  fixedCreated,   // nanoseconds since the epoch, for people
  fixedReserved,  // 0
  fixedChecksum,  // of the words above and the schema text
  fixedWords
};
using FixedWords = std::array<Word, fixedWords>;

// The words that the writer changes, each on a cache line of its own (the epoch with the pid).
inline constexpr std::size_t allocatedRowsOffset = 128;
inline constexpr std::size_t stateOffset = 192;
inline constexpr std::size_t epochOffset = 256;
inline constexpr std::size_t writerPidOffset = 264;
inline constexpr std::size_t indexVersionOffset = 320;
inline constexpr std::size_t heartbeatOffset = 384;  // nanoseconds of CLOCK_BOOTTIME
inline constexpr std::size_t membersOffset = 448;
inline constexpr std::size_t schemaOffset = 512;

enum class TableState : Word {
  making = 0,    // not yet complete, and not yet under its name
  ready = 1,     // a writer holds it, or was killed holding it
  retired = 2,   // replaced by another file
  detached = 3,  // its writer let go of it; the rows stand as they were
};

// Everything that follows from the fixed words.
struct Geometry {
  Word rowWords = 0;
  Word keyBytes = 0;
  Word maxRows = 0;
  Word schemaBytes = 0;
  Word stride = 0;       // bytes from slot to slot, a multiple of 64
  Word buckets = 0;      // a power of two, at least twice maxRows
  Word indexOffset = 0;  // bytes
  Word slotsOffset = 0;  // bytes
  Word fileBytes = 0;    // of a file with all rows allocated: what everyone maps

  // Nothing when the shape is beyond the limits.
  static std::optional<Geometry> make(Word rowWords, Word keyBytes, Word maxRows, Word schemaBytes);

  Word bytesFor(Word rows) const { return slotsOffset + rows * stride; }
  // Whole slots within a file of this size, at most maxRows.
  Word rowsWithin(Word bytes) const;
  bool operator==(Geometry const&) const = default;
};

// REQUIRES: schema.size() == geometry.schemaBytes
FixedWords makeFixedWords(Geometry const& geometry, std::string_view schema, Word schemaHash,
                          Word created);

enum class HeaderCheck { good, notATable, otherLayout };

// Checks a private copy of the fixed words and the schema text; `geometry` is set when they are
// good.
HeaderCheck checkFixedWords(FixedWords const& fixed, Geometry& geometry);
bool checksumAgrees(FixedWords const& fixed, std::string_view schema);

// More writers than a table ever has (one a millisecond for 30 years), and more versions than a row
// ever has: beyond these, the count itself is damage.
inline constexpr Word mostEpochs = Word{1} << 40;
inline constexpr Word endOfVersions = Word{1} << 62;

// --- rows ---

enum RowState : Word { rowLive = 1, rowDead = 2 };
inline constexpr Word rowStateMask = 3;

inline constexpr Word metaOf(Word checksum, RowState state) {
  return (checksum & ~rowStateMask) | state;
}
// What the checksum of version k of a slot starts from.
inline constexpr Word rowSeed(Word slot, Word k, RowState state) {
  Word const mixed = (slot + 1) * 0xd6e8feb86659fd93u + k * 0xa0761d6478bd642fu + state;
  return mixed ^ (mixed >> 29);
}

// --- index ---

inline constexpr Word bucketEntry(std::uint32_t hash, Word slot) {
  return Word{hash} << 32 | (slot + 1);
}
inline constexpr std::uint32_t entryHash(Word entry) {
  return static_cast<std::uint32_t>(entry >> 32);
}
// REQUIRES: entry is not 0. May be out of range in a damaged file.
inline constexpr Word entrySlot(Word entry) { return (entry & 0xffffffffu) - 1; }
// The bucket where the search for a hash begins; the multiplication spreads hashes that differ
// little.
inline constexpr Word homeBucket(std::uint32_t hash, Word buckets) {
  return (Word{hash} * 0x9e3779b97f4a7c15u >> 32) & (buckets - 1);
}

}  // namespace Glim::Layout
