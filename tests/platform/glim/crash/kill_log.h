// What a writer that will be killed at any moment means to do, and what it has done: in memory that
// it shares with those who look after it, and that no table code knows of.
//
// One writer at a time works on the tables of one generation. Each of its operations has a number
// of its own, which is the value of the row that it writes, so that values of a key only grow.
#pragma once

#include <sys/mman.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

#include "tests/platform/glim/test_records.h"

namespace GlimCrash {

// More than one chunk of the file has room for.
constexpr std::size_t killKeys = 200;
constexpr std::size_t generations = 400;

// The number of an operation, and whether the row is there after it.
class Deed {
 public:
  Deed() = default;
  Deed(std::uint64_t number, bool present) : _word(number << 1 | std::uint64_t{present}) {}
  explicit Deed(std::uint64_t word) : _word(word) {}
  std::uint64_t word() const { return _word; }
  std::uint64_t number() const { return _word >> 1; }
  bool present() const { return (_word & 1) != 0; }
  bool operator==(Deed const&) const = default;

 private:
  std::uint64_t _word = 0;
};

struct KillLog {
  struct OfKey {
    std::atomic<std::uint64_t> intent;
    std::atomic<std::uint64_t> done;
  };
  struct Generation {
    std::atomic<bool> created;  // its table has been there
    std::array<OfKey, killKeys> keys;
  };

  std::array<Generation, generations> generation;
  std::atomic<std::uint64_t> now;                // which generation
  std::atomic<std::uint64_t> operations;         // begun, in all
  std::atomic<std::uint64_t> conquests;          // finished, in all
  std::atomic<std::uint64_t> resolved;           // kills that left an operation begun
  std::atomic<std::uint64_t> nanosecondsToTake;  // the table, the last time
  std::atomic<std::uint64_t> moves;
  std::atomic<std::uint64_t> growths;
  std::atomic<bool> stop;
  // By the readers.
  std::atomic<std::uint64_t> lookups, walks, busy, retired;

  // All zero, and seen by every process that is forked later.
  static KillLog& make() {
    return *static_cast<KillLog*>(::mmap(nullptr, sizeof(KillLog), PROT_READ | PROT_WRITE,
                                         MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  }
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

// The operations of one key around the time of a look at it.
struct Watched {
  Deed intent, done;

  explicit Watched(KillLog::OfKey const& key) : intent(key.intent.load()), done(key.done.load()) {}
  // What may have been seen, when `later` is the intent after the look: no row (0) or its value.
  // Between two looks many operations may have gone by, which then cannot be told apart.
  bool mayHaveBeen(std::uint64_t value, Deed later) const {
    if (later == intent) {
      auto const is = [&](Deed deed) { return value == (deed.present() ? deed.number() : 0); };
      return is(done) || is(intent);
    }
    return value == 0 || (value >= done.number() && value <= later.number());
  }
};

inline std::string killKey(std::size_t i) { return "Ethernet" + std::to_string(i); }
inline std::string killTable(std::string const& directory, std::uint64_t generation) {
  return directory + "/table-" + std::to_string(generation);
}

}  // namespace GlimCrash
