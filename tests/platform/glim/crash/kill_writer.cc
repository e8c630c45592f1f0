#include "tests/platform/glim/crash/kill_writer.h"

#include <time.h>

#include <csignal>
#include <random>

#include "platform/glim/collection.h"

namespace GlimCrash {

using GlimTest::Large;
using GlimTest::largeRow;
using GlimTest::NameKey;

namespace {

class KillWriter {
 public:
  KillWriter(KillLog& log, std::string const& directory, std::uint32_t maxRows, std::uint64_t seed)
      : _log(log),
        _generation(log.generation[log.now]),
        _path(killTable(directory, log.now)),
        _maxRows(maxRows),
        _random(seed) {
    take();
  }

  // What the last writer had begun is either done or not, and all else is as it was done.
  int settle() {
    for (std::size_t i = 0; i < killKeys; ++i) {
      auto& key = _generation.keys[i];
      Deed const intent(key.intent.load());
      Deed const done(key.done.load());
      std::uint64_t const value = valueOf(i);
      if (!intent.present() && value == 0) {
        key.done = intent.word();
      } else if (intent.present() && value == intent.number()) {
        key.done = intent.word();
      } else if (value == (done.present() ? done.number() : 0)) {
        key.intent = done.word();
      } else {
        return 3;
      }
      if (intent != done) ++_log.resolved;
    }
    return _table->map().implementation().validate() ? 0 : 4;
  }

  int work() {
    ++_log.conquests;
    for (;;) {
      std::size_t const i = _random() % killKeys;
      switch (_random() % 32) {
        case 0:
          _table->heartbeat();
          break;
        case 1:
          _table->directWrite(NameKey(killKey(i)))->counts.fill(_random());
          break;  // and is left alone
        case 2:   // seldom: it takes as long as hundreds of the others
          if (_random() % 16 != 0) break;
          _table->detach();
          take();
          break;
        case 3:
          _table->map().implementation().cleanup();
          break;
        case 4:
        case 5:
        case 6:
        case 7:
        case 8:
        case 9:
          perform(i, false, [&](std::uint64_t) { _table->remove(NameKey(killKey(i))); });
          break;
        case 10:
        case 11:
        case 12:
        case 13:
        case 14:
        case 15:
          perform(i, true, [&](std::uint64_t value) {
            auto const slot = _table->directWrite(NameKey(killKey(i)));
            slot->counts.fill(value);
            _table->commit(slot);
          });
          break;
        default:
          perform(i, true,
                  [&](std::uint64_t value) { _table->write(largeRow(killKey(i), value)); });
          break;
      }
      if (_generation.keys[i].done.load() != 0 && valueOf(i) != expected(i)) return 5;
    }
  }

 private:
  void take() {
    _table = nullptr;
    _table = Kel::Ptr<Glim::Collection<Large>>::adopt(new Glim::Collection<Large>(
        _debug, Glim::RootPath(_debug, _path, false), {.maxRows = _maxRows}));
    _generation.created = true;
    _capacity = _table->map().implementation().capacity();
    if (_table->conquest()->corruptRows != 0) ::_exit(6);
    if (_table->conquest()->kind == Glim::Conquest::Kind::moved) ++_log.moves;
  }

  template <class Operation>
  void perform(std::size_t i, bool present, Operation operation) {
    auto& key = _generation.keys[i];
    Deed const deed(++_log.operations, present);
    key.intent = deed.word();
    operation(deed.number());
    key.done = deed.word();
    std::uint64_t const capacity = _table->map().implementation().capacity();
    if (capacity > _capacity) ++_log.growths;
    _capacity = capacity;
  }

  std::uint64_t valueOf(std::size_t i) {
    Large row;
    bool found = false;
    _table->safeLookup(NameKey(killKey(i)), found, row);
    return found ? row.counts[0] : 0;
  }
  std::uint64_t expected(std::size_t i) const {
    Deed const done(_generation.keys[i].done.load());
    return done.present() ? done.number() : 0;
  }

  KillLog& _log;
  KillLog::Generation& _generation;
  std::string _path;
  std::uint32_t _maxRows;
  std::mt19937_64 _random;
  Dov::Platform::DebugHandler _debug{0, [](auto const&) {}};
  Kel::Ptr<Glim::Collection<Large>> _table;
  std::uint64_t _capacity = 0;
};

std::uint64_t nanoseconds() {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000 +
         static_cast<std::uint64_t>(now.tv_nsec);
}

bool dieIn(std::uint64_t nanoseconds) {
  sigevent event{};
  event.sigev_notify = SIGEV_SIGNAL;
  event.sigev_signo = SIGKILL;
  timer_t timer{};
  itimerspec when{};
  when.it_value.tv_nsec = static_cast<long>(nanoseconds % 1'000'000'000 + 1);
  when.it_value.tv_sec = static_cast<time_t>(nanoseconds / 1'000'000'000);
  return ::timer_create(CLOCK_MONOTONIC, &event, &timer) == 0 &&
         ::timer_settime(timer, 0, &when, nullptr) == 0;
}

}  // namespace

int writeUntilKilled(KillLog& log, std::string const& directory, std::uint32_t maxRows,
                     std::uint64_t seed) {
  std::mt19937_64 random(~seed);
  bool const early = random() % 4 == 0;
  std::uint64_t const begin = nanoseconds();
  if (early && !dieIn(random() % (log.nanosecondsToTake * 3 / 2 + 1))) return 7;
  {
    // The file that is there is no table: it is set aside.
    Dov::Platform::DebugHandler debug{0, [](auto const&) {}};
    Glim::Collection<GlimTest::Small> beside(
        debug, Glim::RootPath(debug, directory + "/foreign", false), {.maxRows = 16});
    beside.write({{1}, 1});
  }
  KillWriter writer(log, directory, maxRows, seed);
  if (int const wrong = writer.settle(); wrong != 0) return wrong;
  log.nanosecondsToTake = nanoseconds() - begin;
  // A slow machine, or a sanitizer, takes longer for the table and for each operation alike.
  if (!early && !dieIn(random() % (500'000 + log.nanosecondsToTake))) return 7;
  return writer.work();
}

}  // namespace GlimCrash
