#include "tests/platform/glim/hostile/table_image.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "platform/glim/file_descriptor.h"
#include "platform/glim/record.h"
#include "platform/glim/row_words.h"

namespace GlimTest {

using Glim::FileDescriptor;
using Glim::Word;
namespace Layout = Glim::Layout;

std::optional<std::string> readFile(std::string const& file) {
  FileDescriptor const in(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  if (!in || ::fstat(in.get(), &status) != 0) return {};
  std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
  ssize_t const n = ::pread(in.get(), bytes.data(), bytes.size(), 0);
  if (n != static_cast<ssize_t>(bytes.size())) return {};
  return bytes;
}

void writeFile(std::string const& file, std::string const& bytes) {
  FileDescriptor const out(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  ssize_t const n = ::pwrite(out.get(), bytes.data(), bytes.size(), 0);
  if (n != static_cast<ssize_t>(bytes.size())) throw std::runtime_error("cannot write " + file);
}

std::optional<TableImage> TableImage::of(std::string bytes) {
  Layout::FixedWords fixed{};
  if (bytes.size() < sizeof fixed) return {};
  std::memcpy(fixed.data(), bytes.data(), sizeof fixed);
  Layout::Geometry geometry;
  if (Layout::checkFixedWords(fixed, geometry) != Layout::HeaderCheck::good) return {};
  TableImage image(geometry);
  image._slots = geometry.rowsWithin(bytes.size());
  image.bytes = std::move(bytes);
  return image;
}

Word TableImage::word(std::size_t offset) const {
  Word value = 0;
  if (holds(offset, sizeof value)) std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

void TableImage::wordIs(std::size_t offset, Word value) {
  if (holds(offset, sizeof value)) std::memcpy(bytes.data() + offset, &value, sizeof value);
}

void TableImage::signHeader() {
  if (!holds(0, Layout::schemaOffset)) return;
  // A reader takes as much schema as the header says, and as there is.
  std::size_t const length = std::min<std::size_t>(word(fixed(Layout::fixedSchemaBytes)),
                                                   bytes.size() - Layout::schemaOffset);
  std::string_view const schema = std::string_view(bytes).substr(Layout::schemaOffset, length);
  Word const hash = Glim::schemaHashOf(schema);
  Layout::Geometry said;
  said.rowWords = word(fixed(Layout::fixedRowWords));
  said.keyBytes = word(fixed(Layout::fixedKeyBytes));
  said.maxRows = word(fixed(Layout::fixedMaxRows));
  said.schemaBytes = word(fixed(Layout::fixedSchemaBytes));
  said.stride = word(fixed(Layout::fixedStride));
  said.buckets = word(fixed(Layout::fixedBuckets));
  said.indexOffset = word(fixed(Layout::fixedIndexOffset));
  said.slotsOffset = word(fixed(Layout::fixedSlotsOffset));
  said.fileBytes = word(fixed(Layout::fixedFileBytes));
  auto const words = Layout::makeFixedWords(said, schema, hash, word(fixed(Layout::fixedCreated)));
  std::memcpy(bytes.data(), words.data(), sizeof words);
}

void TableImage::signRow(Word number, Layout::RowState state) {
  Word const k = word(slot(number)) / 2;
  if (!holds(half(number, k), halfBytes())) return;
  Word const words = state == Layout::rowLive ? _geometry.rowWords : 0;
  Word const sum = Glim::RowWords::checksum(bytes.data() + row(number, k), words,
                                            Layout::rowSeed(number, k, state));
  wordIs(half(number, k), Layout::metaOf(sum, state));
}

}  // namespace GlimTest
