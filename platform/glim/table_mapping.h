// A table file in memory: the largest size that it may take is mapped once, so that growing moves
// nothing.
#pragma once

#include "platform/glim/layout.h"
#include "platform/glim/row_slot.h"

namespace Glim {

class TableMapping {
 public:
  TableMapping() = default;
  TableMapping(TableMapping&& other) noexcept { swap(other); }
  TableMapping& operator=(TableMapping other) noexcept {
    swap(other);
    return *this;
  }
  ~TableMapping();

  // Nothing is mapped afterwards when the system refuses; errno tells why.
  static TableMapping map(int fd, Layout::Geometry const& geometry, bool writable);

  explicit operator bool() const { return _base != nullptr; }
  Layout::Geometry const& geometry() const { return _geometry; }

  Word* wordAt(std::size_t offset) const { return _base + offset / sizeof(Word); }
  Word* index() const { return wordAt(_geometry.indexOffset); }
  // REQUIRES: number < rows allocated in the file: beyond the file's end, touching memory is a
  // fault.
  Word* slotAt(Word number) const {
    return wordAt(_geometry.slotsOffset + number * _geometry.stride);
  }
  RowSlot slot(Word number) const { return {slotAt(number), _geometry.rowWords, number}; }

  // Puts private memory in the place of the file: whoever still points into it harms no one and
  // does not fault.
  void letGo();

 private:
  void swap(TableMapping& other) noexcept;

  Word* _base = nullptr;
  Layout::Geometry _geometry;
};

}  // namespace Glim
