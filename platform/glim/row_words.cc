#include "platform/glim/row_words.h"

#include <bit>
#include <cstring>

namespace Glim::RowWords {

namespace {

constexpr std::size_t blockWords = 8;
constexpr Word step = 0x9e3779b97f4a7c15u;  // 2^64 / golden ratio, odd

// The weight of a lane: a power of the step, 1 for no lane, and odd as it is.
consteval Word weight(unsigned lane) {
  Word power = step;
  for (unsigned i = 0; i < lane; ++i) power *= step;
  return power;
}

// Two lanes; every 64-bit machine that this runs on has registers of this size.
using Lanes = Word __attribute__((vector_size(16)));

Lanes rotated(Lanes lanes) { return lanes << 23 | lanes >> 41; }

// Four words for the units that work on integers and four for those that work on vectors: together
// they are faster than either alone, and neither has registers for the sums of all eight.
struct Block {
  Word w0, w1, w2, w3;
  Lanes w45, w67;
};

// Members and statements are written out one by one, and nothing is called with them: an array of
// them, or an object that a function sees, would live in memory and cost half the speed.
class Sums {
 public:
  explicit Sums(Word seed)
      : _a0(seed),
        _a1(seed + step),
        _a2(seed + 2 * step),
        _a3(seed + 3 * step),
        _a45{seed + 4 * step, seed + 5 * step},
        _a67{seed + 6 * step, seed + 7 * step},
        _b0(~_a0),
        _b1(~_a1),
        _b2(~_a2),
        _b3(~_a3),
        _b45(~_a45),
        _b67(~_a67) {}

  void add(Block const& block) {
    _a0 += block.w0;
    _a1 += block.w1;
    _a2 += block.w2;
    _a3 += block.w3;
    _a45 += block.w45;
    _a67 += block.w67;
    _b0 = std::rotl(_b0, 23) + _a0;
    _b1 = std::rotl(_b1, 23) + _a1;
    _b2 = std::rotl(_b2, 23) + _a2;
    _b3 = std::rotl(_b3, 23) + _a3;
    _b45 = rotated(_b45) + _a45;
    _b67 = rotated(_b67) + _a67;
  }

  // Each lane has an odd weight of its own, without any pattern among them: a change of one lane
  // always remains, and changes of several that cancel each other do so by chance alone.
  [[gnu::always_inline]] Word folded() const {
    Word sum = step;
    sum = mixed(sum, _a0 * weight(0) + _a2 * weight(2) + _a45[0] * weight(4) + _a67[0] * weight(6));
    sum = mixed(sum, _a1 * weight(1) + _a3 * weight(3) + _a45[1] * weight(5) + _a67[1] * weight(7));
    sum = mixed(sum, _b0 * weight(0) + _b2 * weight(2) + _b45[0] * weight(4) + _b67[0] * weight(6));
    sum = mixed(sum, _b1 * weight(1) + _b3 * weight(3) + _b45[1] * weight(5) + _b67[1] * weight(7));
    return sum ^ (sum >> 32);
  }

 private:
  static Word mixed(Word sum, Word part) { return (std::rotl(sum, 29) ^ part) * step; }

  Word _a0, _a1, _a2, _a3;
  Lanes _a45, _a67;
  Word _b0, _b1, _b2, _b3;
  Lanes _b45, _b67;
};

// Of the rows of a large table no line is near, and a row has too few of them for the machine to
// foresee the next ones in time. A longer way ahead gained nothing; beyond the row it is a
// neighbour's line, which does no harm.
void prefetchAhead(void const* row, std::size_t i) {
  constexpr std::size_t ahead = 4 * blockWords;
  __builtin_prefetch(static_cast<std::byte const*>(row) + (i + ahead) * sizeof(Word));
}

// How words come and go, for the four directions.
struct PlainSource {
  void const* from;
  Word word(std::size_t i) const { return at<Word>(i); }
  Lanes lanes(std::size_t i) const { return at<Lanes>(i); }
  void prefetch(std::size_t i) const { prefetchAhead(from, i); }

