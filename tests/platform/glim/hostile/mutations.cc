#include "tests/platform/glim/hostile/mutations.h"

#include <algorithm>
#include <array>
#include <utility>

namespace GlimTest {

using Glim::Word;
namespace Layout = Glim::Layout;

namespace {

class Mutator {
 public:
  Mutator(TableImage& image, Random& random) : _image(image), _random(random) {}

  // --- damage ---

  void flipBits() {
    for (Word n = 1 + below(8); n > 0; --n) {
      std::size_t const at = someByte();
      if (at < _image.bytes.size()) flip(at, below(8));
    }
  }

  void smashWords() {
    for (Word n = 1 + below(16); n > 0; --n) _image.wordIs(someByte() & ~std::size_t{7}, anyWord());
  }

  // A stretch of one byte, or of rubbish.
  void smashRange() {
    if (_image.bytes.empty()) return;
    std::size_t const at = someByte() % _image.bytes.size();
    std::size_t const length = std::min<std::size_t>(_image.bytes.size() - at, 1 + below(4096));
    bool const rubbish = below(2) == 0;
    char const same = static_cast<char>(std::array<Word, 3>{0, 0xff, _random() & 0xff}[below(3)]);
    for (std::size_t i = at; i < at + length; ++i) {
      _image.bytes[i] = rubbish ? static_cast<char>(_random()) : same;
    }
  }

  void truncate() {
    auto const& g = _image.geometry();
    std::array<Word, 8> const edges{0,
                                    8 * Layout::fixedWords,
                                    Layout::schemaOffset,
                                    Layout::schemaOffset + g.schemaBytes,
                                    g.indexOffset,
                                    g.slotsOffset,
                                    _image.slot(below(_image.slots() + 1)),
                                    below(_image.bytes.size() + 1)};
    Word const length = edges[below(edges.size())] + below(3) * 8;
    if (length < _image.bytes.size()) _image.bytes.resize(length);
  }

  void extend() {
    std::size_t const before = _image.bytes.size();
    _image.bytes.resize(before + 1 + below(3 * 4096), static_cast<char>(below(2) * 0xff));
    if (below(2) == 0) return;
    for (std::size_t i = before; i < _image.bytes.size(); ++i) {
      _image.bytes[i] = static_cast<char>(_random());
    }
  }

  // A part of the file is as it was earlier: a page, a few words, or half of a slot.
  void takeBack(std::string const& earlier) {
    std::size_t at = someByte();
    std::size_t length = 8 * (1 + below(64));
    switch (below(3)) {
      case 0:
        at &= ~std::size_t{4095};
        length = 4096;
        break;
      case 1:
        at = _image.half(someSlot(), below(2));
        length = _image.halfBytes();
        break;
      default:
        at &= ~std::size_t{7};
    }
    if (at >= earlier.size() || !_image.holds(at, 0)) return;
    length = std::min({length, earlier.size() - at, _image.bytes.size() - at});
    _image.bytes.replace(at, length, earlier, at, length);
  }

  void swapHalves() {
    Word const slot = someSlot();
    swapRanges(_image.half(slot, 0), _image.half(slot, 1), _image.halfBytes());
  }

  void swapSlots() {
    swapRanges(_image.slot(someSlot()), _image.slot(someSlot()), _image.geometry().stride);
  }

  // A slot, or half of one, once more in another place.
  void copyRow() {
    Word const from = someSlot(), to = someSlot();
    std::size_t const length = below(2) == 0 ? _image.geometry().stride : _image.halfBytes();
    std::size_t const a =
        length == _image.halfBytes() ? _image.half(from, below(2)) : _image.slot(from);
    std::size_t const b =
        length == _image.halfBytes() ? _image.half(to, below(2)) : _image.slot(to);
    if (!_image.holds(a, length) || !_image.holds(b, length)) return;
    _image.bytes.replace(b, length, _image.bytes.substr(a, length));
  }

  void wrongVersions() {
    for (Word n = 1 + below(4); n > 0; --n) {
      std::size_t const at = _image.slot(someSlot());
      Word const near = _image.word(at) + below(9) - 4;
      _image.wordIs(at, below(2) == 0 ? near : extreme());
    }
  }

