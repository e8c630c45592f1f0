#include "tests/platform/glim/model/find_checks.h"

#include <optional>
#include <set>
#include <stdexcept>

#include "platform/glim/table_reader.h"

namespace GlimModel {

using Glim::Answer;

namespace {

// What is right to say of a key at each stamp.
class Truth {
 public:
  Truth(RecordedTable const& table, History const& history, Key key) {
    ModelReader reader(table, history);
    std::size_t nextEnd = 0;
    auto const& ends = table.operationEnds();
    bool inTable = false;
    for (Stamp stamp = 0; stamp <= history.end(); ++stamp) {
      std::optional<std::uint64_t> live;
      for (Word slot = 0; slot < table.file().slots(); ++slot) {
        Row row;
        Answer answer{};
        reader.runAt(stamp, [&] { answer = table.file().rowAt(slot, &row); });
        if (answer == Answer::ok && row.key == key) live = row.count;
      }
      bool operationEnds = stamp == 0;
      for (; nextEnd < ends.size() && ends[nextEnd] == stamp; ++nextEnd) operationEnds = true;
      inTable = live && (inTable || operationEnds);
      Moment const moment{live, inTable};
      if (_moments.empty() || _moments.back() != moment) _moments.push_back(moment);
      _classes.push_back(_moments.size() - 1);
    }
  }

  std::vector<Word> const& classes() const { return _classes; }
  // The stamps at which one begins.
  std::vector<Stamp> beginnings() const {
    std::vector<Stamp> stamps;
    for (Stamp stamp = 0; stamp < _classes.size(); ++stamp) {
      if (stamp == 0 || _classes[stamp] != _classes[stamp - 1]) stamps.push_back(stamp);
    }
    return stamps;
  }
  bool allows(Answer answer, std::uint64_t count, Word from, Word to) const {
    for (Word i = from; i <= to; ++i) {
      if (answer == Answer::ok && _moments[i].live == count) return true;
      if (answer == Answer::absent && !_moments[i].inTable) return true;
    }
    return false;
  }

 private:
  struct Moment {
    std::optional<std::uint64_t> live;  // the count of the row
    bool inTable = false;
    bool operator==(Moment const&) const = default;
  };
  std::vector<Moment> _moments;
  std::vector<Word> _classes;
};

std::size_t loadsOfIndexVersion(std::vector<Read> const& reads) {
  std::size_t n = 0;
  for (Read const& read : reads) n += read.at == indexVersionLocation();
  return n;
}

}  // namespace

FindFindings search(RecordedTable const& table, Program const& program, Key key,
                    ReaderLacks lacks) {
  FindFindings findings;
  History const history(program, table.initial());
  Truth const truth(table, history, key);
  Glim::TableReader tableReader(table.path());
  if (tableReader.attach() != Answer::ok) throw std::runtime_error("no table");
  ModelReader reader(table, history, lacks);
  reader.classesAre(truth.classes());
  reader.wantedIs(key.value);
  // A search that has more behind it can do no more than one that has less, and what it may say
  // differs only from class to class: so the beginnings of the classes stand for all stamps.
  for (Stamp const stamp : truth.beginnings()) {
    Word const from = truth.classes()[stamp];
    Answer answer{};
    Row row;
    auto const isKey = [key](void const* at) { return Glim::keyAt<Key>(at) == key; };
    reader.explore(
        View(stamp), from, [&] { answer = tableReader.find(key.hash(), isKey, &row); },
        [&] {
          findings.found += answer == Answer::ok;
          findings.absent += answer == Answer::absent;
          findings.longWays +=
              loadsOfIndexVersion(reader.reads()) != (answer == Answer::ok ? 1 : 2);
          if (findings.wrong.empty() &&
              !truth.allows(answer, row.count, from, reader.newestClass())) {
            findings.wrong = "key " + key.stringValue() + ": " + std::string(Glim::text(answer)) +
                             " to a reader of step " + std::to_string(stamp) + "\n" +
                             reader.trace();
          }
        });
  }
  // Else what is left of a search's budgets would be part of its state.
  auto const& most = reader.most();
  if (most.heads * most.buckets > table.geometry().maxRows + 65 || most.heads * most.rows > 64) {
    throw std::logic_error("a search may have used its budgets up");
  }
  findings.runs = reader.runs();
  findings.states = reader.states();
  return findings;
}

bool maybeFoundAndThenMissed(RecordedTable const& table, Key key) {
  History const history(table.program(), table.initial());
  Glim::TableReader tableReader(table.path());
  if (tableReader.attach() != Answer::ok) throw std::runtime_error("no table");
  Answer answer{};
  auto const find = [&] {
    Row row;
    answer = tableReader.find(
        key.hash(), [key](void const* at) { return Glim::keyAt<Key>(at) == key; }, &row);
  };
  std::set<View> knowing;
  ModelReader first(table, history);
  first.wantedIs(key.value);
  first.explore(View(), 0, find, [&] {
    if (answer == Answer::ok) knowing.insert(first.view());
  });
  bool missed = false;
  ModelReader next(table, history);
  next.wantedIs(key.value);
  for (View const& view : knowing) {
    next.explore(view, 0, find, [&] { missed = missed || answer == Answer::absent; });
  }
  return missed;
}

}  // namespace GlimModel
