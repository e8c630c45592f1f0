#include "tests/platform/glim/crash/kill_reader.h"

#include <sched.h>

#include <map>
#include <memory>
#include <random>
#include <vector>

#include "platform/glim/reader.h"

namespace GlimCrash {

using Glim::Answer;
using GlimTest::isWhole;
using GlimTest::Large;
using GlimTest::NameKey;

namespace {

class KillReader {
 public:
  KillReader(KillLog& log, std::string const& directory, std::uint64_t generation)
      : _log(log),
        _generation(log.generation[generation]),
        _number(generation),
        _reader(killTable(directory, generation)) {}

  bool over() const { return _log.now != _number; }

  // 0, or what is wrong.
  int follow() {
    bool const created = _generation.created;
    Answer const answer = _reader.refresh();
    if (answer == Answer::retired) ++_log.retired;
    if (answer == Answer::ok || answer == Answer::retired) return 0;
    return answer == Answer::missing && (!created || over()) ? 0 : 11;
  }

  int lookUp(std::size_t i) {
    if (!_reader.attached()) return 0;
    Watched const watched(_generation.keys[i]);
    Large row;
    Answer const answer = _reader.lookup(NameKey(killKey(i)), row);
    Deed const later(_generation.keys[i].intent.load());
    ++_log.lookups;
    switch (answer) {
      case Answer::ok:
        return saw(i, row, watched, later);
      case Answer::absent:
        return watched.mayHaveBeen(0, later) ? 0 : 12;
      case Answer::busy:
        ++_log.busy;
        return 0;
      case Answer::retired:
        return 0;
      default:
        return 13;
    }
  }

  int walk() {
    if (!_reader.attached()) return 0;
    std::vector<Watched> watched(_generation.keys.begin(), _generation.keys.end());
    std::map<std::string, Large> rows;
    bool twice = false;
    Glim::WalkResult const walk = _reader.forEach([&](Large const& row) {
      twice = !rows.emplace(row.key.stringValue(), row).second || twice;
    });
    if (walk.end == Answer::retired) return 0;
    ++_log.walks;
    if (walk.corrupt != 0) return 14;
    if (walk.busy != 0) return 0;
    bool changed = false;
    for (std::size_t i = 0; i < killKeys; ++i) {
      Deed const later(_generation.keys[i].intent.load());
      changed = changed || later != watched[i].done;
      auto const found = rows.find(killKey(i));
      if (found == rows.end()) {
        if (!watched[i].mayHaveBeen(0, later)) return 15;
      } else if (int const wrong = saw(i, found->second, watched[i], later); wrong != 0) {
        return wrong;
      }
    }
    // A key that is removed and made again during the walk may be met in both of its slots.
    return twice && !changed ? 16 : 0;
  }

 private:
  int saw(std::size_t i, Large const& row, Watched const& watched, Deed later) {
    if (!isWhole(row) || row.key != NameKey(killKey(i))) return 17;
    if (row.counts[0] < _last[i]) return 18;
    _last[i] = row.counts[0];
    return watched.mayHaveBeen(row.counts[0], later) ? 0 : 19;
  }

  KillLog& _log;
  KillLog::Generation const& _generation;
  std::uint64_t _number;
  Glim::Reader<Large> _reader;
  std::array<std::uint64_t, killKeys> _last{};
};

}  // namespace

int readUntilStopped(KillLog& log, std::string const& directory, std::uint64_t seed) {
  std::mt19937_64 random(seed);
  std::unique_ptr<KillReader> reader;
  while (!log.stop) {
    if (reader == nullptr || reader->over()) {
      reader = std::make_unique<KillReader>(log, directory, log.now);
    }
    if (int const wrong = reader->follow(); wrong != 0) return wrong;
    for (int n = 0; n < 50; ++n) {
      if (int const wrong = reader->lookUp(random() % killKeys); wrong != 0) return wrong;
    }
    if (int const wrong = reader->walk(); wrong != 0) return wrong;
    ::sched_yield();  // there are more of these processes than processors
  }
  return 0;
}

std::string examine(KillLog const& log, std::string const& directory) {
  auto const& generation = log.generation[log.now];
  std::string const path = killTable(directory, log.now);
  Glim::TableFile file;
  Answer const opened = file.open(path + ".glim", {});
  if (opened == Answer::missing) return generation.created ? "the table is gone" : "";
  if (opened != Answer::ok) return "the table cannot be read: " + std::string(text(opened));
  std::map<std::string, Large> rows;
  for (Glim::Word slot = 0; slot < file.slots(); ++slot) {
    Large row;
    Answer const answer = file.rowAt(slot, &row);
    if (answer == Answer::absent) continue;
    if (answer != Answer::ok) return "slot " + std::to_string(slot) + std::string(text(answer));
    if (!isWhole(row)) return "a torn row " + row.key.stringValue();
    if (!rows.emplace(row.key.stringValue(), row).second) return "a row twice";
  }
  Glim::Reader<Large> reader(path);
  if (reader.attach() != Answer::ok) return "no reader can attach";
  std::size_t begun = 0;
  std::size_t known = 0;
  for (std::size_t i = 0; i < killKeys; ++i) {
    Watched const watched(generation.keys[i]);
    begun += watched.intent != watched.done;
    std::string const key = killKey(i);
    known += rows.contains(key);
    std::uint64_t const walked = rows.contains(key) ? rows[key].counts[0] : 0;
    if (!watched.mayHaveBeen(walked, watched.intent)) return key + " is not what was written";
    Large row;
    Answer const answer = reader.lookup(NameKey(key), row);
    if (answer == Answer::ok && row == rows[key]) continue;
    // A row that is about to be inserted is published first and linked then.
    bool const linked = walked != 0 && watched.intent == watched.done;
    if (answer != Answer::absent || linked || watched.done.present()) {
      if (walked != 0 || answer != Answer::absent) return key + " is not found";
    }
  }
  if (begun > 1) return "more than one operation at a time";
  return known == rows.size() ? "" : "a row that nobody wrote";
}

}  // namespace GlimCrash
