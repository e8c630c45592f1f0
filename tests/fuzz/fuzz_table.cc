// Tables with whatever in them. Mutations know the format: bytes alone would hardly ever get past
// the checksums, and mostly change what nobody reads.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/fuzz/targets.h"
#include "tests/platform/glim/hostile/mutations.h"

using Glim::Word;
using GlimTest::TableImage;

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string const broken = Fuzz::tryTable({reinterpret_cast<char const*>(data), size});
  if (broken.empty()) return 0;
  std::fprintf(stderr, "broken: %s\n", broken.c_str());
  std::abort();
}

namespace {

// The fuzzer's own mutations, within one part of the file.
void mutatePart(TableImage& image, GlimTest::Random& random) {
  auto const& g = image.geometry();
  std::size_t at = 0, length = 0;
  switch (random() % 5) {
    case 0:
      length = sizeof(Glim::Layout::FixedWords);
      break;
    case 1:
      at = Glim::Layout::allocatedRowsOffset;
      length = Glim::Layout::schemaOffset - at;
      break;
    case 2:
      at = Glim::Layout::schemaOffset;
      length = g.schemaBytes;
      break;
    case 3:
      at = g.indexOffset;
      length = g.buckets * sizeof(Word);
      break;
    default:
      at = image.slot(image.slots() == 0 ? 0 : random() % image.slots());
      length = g.stride;
  }
  if (!image.holds(at, length)) return;
  std::string part = image.bytes.substr(at, length);
  LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(part.data()), length, length);
  image.bytes.replace(at, length, part);
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
  GlimTest::Random random(seed);
  auto image = TableImage::of({reinterpret_cast<char const*>(data), size});
  if (!image || random() % 16 == 0) return LLVMFuzzerMutate(data, size, maxSize);
  std::string const before = image->bytes;
  switch (random() % 4) {
    case 0:
      GlimTest::damage(*image, before, random);
      break;
    case 1:
      GlimTest::forge(*image, random);
      break;
    default:
      mutatePart(*image, random);
  }
  if (random() % 2 == 0) image->signHeader();
  for (Word slot = 0; slot < image->slots() && slot < 64; ++slot) {
    if (random() % 4 != 0) continue;
    image->signRow(slot, random() % 8 == 0 ? Glim::Layout::rowDead : Glim::Layout::rowLive);
  }
  std::size_t const length = std::min(image->bytes.size(), maxSize);
  std::memcpy(data, image->bytes.data(), length);
  return length;
}
