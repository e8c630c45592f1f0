// One look after another at a table that may be written meanwhile: what each slot holds, and where
// slots, index and counts differ. What a difference means is judged in table_check.cc.
#pragma once

#include <compare>
#include <cstdint>
#include <vector>

#include "platform/glim/table_check.h"

namespace Glim {

// What may be wrong, or may be a writer at work. Two sightings are of one thing when all that is
// listed agrees. Rows change all the time, so a live one is known by its key; the version of the
// index is among it where the thing may come, go and come again, since every row that goes raises
// that.
enum class SuspicionKind {
  state,          // value
  epoch,          // value
  pid,            // value
  heartbeat,      //
  allocated,      // said, whole slots in the file
  members,        // said, counted, index version
  indexBuilding,  // index version
  noneEmpty,      //
  beyond,         // bucket, slot
  toNothing,      // bucket, slot, version
  linkedTwice,    // bucket, slot, key, index version
  otherHash,      // bucket, slot, key, index version
  unreachable,    // bucket, slot, key, index version
  notLinked,      // slot, key, index version
  keyTwice,       // slot, key, index version, other slot
};

struct Suspicion {
  SuspicionKind kind;
  Word a = 0, b = 0, c = 0, d = 0;
  auto operator<=>(Suspicion const&) const = default;
};

struct SlotSeen {
  enum class Use : std::uint8_t { unread, neverUsed, dead, live, corrupt, busy };
  Use use = Use::unread;
  std::uint32_t hash = 0;  // of the key, where it is known how
  Word version = 0;        // of the row
  Word keySum = 0;         // tells keys apart, nearly always
};

class TableSurvey {
 public:
  TableSurvey(TableFile const& file, CheckOptions const& options);

  // Reads what changed since the last pass, all of it at first, and compares. In order.
  std::vector<Suspicion> pass();

  // After a pass:
  std::vector<SlotSeen> const& slots() const { return _slots; }
  bool indexCopied() const { return _indexCopied; }
  // When the index was last copied, or could not be.
  Word indexVersion() const { return _indexVersion; }
  Word indexEntries() const { return _indexEntries; }
  // What the version word of a slot says now.
  Word versionWord(Word slot) const { return Words::loadAcquire(_file.mapping().slotAt(slot)); }

  static constexpr Word endOfVersions = Layout::endOfVersions;

 private:
  using Use = SlotSeen::Use;

  void readSlots();
  void look(Word slot);
  void compareHeader(std::vector<Suspicion>& found) const;
  bool copyIndex();
  void compareIndex(std::vector<Suspicion>& found);
  std::vector<Word> chainLengths() const;
  void compareKeys(std::vector<Suspicion>& found);
  void compareCounts(std::vector<Suspicion>& found) const;

  TableFile const& _file;
  CheckOptions const& _options;
  Layout::Geometry const& _geometry;
  std::vector<Word> _row, _other;
  std::vector<SlotSeen> _slots;
  std::vector<Word> _index;
  Word _indexVersion = 0;
  Word _indexEntries = 0;
  bool _indexCopied = false;
};

}  // namespace Glim