  void wrongCounts() {
    for (std::size_t const at :
         {Layout::allocatedRowsOffset, Layout::stateOffset, Layout::epochOffset,
          Layout::writerPidOffset, Layout::indexVersionOffset, Layout::heartbeatOffset,
          Layout::membersOffset}) {
      if (below(2) == 0) _image.wordIs(at, below(3) == 0 ? below(40) : extreme());
    }
  }

  // All buckets one entry, so that no search ends by itself; rubbish; entries in other places.
  void wrongIndex() {
    auto const& g = _image.geometry();
    Word const kind = below(4);
    Word const same = someEntry();
    for (Word i = 0; i < g.buckets; ++i) {
      switch (kind) {
        case 0:
          _image.wordIs(_image.bucket(i), same);
          break;
        case 1:
          _image.wordIs(_image.bucket(i), anyWord());
          break;
        case 2:
          _image.wordIs(_image.bucket(i), someEntry());
          break;
        default:
          if (below(4) != 0) break;
          swapRanges(_image.bucket(i), _image.bucket(_random()), sizeof(Word));
      }
    }
    if (below(3) == 0) _image.wordIs(Layout::indexVersionOffset, extreme());
  }

  // --- forgery ---

  void lieInHeader() {
    for (Word n = 1 + below(2); n > 0; --n) {
      Word const which =
          Layout::fixedRowWords + below(Layout::fixedChecksum - Layout::fixedRowWords);
      std::size_t const at = _image.fixed(which);
      Word const near = _image.word(at) + below(17) - 8;
      Word const shifted = below(2) == 0 ? _image.word(at) << below(40) : _image.word(at) / 2;
      _image.wordIs(at, std::array<Word, 3>{near, shifted, extreme()}[below(3)]);
    }
    _image.signHeader();
  }

  // All that follows from the lie agrees with it.
  void lieConsistently() {
    auto const& was = _image.geometry();
    Word rowWords = was.rowWords, keyBytes = was.keyBytes, maxRows = was.maxRows;
    Word schemaBytes = was.schemaBytes;
    if (below(2) == 0) rowWords = 1 + below(below(4) == 0 ? Layout::rowWordsLimit : 16);
    if (below(3) == 0) keyBytes = 1 + below(rowWords * 8);
    if (below(2) == 0) maxRows = 1 + below(below(4) == 0 ? Layout::maxRowsLimit : 64);
    if (below(3) == 0) schemaBytes = 1 + below(below(4) == 0 ? Layout::schemaBytesLimit : 512);
    auto const made = Layout::Geometry::make(rowWords, keyBytes, maxRows, schemaBytes);
    if (!made || !_image.holds(0, Layout::schemaOffset)) return;
    auto const words = Layout::makeFixedWords(*made, "", 0, 0);
    std::memcpy(_image.bytes.data(), words.data(), sizeof words);
    _image.signHeader();
  }

  void lieInSchema() {
    std::size_t const from = Layout::schemaOffset;
    std::size_t const end = from + _image.geometry().schemaBytes;
    if (!_image.holds(from, end - from)) return;
    constexpr std::string_view alphabet = "0123456789:\nu64text\0\xff";
    for (Word n = 1 + below(6); n > 0; --n) {
      _image.bytes[from + below(end - from)] = alphabet[below(alphabet.size())];
    }
    _image.signHeader();
  }

  // Rows of somebody's own: other keys, the same key twice, versions near their end.
  void forgeRows() {
    for (Word n = 1 + below(4); n > 0; --n) {
      Word const slot = someSlot();
      if (below(3) == 0) _image.wordIs(_image.slot(slot), extreme() & ~Word{1});
      Word const k = _image.word(_image.slot(slot)) / 2;
      std::size_t const row = _image.row(slot, k);
      switch (below(4)) {
        case 0: {  // the key of another row
          Word const other = someSlot();
          std::size_t const from = _image.row(other, _image.word(_image.slot(other)) / 2);
          std::size_t const length = _image.geometry().keyBytes;
          if (_image.holds(from, length) && _image.holds(row, length)) {
            _image.bytes.replace(row, length, _image.bytes.substr(from, length));
          }
          break;
        }
        case 1:
          for (Word i = 0; i < _image.geometry().rowWords; ++i) {
            _image.wordIs(row + i * sizeof(Word), _random());
          }
          break;
        case 2:
          _image.wordIs(row + below(_image.geometry().rowWords) * sizeof(Word), extreme());
          break;
        default:
          break;
      }
      _image.signRow(slot, below(4) == 0 ? Layout::rowDead : Layout::rowLive);
    }
  }

