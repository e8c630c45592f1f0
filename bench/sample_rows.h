// The rows that the benchmarks of tables work on, and the order in which all of them do.
#pragma once

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "tests/platform/glim/test_records.h"

namespace Bench {

inline std::span<std::uint64_t> counters(GlimTest::Small& row) { return {&row.count, 1}; }
inline std::span<std::uint64_t> counters(GlimTest::Middle& row) { return row.counts; }
inline std::span<std::uint64_t> counters(GlimTest::Large& row) { return row.counts; }
template <class Record>
std::uint64_t lastCounter(Record& row) {
  return counters(row).back();
}

// Keys whose hashes lie anywhere: of consecutive numbers they would not collide.
inline void nameIs(GlimTest::NumberKey& key, std::uint64_t number) {
  key.value = (number + 1) * 0xd6e8feb86659fd93u;
  key.value ^= key.value >> 32;
}
inline void nameIs(GlimTest::NameKey& key, std::uint64_t number) {
  key = GlimTest::NameKey("Ethernet" + std::to_string(number + 1));
}

// All numbers below `count`, in an order that no prefetcher foresees.
inline std::vector<std::uint32_t> shuffled(std::size_t count, std::uint32_t seed) {
  std::vector<std::uint32_t> numbers(count);
  for (std::uint32_t i = 0; auto& number : numbers) number = i++;
  std::shuffle(numbers.begin(), numbers.end(), std::mt19937(seed));
  return numbers;
}

template <class RecordType>
class SampleRows {
 public:
  using Record = RecordType;
  using Key = decltype(Record::key);

  explicit SampleRows(std::size_t count) : rows(count), keys(count), absentKeys(count) {
    for (std::size_t i = 0; i < count; ++i) {
      nameIs(keys[i], i);
      nameIs(absentKeys[i], i + count);
      rows[i].key = keys[i];
    }
    change();
    // So many visits a round that the clock's own cost does not show.
    for (std::uint32_t seed = 1; order.size() < leastVisits; ++seed) {
      auto const once = shuffled(count, seed);
      order.insert(order.end(), once.begin(), once.end());
    }
  }

  std::size_t count() const { return rows.size(); }

  // Each row tells its number and its generation in each counter.
  void contentIs(Record& row, std::size_t number, std::uint64_t generation) const {
    std::ranges::fill(counters(row), generation << numberBits | number);
  }
  // New content for all rows.
  void change() {
    ++_generation;
    for (std::size_t i = 0; i < count(); ++i) contentIs(rows[i], i, _generation);
  }
  // Whether it is row `number` of any one generation.
  bool isWhole(Record row, std::size_t number) const {
    std::uint64_t const first = counters(row)[0];
    return row.key == keys[number] && (first & ((1u << numberBits) - 1)) == number &&
           std::ranges::all_of(counters(row), [&](std::uint64_t c) { return c == first; });
  }

  std::vector<Record> rows;
  std::vector<Key> keys;
  std::vector<Key> absentKeys;
  // The numbers of the rows to visit in a round.
  std::vector<std::uint32_t> order;

 private:
  static constexpr std::size_t leastVisits = 4096;
  static constexpr unsigned numberBits = 20;
  std::uint64_t _generation = 0;
};

// Memory that this process shares with those that it starts, on tmpfs as tables are.
template <class T>
class SharedMemory {
 public:
  explicit SharedMemory(std::size_t count) : _bytes(count * sizeof(T)) {
    void* const at = ::mmap(nullptr, _bytes, PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    if (at == MAP_FAILED) throw std::bad_alloc();
    _at = static_cast<T*>(at);
  }
  ~SharedMemory() { ::munmap(_at, _bytes); }
  SharedMemory(SharedMemory const&) = delete;
  SharedMemory& operator=(SharedMemory const&) = delete;

  T* get() const { return _at; }
  T& operator[](std::size_t i) const { return _at[i]; }

 private:
  std::size_t _bytes;
  T* _at;
};

}  // namespace Bench
