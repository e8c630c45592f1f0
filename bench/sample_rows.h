// The rows that the benchmarks of tables work on, and the order in which all of them do.
#pragma once

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <compare>
#include <cstdint>
#include <new>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/glim/record.h"
#include "platform/pekt/intf_id.h"

namespace Bench {

struct NumberKey {
  std::uint64_t value = 0;

  std::uint32_t hash() const { return static_cast<std::uint32_t>(value); }
  std::string stringValue() const { return std::to_string(value); }
  auto operator<=>(NumberKey const&) const = default;
};

// 16 bytes, 96 bytes and 1 KB.
struct Small {
  NumberKey key;
  std::array<std::uint64_t, 1> counts{};
  bool operator==(Small const&) const = default;
};
template <std::size_t n>
struct PortRow {
  Pekt::IntfId key;
  std::array<std::uint64_t, n> counts{};
  bool operator==(PortRow const&) const = default;
};
using Middle = PortRow<6>;
using Large = PortRow<122>;
static_assert(sizeof(Small) == 16 && sizeof(Middle) == 96 && sizeof(Large) == 1024);

// Keys whose hashes lie anywhere: those of consecutive numbers would never collide.
inline NumberKey keyOf(std::type_identity<NumberKey>, std::uint64_t number) {
  std::uint64_t const value = (number + 1) * 0xd6e8feb86659fd93u;
  return {value ^ value >> 32};
}
inline Pekt::IntfId keyOf(std::type_identity<Pekt::IntfId>, std::uint64_t number) {
  return Pekt::IntfId("Ethernet" + std::to_string(number + 1));
}

// All numbers below `count`, in an order that no prefetcher foresees.
inline std::vector<std::uint32_t> shuffled(std::size_t count, std::uint32_t seed) {
  std::vector<std::uint32_t> numbers(count);
  for (std::uint32_t i = 0; auto& number : numbers) number = i++;
  std::shuffle(numbers.begin(), numbers.end(), std::mt19937(seed));
  return numbers;
}

// Private memory that begins at a line of the cache, which a memcpy likes best.
template <class T>
struct LineAllocator {
  using value_type = T;
  LineAllocator() = default;
  template <class U>
  LineAllocator(LineAllocator<U> const&) {}
  T* allocate(std::size_t n) {
    return static_cast<T*>(::operator new(n * sizeof(T), std::align_val_t(64)));
  }
  void deallocate(T* at, std::size_t) { ::operator delete(at, std::align_val_t(64)); }
  bool operator==(LineAllocator const&) const = default;
};
template <class T>
using Lines = std::vector<T, LineAllocator<T>>;

template <class RecordType>
class SampleRows {
 public:
  using Record = RecordType;
  using Key = decltype(Record::key);

  explicit SampleRows(std::size_t count) : rows(count), keys(count), absentKeys(count) {
    for (std::size_t i = 0; i < count; ++i) {
      keys[i] = keyOf(std::type_identity<Key>(), i);
      absentKeys[i] = keyOf(std::type_identity<Key>(), i + count);
      rows[i].key = keys[i];
    }
    change();
    for (std::uint32_t seed = 1; order.size() < roundVisits; ++seed) {
      auto const once = shuffled(count, seed);
      order.insert(order.end(), once.begin(), once.end());
    }
  }

  std::size_t count() const { return rows.size(); }

  // Each row tells its number and its generation in each counter.
  void contentIs(Record& row, std::size_t number, std::uint64_t generation) const {
    row.counts.fill(generation << numberBits | number);
  }
  // New content for all rows.
  void change() {
    ++_generation;
    for (std::size_t i = 0; i < count(); ++i) contentIs(rows[i], i, _generation);
  }
  // Whether it is row `number` of any one generation.
  bool isWhole(Record const& row, std::size_t number) const {
    std::uint64_t const first = row.counts[0];
    return row.key == keys[number] && (first & ((1u << numberBits) - 1)) == number &&
           std::ranges::all_of(row.counts, [&](std::uint64_t c) { return c == first; });
  }

  Lines<Record> rows;
  std::vector<Key> keys;
  std::vector<Key> absentKeys;
  // Of any one row.
  bool isWhole(Record const& row) const {
    std::size_t const number = row.counts[0] & ((1u << numberBits) - 1);
    return number < count() && isWhole(row, number);
  }

  // So many visits a round that the clock's own cost does not show, and few enough that most rounds
  // go undisturbed.
  static constexpr std::size_t roundVisits = 4096;
  // The numbers of the rows to visit, at least for one round.
  std::vector<std::uint32_t> order;

 private:
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

template <>
struct Glim::RecordTraits<Bench::Small> {
  using Key = Bench::NumberKey;
  static constexpr std::string_view name = "Small";
  static constexpr std::array fields{Field{"key", FieldType::u64, 0},
                                     Field{"counts", FieldType::u64, 8}};
  static Key const& key(Bench::Small const& record) { return record.key; }
};

template <std::size_t n>
struct Glim::RecordTraits<Bench::PortRow<n>> {
  using Key = Pekt::IntfId;
  static constexpr std::string_view name = "PortRow";
  static constexpr std::array fields{Field{"key", FieldType::text, 0, sizeof(Key)},
                                     Field{"counts", FieldType::u64, sizeof(Key), n}};
  static Key const& key(Bench::PortRow<n> const& record) { return record.key; }
};