 private:
  Word below(Word n) { return n == 0 ? 0 : _random() % n; }

  void flip(std::size_t at, Word bit) {
    _image.bytes[at] = static_cast<char>(static_cast<unsigned char>(_image.bytes[at]) ^ 1u << bit);
  }

  Word extreme() {
    constexpr std::array<Word, 14> values{0,
                                          1,
                                          2,
                                          3,
                                          Word{1} << 62,
                                          (Word{1} << 62) + 1,
                                          (Word{1} << 63) - 2,
                                          (Word{1} << 63) - 1,
                                          Word{1} << 63,
                                          (Word{1} << 63) + 1,
                                          ~Word{0} - 2,
                                          ~Word{0} - 1,
                                          ~Word{0},
                                          Word{1} << 32};
    return values[below(values.size())];
  }

  Word anyWord() {
    switch (below(4)) {
      case 0:
        return extreme();
      case 1:
        return someEntry();
      default:
        return _random() >> below(64);
    }
  }

  Word someSlot() { return below(_image.slots()); }

  // An entry of the index that stands there, with another slot now and then.
  Word someEntry() {
    Word entry = 0;
    for (int i = 0; i < 8 && entry == 0; ++i) entry = _image.word(_image.bucket(_random()));
    if (below(3) == 0) {
      entry = (entry & ~Word{0xffffffffu}) |
              std::array<Word, 4>{0, 0xffffffffu, 1 + someSlot(), 1 + below(1u << 20)}[below(4)];
    }
    return entry;
  }

  // Everywhere, but rather where there is something.
  std::size_t someByte() {
    switch (below(6)) {
      case 0:
        return below(Layout::schemaOffset + _image.geometry().schemaBytes);
      case 1:
        return 8 * Layout::fixedWords + below(Layout::schemaOffset - 8 * Layout::fixedWords);
      case 2:
        return _image.bucket(_random()) + below(8);
      case 3:
        return below(_image.bytes.size());
      default:
        return _image.slot(someSlot()) + below(_image.geometry().stride);
    }
  }

  void swapRanges(std::size_t a, std::size_t b, std::size_t length) {
    if (!_image.holds(a, length) || !_image.holds(b, length)) return;
    for (std::size_t i = 0; i < length; ++i) std::swap(_image.bytes[a + i], _image.bytes[b + i]);
  }

  TableImage& _image;
  Random& _random;
};

}  // namespace

char const* damage(TableImage& image, std::string const& earlier, Random& random) {
  Mutator mutator(image, random);
  switch (random() % 11) {
    case 0:
      return mutator.flipBits(), "flipped bits";
    case 1:
      return mutator.smashWords(), "smashed words";
    case 2:
      return mutator.smashRange(), "smashed range";
    case 3:
      return mutator.truncate(), "truncated";
    case 4:
      return mutator.extend(), "extended";
    case 5:
      return mutator.takeBack(earlier), "as it was earlier";
    case 6:
      return mutator.swapHalves(), "swapped halves";
    case 7:
      return mutator.swapSlots(), "swapped slots";
    case 8:
      return mutator.copyRow(), "copied row";
    case 9:
      return mutator.wrongVersions(), "wrong versions";
    default:
      if (random() % 2 == 0) return mutator.wrongCounts(), "wrong counts";
      return mutator.wrongIndex(), "wrong index";
  }
}

char const* forge(TableImage& image, Random& random) {
  Mutator mutator(image, random);
  switch (random() % 4) {
    case 0:
      return mutator.lieInHeader(), "lie in the header";
    case 1:
      return mutator.lieConsistently(), "consistent lie";
    case 2:
      return mutator.lieInSchema(), "lie in the schema";
    default:
      return mutator.forgeRows(), "forged rows";
  }
}

}  // namespace GlimTest
