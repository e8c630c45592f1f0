#include "platform/glim/row_words.h"

#include <bit>
#include <cstring>

namespace Glim::RowWords {

namespace {

constexpr std::size_t blockWords = 8;

// Two lanes; every 64-bit machine that this runs on has registers of this size.
using Lanes = Word __attribute__((vector_size(16)));

Lanes rotated(Lanes lanes) { return lanes << 23 | lanes >> 41; }

// Members and statements are written out one by one: an array of them would live in memory and cost
// half the speed.
class Sums {
 public:
  explicit Sums(Word seed)
      : _a0{seed, seed + step},
        _a1{seed + 2 * step, seed + 3 * step},
        _a2{seed + 4 * step, seed + 5 * step},
        _a3{seed + 6 * step, seed + 7 * step},
        _b0(~_a0),
        _b1(~_a1),
        _b2(~_a2),
        _b3(~_a3) {}

  void add(Lanes w0, Lanes w1, Lanes w2, Lanes w3) {
    _a0 += w0;
    _a1 += w1;
    _a2 += w2;
    _a3 += w3;
    _b0 = rotated(_b0) + _a0;
    _b1 = rotated(_b1) + _a1;
    _b2 = rotated(_b2) + _a2;
    _b3 = rotated(_b3) + _a3;
  }

  // Lane pairs are first added with the odd weights 1, 3, 5 and 7, so that a change of one lane
  // always remains.
  Word folded() const {
    Lanes const a = _a0 + (_a1 + (_a1 << 1)) + (_a2 + (_a2 << 2)) + ((_a3 << 3) - _a3);
    Lanes const b = _b0 + (_b1 + (_b1 << 1)) + (_b2 + (_b2 << 2)) + ((_b3 << 3) - _b3);
    Word sum = step;
    for (Word part : {a[0], a[1], b[0], b[1]}) sum = (std::rotl(sum, 29) ^ part) * step;
    return sum ^ (sum >> 32);
  }

 private:
  static constexpr Word step = 0x9e3779b97f4a7c15u;  // 2^64 / golden ratio, odd
  Lanes _a0, _a1, _a2, _a3;
  Lanes _b0, _b1, _b2, _b3;
};

Lanes lanesAt(Word const* words) {
  Lanes lanes;
  std::memcpy(&lanes, words, sizeof lanes);
  return lanes;
}

// How words come and go, for the four directions.
struct PlainSource {
  void const* from;
  Word word(std::size_t i) const {
    Word value;
    std::memcpy(&value, static_cast<std::byte const*>(from) + i * sizeof(Word), sizeof value);
    return value;
  }
  Lanes lanes(std::size_t i) const {
    Lanes value;
    std::memcpy(&value, static_cast<std::byte const*>(from) + i * sizeof(Word), sizeof value);
    return value;
  }
};

struct SharedSource {
  Word const* from;
  Word word(std::size_t i) const { return Words::loadRow(from + i); }
  Lanes lanes(std::size_t i) const { return Lanes{word(i), word(i + 1)}; }
};

struct NoSink {
  void word(std::size_t, Word) const {}
  void lanes(std::size_t, Lanes, PlainSource) const {}
};

struct PlainSink {
  void* to;
  void word(std::size_t i, Word value) const {
    std::memcpy(static_cast<std::byte*>(to) + i * sizeof(Word), &value, sizeof value);
  }
  template <class Source>
  void lanes(std::size_t i, Lanes value, Source) const {
    std::memcpy(static_cast<std::byte*>(to) + i * sizeof(Word), &value, sizeof value);
  }
};

struct SharedSink {
  Word* to;
  void word(std::size_t i, Word value) const { Words::storeRow(to + i, value); }
  // Loads the words once more: cheaper than taking them out of a vector register.
  void lanes(std::size_t i, Lanes, PlainSource source) const {
    word(i, source.word(i));
    word(i + 1, source.word(i + 1));
  }
};

template <class Source, class Sink>
Word move(Sink sink, Source source, std::size_t words, Word seed) {
  Sums sums(seed);
  std::size_t i = 0;
  for (; i + blockWords <= words; i += blockWords) {
    Lanes const w0 = source.lanes(i);
    Lanes const w1 = source.lanes(i + 2);
    Lanes const w2 = source.lanes(i + 4);
    Lanes const w3 = source.lanes(i + 6);
    sink.lanes(i, w0, source);
    sink.lanes(i + 2, w1, source);
    sink.lanes(i + 4, w2, source);
    sink.lanes(i + 6, w3, source);
    sums.add(w0, w1, w2, w3);
  }
  if (i < words) {
    Word last[blockWords] = {};
    for (std::size_t n = 0; i + n < words; ++n) {
      last[n] = source.word(i + n);
      sink.word(i + n, last[n]);
    }
    sums.add(lanesAt(last), lanesAt(last + 2), lanesAt(last + 4), lanesAt(last + 6));
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
