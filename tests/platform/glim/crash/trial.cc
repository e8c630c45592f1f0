#include "tests/platform/glim/crash/trial.h"

#include <sys/stat.h>

#include <algorithm>

#include "platform/dov/exception.h"

namespace GlimCrash {

using Glim::Answer;

namespace {

// Keys that no scenario has.
constexpr std::uint64_t newKeys[] = {0x7000000000001, 0x7100000000002};

std::uint64_t const absentKey = 0x7200000000003;

}  // namespace

Trial::Trial(Scenario const& scenario, Place const& place)
    : _scenario(scenario),
      _place(place),
      _openNext(scenario.openNext ? scenario.openNext : scenario.open) {
  _keys = {newKeys[0], newKeys[1], absentKey};
  for (State const& state : scenario.states) {
    for (auto const& [key, value] : state.rows) _keys.insert(key);
    _keys.insert(state.damaged.begin(), state.damaged.end());
  }
  _place.clear();
  _scenario.prepare(_place);
  _stayers.push_back(attach());
  _follower = attach();
  _firstFile = named();
  _versions = versions(_place.file());
  check(look(*_follower.reader, _follower.answer, _keys), "the first");
}

ino_t Trial::named() const {
  struct stat status {};
  return ::stat(_place.file().c_str(), &status) == 0 ? status.st_ino : 0;
}

void Trial::follow(Attached& attached, Answer answer) {
  attached.answer = answer;
  attached.inode = named();
  attached.standsIn = answer == Answer::ok && attached.reader->file().retired();
}

Trial::Attached Trial::attach() {
  Attached attached{.reader = std::make_unique<Glim::TableReader>(_place.path())};
  follow(attached, attached.reader->attach());
  return attached;
}

End Trial::killWriter(std::uint64_t at) {
  if (!_scenario.act) return killWhileTaking(at, _scenario.open);
  return killAt(
      at, [this] { return _scenario.open(_place); },
      [this](WriterPtr const& writer) { _scenario.act(*writer); });
}

End Trial::killNextWriter(std::uint64_t at) { return killWhileTaking(at, _openNext); }

End Trial::killWhileTaking(std::uint64_t at, Open const& open) {
  // The writer must outlive the work: what it does when it goes is no part of it.
  WriterPtr kept;
  return killAt(
      at, [] { return 0; }, [&](int) { kept = open(_place); });
}

void Trial::check(View const& view, std::string const& who) {
  _epoch = std::max(_epoch, view.epoch);
  if (view.answer == Answer::retired) return;
  auto const& states = _scenario.states;
  for (std::size_t i = _least; i < states.size(); ++i) {
    if (!walkedIs(view, states[i]) || !lookedUpIs(view, states[i])) continue;
    _least = i;
    return;
  }
  fail(who + " reader sees " + text(view) + ", none of the states from " + std::to_string(_least));
}

void Trial::inspect() {
  Glim::Word const epoch = _epoch;
  ino_t const now = named();
  for (Attached& stayer : _stayers) {
    if (stayer.standsIn) follow(stayer, stayer.reader->refresh());
    if (!stayer.reader->attached()) continue;
    View const view = look(*stayer.reader, Answer::ok, _keys);
    check(view, "the old");
    if (stayer.inode != now && view.answer != Answer::retired) {
      fail("a reader is not told that its file was replaced");
    }
  }
  Attached fresh = attach();
  View const view = look(*fresh.reader, fresh.answer, _keys);
  check(view, "a new");
  _retired = _retired || view.answer == Answer::retired;
  if (view.answer == Answer::ok && view.epoch < epoch) fail("the epoch went back");
  Answer const followed = _follower.reader->refresh();
  View const same = look(*_follower.reader, followed, _keys);
  if (text(same) != text(view)) fail("who follows sees " + text(same) + ", not " + text(view));
  checkVersions();
  if (fresh.reader->attached()) _stayers.push_back(std::move(fresh));
}

void Trial::expectOf(Glim::TableReader const& reader, Answer answer, Rows const& rows,
                     std::string const& who) {
  State const expected{.rows = rows, .record = _scenario.states.back().record};
  View const view = look(reader, answer, _keys);
  if (walkedIs(view, expected) && lookedUpIs(view, expected)) return;
  fail(who + " sees " + text(view) + " of a table of " + std::to_string(rows.size()) + " rows");
}

void Trial::expectEverywhere(Rows const& rows) {
  Attached const fresh = attach();
  expectOf(*fresh.reader, fresh.answer, rows, "a new reader after the recovery");
  for (Attached const& stayer : _stayers) {
    Answer const answer = stayer.reader->refresh();
    expectOf(*stayer.reader, answer, rows, "an old reader after the recovery");
  }
  Answer const answer = _follower.reader->refresh();
  expectOf(*_follower.reader, answer, rows, "who follows after the recovery");
}

void Trial::recover() {
  try {
    WriterPtr writer = _openNext(_place);
    Rows const rows = writer->rows();
    auto const& states = _scenario.states;
    bool const known = std::any_of(
        states.begin() + static_cast<std::ptrdiff_t>(_least), states.end(), [&](State const& s) {
          return s.answer == Answer::ok && s.record == states.back().record && s.rows == rows;
        });
    if (!known) fail("the next writer has " + std::to_string(rows.size()) + " rows, or others");
    if (!writer->sound()) fail("the next writer's file is not what it knows");
    if (writer->epoch() <= _epoch) fail("the next writer's epoch is not a new one");
    checkVersions();
    expectEverywhere(rows);
    workOn(*writer, rows);
    checkVersions();
  } catch (Dov::Exception const& exception) {
    fail("the next writer: " + exception.msg());
  }
  checkNames();
}

void Trial::workOn(Writer& writer, Rows rows) {
  if (!rows.empty()) writer.write(rows.begin()->first, rows.begin()->second = 901);
  if (rows.size() > 1) {
    writer.remove(std::prev(rows.end())->first);
    rows.erase(std::prev(rows.end()));
  }
  writer.write(newKeys[0], rows[newKeys[0]] = 902);
  writer.writeDirectly(newKeys[1], rows[newKeys[1]] = 903);
  writer.writeDirectly(newKeys[1], 904, false);
  writer.heartbeat();
  expectEverywhere(rows);
  if (!writer.sound()) fail("the file of the writer that worked on is not what it knows");
  writer.detach();
  WriterPtr const after = _openNext(_place);
  if (after->rows() != rows) fail("the writer after that has other rows");
  auto const& conquest = after->conquest();
  if (conquest.kind != Glim::Conquest::Kind::adopted || conquest.corruptRows != 0 ||
      conquest.indexRebuilt) {
    fail("the writer after that found damage");
  }
}

void Trial::checkVersions() {
  Versions const now = versions(_place.file());
  if (!_scenario.versionsBeginAnew && _versions.wentBackTo(now)) fail("a version went back");
  _versions = now;
}

void Trial::checkNames() {
  std::string foundAs;
  for (auto const& entry : std::filesystem::directory_iterator(_place.directory())) {
    std::string const name = entry.path().filename();
    struct stat status {};
    ::stat(entry.path().c_str(), &status);
    if (_firstFile != 0 && status.st_ino == _firstFile) foundAs += name;
    if (name != "table.glim" && name != "table.lock" && name != _scenario.keptAs &&
        !_scenario.besides.contains(name)) {
      fail("left behind: " + name);
    }
  }
  if (!_scenario.keptAs.empty() && foundAs != _scenario.keptAs) {
    fail("the first file is kept as " + foundAs + ", not as " + _scenario.keptAs);
  }
}

namespace {

void note(Enumeration& all, Scenario const& scenario, Trial const& trial,
          std::string const& where) {
  ++all.trials;
  all.seen.resize(scenario.states.size());
  ++all.seen[trial.state()];
  all.retired += trial.retired();
  if (!trial.trouble().empty() && std::count(all.trouble.begin(), all.trouble.end(), '\n') < 20) {
    all.trouble += where + "\n" + trial.trouble();
  }
}

}  // namespace

Enumeration killAtEachStep(Scenario const& scenario) {
  Enumeration all;
  Place const place;
  for (std::uint64_t at = 1;; ++at) {
    Trial trial(scenario, place);
    End const end = trial.killWriter(at);
    trial.inspect();
    trial.recover();
    note(all, scenario, trial, "killed at step " + std::to_string(at));
    if (!end.killed) all.trouble += "step " + std::to_string(at) + ": not killed\n";
    if (end.finished || !end.killed) break;
    all.steps = at;
  }
  return all;
}

Enumeration killTwice(Scenario const& scenario, std::uint64_t stride) {
  Enumeration all;
  Place const place;
  bool finished = false;
  for (std::uint64_t first = 1; !finished; ++first) {
    bool nextFinished = false;
    for (std::uint64_t second = 1 + first % stride; !nextFinished; second += stride) {
      Trial trial(scenario, place);
      End const end = trial.killWriter(first);
      trial.inspect();
      End const next = trial.killNextWriter(second);
      trial.inspect();
      trial.recover();
      note(all, scenario, trial,
           "killed at steps " + std::to_string(first) + ", " + std::to_string(second));
      finished = end.finished || !end.killed;
      nextFinished = next.finished || !next.killed;
      if (!end.killed || !next.killed) all.trouble += "not killed\n";
    }
    if (!finished) all.steps = first;
  }
  return all;
}

}  // namespace GlimCrash
