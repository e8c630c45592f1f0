// What readers of one slot of a recorded table may come to.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/platform/glim/model/model_reader.h"

namespace GlimModel {

// Which publication each word that was ever stored in a slot belongs to. A publication is named by
// the stamp of its begin mark; one that a writer was killed in has a name, but made no version.
class Publications {
 public:
  // REQUIRES: nothing was published in the slot before recording began.
  Publications(RecordedTable const& table, Program const& program, Word slot);

  Word versions() const { return _made.size(); }  // versions 1 to this
  Stamp of(Word version) const { return _made.at(version - 1).begin; }
  Stamp endOf(Word version) const { return _made.at(version - 1).end; }
  Stamp storing(Stamp store) const { return store == 0 ? 0 : _storing[store - 1]; }
  // The version that stands at a stamp.
  Word versionAt(Stamp stamp) const;

 private:
  struct Made {
    Stamp begin;
    Stamp end;
  };
  std::vector<Made> _made;
  std::vector<Stamp> _storing;
};

// A copy is accepted when the version check lets it pass. Texts are traces of the first case, empty
// when there is none.
struct RowFindings {
  std::map<Word, std::size_t> accepted;  // copies, by version
  std::size_t refused = 0;
  std::size_t refusedMixtures = 0;  // of words of different publications
  // An accepted copy whose words and meta are not all of the publication that made the version. The
  // version check alone is asked here; the checksum has no say.
  std::string torn;
  // An accepted copy that the checksum judges otherwise than a comparison with what was published.
  std::string misjudged;
  std::string corrupt;   // the answer `corrupt`
  std::string wentBack;  // an older version than this reader accepted before
  std::size_t runs = 0;
  std::size_t states = 0;
};

// All that any number of reads by one reader, one after the other, may come to.
RowFindings readAgainAndAgain(RecordedTable const& table, Program const& program, Word slot,
                              ReaderLacks lacks = {});

// Whether a single read may use up its attempts.
bool mayBeBusy(RecordedTable const& table, Word slot, unsigned attempts);

// What is wrong with a reader's answer when the writer stops for ever after some store; empty when
// nothing is: at each stamp, the version that stands there is read at the first attempt.
std::string readWhereverTheWriterStops(RecordedTable const& table, Word slot);

}  // namespace GlimModel
