#include "platform/glim/table_mapping.h"

#include <sys/mman.h>

#include <utility>

namespace Glim {

TableMapping::~TableMapping() {
  if (_base != nullptr) ::munmap(_base, _geometry.fileBytes);
}

void TableMapping::swap(TableMapping& other) noexcept {
  std::swap(_base, other._base);
  std::swap(_geometry, other._geometry);
}

TableMapping TableMapping::map(int fd, Layout::Geometry const& geometry, bool writable) {
  TableMapping mapping;
  int const access = writable ? PROT_READ | PROT_WRITE : PROT_READ;
  void* const base = ::mmap(nullptr, geometry.fileBytes, access, MAP_SHARED, fd, 0);
  if (base == MAP_FAILED) return mapping;
  mapping._base = static_cast<Word*>(base);
  mapping._geometry = geometry;
  return mapping;
}

void TableMapping::letGo() {
  if (_base == nullptr) return;
  void* const base = ::mmap(_base, _geometry.fileBytes, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED | MAP_NORESERVE, -1, 0);
  if (base != MAP_FAILED) return;
  ::munmap(_base, _geometry.fileBytes);
  _base = nullptr;
}

}  // namespace Glim
