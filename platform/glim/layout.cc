#include "platform/glim/layout.h"

#include <bit>

#include "platform/glim/record.h"

namespace Glim::Layout {

namespace {

constexpr Word pageBytes = 4096;

constexpr Word roundUp(Word value, Word step) { return (value + step - 1) / step * step; }

Word checksumOf(FixedWords const& fixed, std::string_view schema) {
  Word hash = schemaHashOf(schema);
  for (std::size_t i = 0; i < fixedChecksum; ++i) {
    hash = (std::rotl(hash, 27) ^ fixed[i]) * 0x9e3779b97f4a7c15u;
  }
  return hash ^ (hash >> 32);
}

}  // namespace

std::optional<Geometry> Geometry::make(Word rowWords, Word keyBytes, Word maxRows,
                                       Word schemaBytes) {
  if (rowWords == 0 || rowWords > rowWordsLimit) return {};
  if (keyBytes == 0 || keyBytes > rowWords * sizeof(Word)) return {};
  if (maxRows == 0 || maxRows > maxRowsLimit) return {};
  if (schemaBytes == 0 || schemaBytes > schemaBytesLimit) return {};
  Geometry g;
  g.rowWords = rowWords;
  g.keyBytes = keyBytes;
  g.maxRows = maxRows;
  g.schemaBytes = schemaBytes;
  g.stride = roundUp((1 + 2 * (1 + rowWords)) * sizeof(Word), 64);
  g.buckets = std::bit_ceil(2 * maxRows);
  g.indexOffset = roundUp(schemaOffset + schemaBytes, pageBytes);
  g.slotsOffset = roundUp(g.indexOffset + g.buckets * sizeof(Word), pageBytes);
  g.fileBytes = g.bytesFor(maxRows);
  return g;
}

Word Geometry::rowsWithin(Word bytes) const {
  if (bytes <= slotsOffset) return 0;
  Word const rows = (bytes - slotsOffset) / stride;
  return rows < maxRows ? rows : maxRows;
}

FixedWords makeFixedWords(Geometry const& geometry, std::string_view schema, Word schemaHash,
                          Word created) {
  FixedWords fixed{};
  fixed[fixedMagic] = magic;
  fixed[fixedLayoutVersion] = layoutVersion;
  fixed[fixedSchemaHash] = schemaHash;
  fixed[fixedRowWords] = geometry.rowWords;
  fixed[fixedKeyBytes] = geometry.keyBytes;
  fixed[fixedMaxRows] = geometry.maxRows;
  fixed[fixedSchemaBytes] = geometry.schemaBytes;
  fixed[fixedStride] = geometry.stride;
  fixed[fixedBuckets] = geometry.buckets;
  fixed[fixedIndexOffset] = geometry.indexOffset;
  fixed[fixedSlotsOffset] = geometry.slotsOffset;
  fixed[fixedFileBytes] = geometry.fileBytes;
  fixed[fixedCreated] = created;
  fixed[fixedChecksum] = checksumOf(fixed, schema);
  return fixed;
}

HeaderCheck checkFixedWords(FixedWords const& fixed, Geometry& geometry) {
  if (fixed[fixedMagic] != magic) return HeaderCheck::notATable;
  if (fixed[fixedLayoutVersion] != layoutVersion) return HeaderCheck::otherLayout;
  auto const made = Geometry::make(fixed[fixedRowWords], fixed[fixedKeyBytes], fixed[fixedMaxRows],
                                   fixed[fixedSchemaBytes]);
  if (!made) return HeaderCheck::notATable;
  bool const agrees = fixed[fixedStride] == made->stride && fixed[fixedBuckets] == made->buckets &&
                      fixed[fixedIndexOffset] == made->indexOffset &&
                      fixed[fixedSlotsOffset] == made->slotsOffset &&
                      fixed[fixedFileBytes] == made->fileBytes;
  if (!agrees) return HeaderCheck::notATable;
  geometry = *made;
  return HeaderCheck::good;
}

bool checksumAgrees(FixedWords const& fixed, std::string_view schema) {
  return fixed[fixedSchemaHash] == schemaHashOf(schema) &&
         fixed[fixedChecksum] == checksumOf(fixed, schema);
}

}  // namespace Glim::Layout
