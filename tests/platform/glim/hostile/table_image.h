// The bytes of a table file in private memory, for those who damage or forge it: where its parts
// are, and how to make its checksums agree again.
#pragma once

#include <cstring>
#include <optional>
#include <string>

#include "platform/glim/layout.h"

namespace GlimTest {

// The whole file; nothing when it cannot be read.
std::optional<std::string> readFile(std::string const& file);
// Makes the file hold these bytes and no others.
void writeFile(std::string const& file, std::string const& bytes);

class TableImage {
 public:
  // The places of the parts follow from the fixed words, and stay where they are whatever happens
  // to the bytes. Nothing when the fixed words are none that a table may have.
  static std::optional<TableImage> of(std::string bytes);

  std::string bytes;
  Glim::Layout::Geometry const& geometry() const { return _geometry; }
  // Slots that the bytes held when the image was made.
  Glim::Word slots() const { return _slots; }

  // What lies beyond the end reads as 0, and is not stored.
  Glim::Word word(std::size_t offset) const;
  void wordIs(std::size_t offset, Glim::Word value);

  std::size_t fixed(std::size_t i) const { return i * sizeof(Glim::Word); }
  std::size_t bucket(Glim::Word i) const {
    return _geometry.indexOffset + i % _geometry.buckets * sizeof(Glim::Word);
  }
  std::size_t slot(Glim::Word i) const { return _geometry.slotsOffset + i * _geometry.stride; }
  // The meta word of version k's half; the row follows it.
  std::size_t half(Glim::Word i, Glim::Word k) const {
    return slot(i) + (1 + (k & 1) * (1 + _geometry.rowWords)) * sizeof(Glim::Word);
  }
  std::size_t row(Glim::Word i, Glim::Word k) const { return half(i, k) + sizeof(Glim::Word); }
  std::size_t halfBytes() const { return (1 + _geometry.rowWords) * sizeof(Glim::Word); }
  bool holds(std::size_t offset, std::size_t length) const {
    return offset <= bytes.size() && length <= bytes.size() - offset;
  }

  // As somebody does who knows the format: the checksum of the header agrees with what its words
  // and its schema are now, however wrong they are.
  void signHeader();
  // The same for the version of a slot that readers look at.
  void signRow(Glim::Word slot, Glim::Layout::RowState state = Glim::Layout::rowLive);

 private:
  explicit TableImage(Glim::Layout::Geometry const& geometry) : _geometry(geometry) {}

  Glim::Layout::Geometry _geometry;
  Glim::Word _slots = 0;
};

}  // namespace GlimTest
