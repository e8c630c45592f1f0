// An optional 63-bit counter in one word.
#pragma once

#include <cstdint>
#include <ostream>

namespace Wib {

// The top bit set means that there is no value. Arithmetic wraps modulo 2^63
// and has no value where either operand has none.
class MaybeU63 {
 public:
  constexpr MaybeU63() = default;  // the value 0
  constexpr explicit MaybeU63(std::uint64_t value) : _word(value & kValue) {}
  static constexpr MaybeU63 none() { return fromWord(kNone); }
  // The stored form, as it stands in shared memory.
  static constexpr MaybeU63 fromWord(std::uint64_t word) {
    MaybeU63 m;
    m._word = word;
    return m;
  }

  constexpr bool hasValue() const { return (_word & kNone) == 0; }
  // REQUIRES: hasValue().
  constexpr std::uint64_t value() const { return _word & kValue; }
  constexpr std::uint64_t word() const { return _word; }

  friend constexpr MaybeU63 operator+(MaybeU63 a, MaybeU63 b) {
    return combined(a, b, a._word + b._word);
  }
  friend constexpr MaybeU63 operator-(MaybeU63 a, MaybeU63 b) {
    return combined(a, b, a._word - b._word);
  }
  // All forms of "no value" are equal.
  friend constexpr bool operator==(MaybeU63 a, MaybeU63 b) {
    return a.hasValue() ? a._word == b._word : !b.hasValue();
  }
  friend std::ostream& operator<<(std::ostream& out, MaybeU63 m) {
    return m.hasValue() ? out << m.value() : out << "n/a";
  }

 private:
  static constexpr std::uint64_t kNone = std::uint64_t{1} << 63;
  static constexpr std::uint64_t kValue = kNone - 1;

  // Branch-free, so that loops over arrays of these vectorise.
  static constexpr MaybeU63 combined(MaybeU63 a, MaybeU63 b, std::uint64_t result) {
    return fromWord((result & kValue) | ((a._word | b._word) & kNone));
  }

  std::uint64_t _word = 0;
};

}  // namespace Wib
