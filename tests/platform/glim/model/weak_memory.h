// The C++ memory model, as far as a table needs it, as a machine that can be run.
//
// A table has one writer at a time, which stores and never decides anything by what it loads from
// the file, and readers, which load and never store. For such programs the model below is exact: it
// allows what the standard allows, no more and no less.
//   - reads-from leads from the writer to a reader and nothing leads back, so sequenced-before and
//     reads-from together cannot form a cycle: executions that take their values out of thin air,
//     or let a store pass an earlier load of the same thread (load buffering), do not arise, and
//     need no promises.
//   - Readers cannot affect each other: one reader stands for any number.
//   - The writer's program is fixed before a reader takes its first step, so that it may be run to
//     its end first. Each interleaving is then one choice, at each load, of the store it reads.
//
// The machine. Each store of the writer is a message: its value, its stamp (its place in the
// writer's program; it orders the messages of a word, which is their modification order), and the
// stamp up to which a reader that synchronizes with the message has everything: the store's own
// stamp for a release store, that of the last release fence before it for a relaxed one. With one
// writer such a prefix of its program says all that the vectors of timestamps of the general model
// say (Kang and others, "A promising semantics for relaxed-memory concurrency", POPL 2017, without
// the promises). A reader has a view:
//   current   everything stored up to here happens before the reader's next step
//   acquired  what an acquire fence would make current
//   seen      of single words, the newest message that was read
// and its steps are
//   load of a word    any message not older than the newest one that is current or seen:
//                     [intro.races], write-read and read-read coherence. Then the message is seen,
//                     and its prefix is acquired.
//   load, acquire     the same, and its prefix becomes current: [atomics.order], a release store
//                     synchronizes with an acquire load that takes its value; [atomics.fences] 3,
//                     so does a release fence before the store.
//   fence, acquire    what is acquired becomes current: [atomics.fences] 2 and 4.
// A release sequence is its head alone, as in C++20: nobody does read-modify-writes, and later
// stores of the same thread no longer count.
//
// Writers that follow each other are threads that follow each other: the next one has the lock that
// the kernel took from the former, so whatever that one stored happens before its first step. Its
// predecessor's fences are not its own.
//
// axioms.h says the same in the standard's own terms; a test compares the two.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace GlimModel {

using Word = std::uint64_t;
using Location = std::uint32_t;  // a word's number within the memory
using Stamp = std::uint32_t;     // steps of the writers; 0: before the first one

// What writers do, in the order of their programs.
struct Step {
  enum class Kind : std::uint8_t { store, fence, nextWriter, nothing };
  Kind kind = Kind::store;
  std::memory_order order = std::memory_order_relaxed;
  Location at = 0;
  Word value = 0;

  static Step store(Location at, Word value, std::memory_order order) {
    return {Kind::store, order, at, value};
  }
  static Step fence() { return {Kind::fence, std::memory_order_release, 0, 0}; }
  static Step nextWriter() { return {Kind::nextWriter, std::memory_order_relaxed, 0, 0}; }
  static Step nothing() { return {Kind::nothing, std::memory_order_relaxed, 0, 0}; }
  bool operator==(Step const&) const = default;
};
using Program = std::vector<Step>;

struct Message {
  Stamp stamp;
  Word value;
  Stamp carries;  // the prefix of the program that a reader who synchronizes with it has
};

// All messages of a program. The step at index i of the program has stamp i + 1.
class History {
 public:
  History(Program const& program, std::vector<Word> const& initial);

  // In modification order. The first one is the initial value, which happens before everything.
  std::vector<Message> const& of(Location at) const { return _messages[at]; }
  Stamp end() const { return _end; }
  // The word's value when everything up to the stamp, and nothing later, was stored.
  Word valueAt(Location at, Stamp stamp) const { return of(at)[newestAt(at, stamp)].value; }
  // The index of the newest message up to a stamp.
  std::size_t newestAt(Location at, Stamp stamp) const;

 private:
  std::vector<std::vector<Message>> _messages;
  Stamp _end;
};

// What a reader knows.
class View {
 public:
  // A reader that has synchronized with everything up to a stamp, and read nothing beyond it. What
  // any other reader with this much behind it may do, this one may do: what else a reader can have
  // seen or acquired only takes choices away.
  explicit View(Stamp synchronized = 0) : _current(synchronized), _acquired(synchronized) {}

  // The choices of a load: messages from this index on.
  std::size_t oldest(History const& history, Location at) const;
  void load(History const& history, Location at, std::size_t message, std::memory_order order);
  void acquireFence(History const& history);

  Stamp current() const { return _current; }
  bool operator==(View const&) const = default;
  auto operator<=>(View const&) const = default;
  void appendTo(std::vector<Word>& key) const;

 private:
  void makeCurrent(History const& history, Stamp stamp);

  Stamp _current;
  Stamp _acquired;
  // Sorted; only what is newer than what is current, so that equal views compare equal.
  std::vector<std::pair<Location, Stamp>> _seen;
};

}  // namespace GlimModel
