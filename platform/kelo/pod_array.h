// A fixed-capacity array of plain records.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

namespace Kelo {

// The text of the error of PodArray::set, with a hexadecimal dump of so many bytes of the buffer.
std::string podArraySizeText(std::size_t capacity, std::size_t count, void const* buffer,
                             std::size_t bytes);
[[noreturn]] void throwPodArraySize(std::string const& text);

// Up to N records of type T, of which the first size() are in use. Index is
// the type that reads and writes single entries; its value() is 0 to N - 1.
template <class T, class Index, std::uint32_t N>
requires std::is_trivially_copyable_v<T>
class PodArray {
 public:
  static constexpr std::uint32_t kCapacity = N;

  std::uint32_t size() const { return _count; }
  T const& operator[](Index index) const { return _entries[index.value()]; }
  T& operator[](Index index) { return _entries[index.value()]; }
  // More than N is N. Entries between the old and the new size are as they were: zero unless
  // written.
  void sizeIs(std::uint32_t count) { _count = count < N ? count : N; }

  T const* begin() const { return _entries.data(); }
  T const* end() const { return _entries.data() + _count; }

  // Takes `count` records from a raw buffer. Throws Dov::InvalidSizeException,
  // naming both sizes and dumping the buffer, when count is above N.
  void set(std::size_t count, void const* data) {
    if (count > N) throwPodArraySize(podArraySizeText(N, count, data, count * sizeof(T)));
    if (count) std::memcpy(_entries.data(), data, count * sizeof(T));
    _count = static_cast<std::uint32_t>(count);
  }

  // Takes the records of another array. One that was made from damaged memory may say that it has
  // more than N: that is the same error, with a dump of the N that there are.
  void set(PodArray const& other) {
    if (other._count > N)
      throwPodArraySize(podArraySizeText(N, other._count, other._entries.data(), N * sizeof(T)));
    set(other._count, other._entries.data());
  }

  bool operator==(PodArray const&) const = default;

 private:
  std::array<T, N> _entries{};
  std::uint32_t _count = 0;
  std::uint32_t _reserved = 0;  // rows in shared memory have no padding
};

}  // namespace Kelo