 private:
  template <class T>
  T at(std::size_t i) const {
    T value;
    std::memcpy(&value, static_cast<std::byte const*>(from) + i * sizeof(Word), sizeof value);
    return value;
  }
};

struct SharedSource {
  Word const* from;
  Word word(std::size_t i) const { return Words::loadRow(from + i); }
  Lanes lanes(std::size_t i) const { return Lanes{word(i), word(i + 1)}; }
  void prefetch(std::size_t i) const { prefetchAhead(from, i); }
};

struct NoSink {
  void word(std::size_t, Word) const {}
  template <class Source>
  void block(std::size_t, Block const&, Source const&) const {}
  void prefetch(std::size_t) const {}
};

struct PlainSink {
  void* to;
  void word(std::size_t i, Word value) const { put(i, value); }
  void block(std::size_t i, Block const& block, SharedSource const&) const {
    put(i, block.w0);
    put(i + 1, block.w1);
    put(i + 2, block.w2);
    put(i + 3, block.w3);
    put(i + 4, block.w45);
    put(i + 6, block.w67);
  }
  // Loads words once more, here and below: cheaper than moving them between the two kinds of
  // registers.
  void block(std::size_t i, Block const& block, PlainSource const& source) const {
    put(i, source.lanes(i));
    put(i + 2, source.lanes(i + 2));
    put(i + 4, block.w45);
    put(i + 6, block.w67);
  }
  // The caller's row, which it will have at hand.
  void prefetch(std::size_t) const {}

 private:
  template <class T>
  void put(std::size_t i, T value) const {
    std::memcpy(static_cast<std::byte*>(to) + i * sizeof(Word), &value, sizeof value);
  }
};

struct SharedSink {
  Word* to;
  void word(std::size_t i, Word value) const { Words::storeRow(to + i, value); }
  void block(std::size_t i, Block const& block, PlainSource const& source) const {
    word(i, block.w0);
    word(i + 1, block.w1);
    word(i + 2, block.w2);
    word(i + 3, block.w3);
    word(i + 4, source.word(i + 4));
    word(i + 5, source.word(i + 5));
    word(i + 6, source.word(i + 6));
    word(i + 7, source.word(i + 7));
  }
  void prefetch(std::size_t i) const { prefetchAhead(to, i); }
};

template <class Source, class Sink>
Word move(Sink sink, Source source, std::size_t words, Word seed) {
  Sums sums(seed);
  std::size_t i = 0;
  for (; i + blockWords <= words; i += blockWords) {
    source.prefetch(i);
    sink.prefetch(i);
    Block const block{source.word(i),     source.word(i + 1),  source.word(i + 2),
                      source.word(i + 3), source.lanes(i + 4), source.lanes(i + 6)};
    sums.add(block);
    sink.block(i, block, source);
  }
  if (i < words) {
    auto const rest = [&](std::size_t n) {
      if (i + n >= words) return Word{0};
      Word const word = source.word(i + n);
      sink.word(i + n, word);
      return word;
    };
    sums.add(
        {rest(0), rest(1), rest(2), rest(3), Lanes{rest(4), rest(5)}, Lanes{rest(6), rest(7)}});
  }
  return sums.folded();
}

}  // namespace

Word checksum(void const* row, std::size_t words, Word seed) {
  return move(NoSink{}, PlainSource{row}, words, seed);
}

Word store(Word* shared, void const* row, std::size_t words, Word seed) {
  return move(SharedSink{shared}, PlainSource{row}, words, seed);
}

Word load(void* row, Word const* shared, std::size_t words, Word seed) {
  return move(PlainSink{row}, SharedSource{shared}, words, seed);
}

Word copyOwn(void* row, Word const* shared, std::size_t words, Word seed) {
  return move(PlainSink{row}, PlainSource{shared}, words, seed);
}

}  // namespace Glim::RowWords
