#include "tests/platform/glim/model/row_checks.h"

#include <deque>
#include <set>

#include "platform/glim/answer.h"

namespace GlimModel {

using Glim::Answer;
namespace Layout = Glim::Layout;

Publications::Publications(RecordedTable const& table, Program const& program, Word slot)
    : _storing(program.size()) {
  Stamp begin = 0;
  Word version = 0;
  Stamp stamp = 0;
  for (Step const& step : program) {
    ++stamp;
    if (step.kind != Step::Kind::store) continue;
    Place const place = placeOf(table.geometry(), step.at);
    if (place.number != slot) continue;
    if (place.isRow()) _storing[stamp - 1] = begin;
    if (place.kind != Place::Kind::slotVersion) continue;
    if (step.value % 2 == 1) {
      begin = stamp;
    } else if (version == step.value - 1) {  // else a next writer puts a begun version back
      _made.push_back({begin, stamp});
    }
    version = step.value;
  }
}

Word Publications::versionAt(Stamp stamp) const {
  Word version = 0;
  while (version < versions() && _made[version].end <= stamp) ++version;
  return version;
}

namespace {

// One attempt at copying a row: the version, meta and words, the version again.
class Attempt {
 public:
  Attempt(RecordedTable const& table, History const& history, Publications const& publications,
          std::vector<Read> const& reads)
      : _version(reads.front().message.value / 2) {
    if (_version == 0 || _version > publications.versions()) return;
    Stamp const right = publications.of(_version);
    std::set<Stamp> sources;
    _asPublished = true;
    Stamp metaFrom = 0;
    for (Read const& read : reads) {
      Place const place = placeOf(table.geometry(), read.at);
      if (!place.isRow()) continue;
      Stamp const from = publications.storing(read.message.stamp);
      if (place.kind == Place::Kind::meta) {
        metaFrom = from;
        // A dead version has no words.
        _live = (read.message.value & Layout::rowStateMask) == Layout::rowLive;
      }
      if (place.kind == Place::Kind::rowWord && !_live) continue;
      sources.insert(from);
      Word const published = history.valueAt(read.at, publications.endOf(_version));
      _asPublished = _asPublished && read.message.value == published;
    }
    _mixture = sources.size() > 1;
    _whole = !_mixture && metaFrom == right;
  }

  Word version() const { return _version; }
  bool mixture() const { return _mixture; }
  // All of the publication that made the version; and of the same values.
  bool whole() const { return _whole; }
  bool asPublished() const { return _asPublished; }
  bool live() const { return _live; }

 private:
  Word _version;
  bool _mixture = false;
  bool _whole = false;
  bool _asPublished = false;
  bool _live = false;
};

void note(std::string& first, std::string const& what, ModelReader const& reader) {
  if (first.empty()) first = what + "\n" + reader.trace();
}

}  // namespace

RowFindings readAgainAndAgain(RecordedTable const& table, Program const& program, Word slot,
                              ReaderLacks lacks) {
  RowFindings findings;
  History const history(program, table.initial());
  Publications const publications(table, program, slot);
  ModelReader reader(table, history, lacks);
  Word const* const at = table.file().mapping().slotAt(slot);
  Word const rowWords = table.geometry().rowWords;
  std::vector<Word> row(rowWords);

  // A reader between two reads is what it knows and the version that it has accepted last.
  using Between = std::pair<View, Word>;
  std::set<Between> known{{View(), 0}};
  std::deque<Between> open(known.begin(), known.end());
  for (; !open.empty(); open.pop_front()) {
    auto const [view, last] = open.front();
    Answer answer{};
    reader.explore(
        view, last, [&] { answer = Glim::readSlotAlone(at, rowWords, slot, row.data(), 1); },
        [&] {
          Attempt const attempt(table, history, publications, reader.reads());
          Word accepted = last;
          if (answer == Answer::busy) {
            ++findings.refused;
            if (attempt.mixture()) ++findings.refusedMixtures;
          } else {
            accepted = attempt.version();
            ++findings.accepted[accepted];
            if (accepted < last) {
              note(findings.wentBack,
                   "version " + std::to_string(accepted) + " after " + std::to_string(last),
                   reader);
            }
            if (accepted > 0) {
              if (!attempt.whole()) {
                note(findings.torn, "not version " + std::to_string(accepted), reader);
              }
              Answer const right = !attempt.asPublished() ? Answer::corrupt
                                   : attempt.live()       ? Answer::ok
                                                          : Answer::absent;
              if (answer != right) note(findings.misjudged, "misjudged", reader);
              if (answer == Answer::corrupt) note(findings.corrupt, "called corrupt", reader);
            }
          }
          if (known.emplace(reader.view(), accepted).second) {
            open.emplace_back(reader.view(), accepted);
          }
        });
  }
  findings.runs = reader.runs();
  findings.states = reader.states();
  return findings;
}

bool mayBeBusy(RecordedTable const& table, Word slot, unsigned attempts) {
  History const history(table.program(), table.initial());
  ModelReader reader(table, history);
  Word const rowWords = table.geometry().rowWords;
  std::vector<Word> row(rowWords);
  Answer answer{};
  bool busy = false;
  reader.explore(
      View(), 0,
      [&] {
        answer = Glim::readSlotAlone(table.file().mapping().slotAt(slot), rowWords, slot,
                                     row.data(), attempts);
      },
      [&] { busy = busy || answer == Answer::busy; });
  return busy;
}

std::string readWhereverTheWriterStops(RecordedTable const& table, Word slot) {
  History const history(table.program(), table.initial());
  Publications const publications(table, table.program(), slot);
  ModelReader reader(table, history);
  Word const rowWords = table.geometry().rowWords;
  std::vector<Word> row(rowWords);
  for (Stamp stamp = 0; stamp <= history.end(); ++stamp) {
    Answer answer{};
    reader.runAt(stamp, [&] {
      answer =
          Glim::readSlotAlone(table.file().mapping().slotAt(slot), rowWords, slot, row.data(), 1);
    });
    Attempt const attempt(table, history, publications, reader.reads());
    Word const version = publications.versionAt(stamp);
    bool const right =
        attempt.version() == version &&
        (version == 0
             ? answer == Answer::absent
             : attempt.whole() && answer == (attempt.live() ? Answer::ok : Answer::absent));
    if (!right) {
      return "after step " + std::to_string(stamp) + ", " + table.operationAt(stamp) + ": " +
             std::string(text(answer)) + "\n" + reader.trace();
    }
  }
  return "";
}

}  // namespace GlimModel
