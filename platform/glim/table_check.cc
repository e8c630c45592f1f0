#include "platform/glim/table_check.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/glim/table_survey.h"

namespace Glim {

namespace {

using Kind = SuspicionKind;
using Layout::TableState;
using Use = SlotSeen::Use;

class Check {
 public:
  Check(TableFile const& file, CheckOptions const& options)
      : _file(file),
        _options(options),
        _survey(file, options),
        _row(file.header().geometry.rowWords) {}

  CheckReport run();

 private:
  std::vector<Suspicion> pass();
  bool leftByAKill(std::vector<Suspicion> const& kept) const;
  void tellSlots();
  std::string slotProblem(Word slot);
  Finding told(Suspicion const& suspicion);
  std::string slotText(Word slot);
  template <class Tell>
  void damage(Tell tell);

  TableFile const& _file;
  CheckOptions const& _options;
  TableSurvey _survey;
  std::vector<Word> _row;
  CheckReport _report;
};

std::vector<Suspicion> Check::pass() {
  ++_report.passes;
  return _survey.pass();
}

// A writer that is killed leaves at most one step undone. A table that was let go of has none.
bool Check::leftByAKill(std::vector<Suspicion> const& kept) const {
  if (_file.word(Layout::stateOffset) == static_cast<Word>(TableState::detached)) return false;
  unsigned steps = 0;
  for (Suspicion const& s : kept) {
    switch (s.kind) {
      case Kind::notLinked:
      case Kind::toNothing:
      case Kind::linkedTwice:
        ++steps;
        break;
      case Kind::members:
        if (s.a + 1 != s.b && s.a != s.b + 1) return false;
        break;
      case Kind::allocated:
        if (s.a > s.b) return false;
        break;
      case Kind::indexBuilding:
        break;
      default:
        return false;
    }
  }
  return steps <= 1;
}

template <class Tell>
void Check::damage(Tell tell) {
  ++_report.damage;
  if (_report.findings.size() < _options.mostFindings) _report.findings.push_back(tell());
}

CheckReport Check::run() {
  bool const wasRetired = _file.retired();
  auto kept = pass();
  Word beat = _file.word(Layout::heartbeatOffset);
  bool again = false;   // seen in more than one pass
  bool proven = false;  // the writer has done other things meanwhile
  while (!kept.empty() && !proven && _report.passes < _options.passes) {
    if (again && !_options.writerLives) break;
    if (_options.writerLives && _options.wait) _options.wait();
    Word const beatBefore = _file.word(Layout::heartbeatOffset);
    auto const now = pass();
    std::vector<Suspicion> still;
    std::set_intersection(kept.begin(), kept.end(), now.begin(), now.end(),
                          std::back_inserter(still));
    again = !still.empty();
    if (again) {
      kept = std::move(still);
      proven = beatBefore != beat;
    } else {
      kept = now;
      beat = _file.word(Layout::heartbeatOffset);
    }
  }
  bool const indexUnknown = !_survey.indexCopied() && (_survey.indexVersion() & 1) == 0;
  _report.overtaken = indexUnknown || (!kept.empty() && !again);
  _report.replaced = !wasRetired && _file.retired();

  tellSlots();
  if (again) {
    bool const unfinished = !proven && leftByAKill(kept);
    for (Suspicion const& suspicion : kept) {
      if (suspicion.kind == Kind::indexBuilding && (suspicion.a & 1) == 0) continue;
      if (unfinished)
        _report.unfinished.push_back(told(suspicion));
      else
        damage([&] { return told(suspicion); });
    }
  }
  return std::move(_report);
}

std::string Check::slotText(Word slot) {
  std::string text = "slot " + std::to_string(slot);
  if (_options.keyText && slot < _survey.slots().size() && _survey.slots()[slot].use == Use::live &&
      _file.rowAt(slot, _row.data()) == Answer::ok)
    text += " (" + _options.keyText(_row.data()) + ")";
  return text;
}

std::string Check::slotProblem(Word slot) {
  SlotSeen const& seen = _survey.slots()[slot];
  if (seen.use == Use::live) {
    if (!_options.keyProblem || _file.rowAt(slot, _row.data()) != Answer::ok) return {};
    return _options.keyProblem(_row.data());
  }
  if (seen.use != Use::corrupt) return {};
  if (seen.version >= TableSurvey::endOfVersions)
    return "its version is beyond what any writer counts to";
  Word const meta = _file.mapping().slot(slot).meta(seen.version);
  switch (meta & Layout::rowStateMask) {
    case Layout::rowLive:
      return "the checksum of the row fails";
    case Layout::rowDead:
      return "the checksum of the dead row fails";
    default:
      return "its row is neither live nor dead: state " +
             std::to_string(meta & Layout::rowStateMask);
  }
}

void Check::tellSlots() {
  _report.indexEntries = _survey.indexEntries();
  _report.slots = _survey.slots().size();
  for (Word slot = 0; slot < _survey.slots().size(); ++slot) {
    switch (_survey.slots()[slot].use) {
      case Use::live:
        ++_report.liveRows;
        break;
      case Use::dead:
        ++_report.deadRows;
        break;
      case Use::corrupt:
        ++_report.corruptRows;
        break;
      case Use::busy:
        ++_report.busyRows;
        break;
      case Use::neverUsed:
      case Use::unread:
        ++_report.neverUsed;
        break;
    }
    if ((_survey.versionWord(slot) & 1) != 0 && _survey.slots()[slot].use != Use::corrupt)
      ++_report.halfWritten;
    if (std::string const problem = slotProblem(slot); !problem.empty())
      damage([&] { return Finding{Finding::Part::slot, slot, slotText(slot) + ": " + problem}; });
  }
}

Finding Check::told(Suspicion const& s) {
  using Part = Finding::Part;
  auto const number = [](Word n) { return std::to_string(n); };
  std::string const bucket = "bucket " + number(s.a) + " of the index ";
  switch (s.kind) {
    case Kind::state:
      return {Part::header, {}, "the state of the table is " + number(s.a) + ", which is none"};
    case Kind::epoch:
      return {
          Part::header, {}, "the epoch is " + number(s.a) + ": no table has had that many writers"};
    case Kind::pid:
      return {Part::header, {}, "the writer's process id is " + number(s.a) + ", which is none"};
    case Kind::heartbeat:
      return {Part::header, {}, "the heartbeat lies in the future"};
    case Kind::allocated:
      return {Part::count,
              {},
              "the header says " + number(s.a) + " allocated rows, and the file has memory for " +
                  number(s.b)};
    case Kind::members:
      return {Part::count,
              {},
              "the header says " + number(s.a) + " rows, and there are " + number(s.b)};
    case Kind::indexBuilding:
      return {Part::index,
              {},
              "the index is being built anew, or was left so: readers look "
              "through the slots instead"};
    case Kind::noneEmpty:
      return {Part::index, {}, "no bucket of the index is empty"};
    case Kind::beyond:
      return {Part::index, {}, bucket + "leads to slot " + number(s.b) + ", which there is not"};
    case Kind::toNothing:
      return {Part::index, s.b, bucket + "leads to slot " + number(s.b) + ", which has no row"};
    case Kind::linkedTwice:
      return {Part::index, s.b, bucket + "leads to " + slotText(s.b) + ", as another one does"};
    case Kind::otherHash:
      return {Part::index, s.b,
              bucket + "leads to " + slotText(s.b) + " under a hash that is not its key's"};
    case Kind::unreachable:
      return {Part::index, s.b,
              bucket + "leads to " + slotText(s.b) + ", and a search for its key ends before it"};
    case Kind::notLinked:
      return {Part::index, s.a, slotText(s.a) + ": no bucket of the index leads to the row"};
    case Kind::keyTwice:
      return {Part::slot, s.d, slotText(s.d) + ": slot " + number(s.a) + " has the same key"};
  }
  return {};
}

}  // namespace

std::string_view text(Finding::Part part) {
  switch (part) {
    case Finding::Part::header:
      return "header";
    case Finding::Part::slot:
      return "slot";
    case Finding::Part::index:
      return "index";
    case Finding::Part::count:
      return "count";
  }
  return "";
}

CheckReport checkTable(TableFile const& file, CheckOptions const& options) {
  return Check(file, options).run();
}

}  // namespace Glim
