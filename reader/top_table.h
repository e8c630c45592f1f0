// The live table, without the screen: what to show of one snapshot after the others.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "reader/basis.h"
#include "reader/snapshot.h"
#include "reader/sort_key.h"
#include "reader/styled_text.h"
#include "reader/text_table.h"

namespace Show {

// Whose errors are rising, seen from one snapshot to the next.
class ErrorWatch {
 public:
  // An interface stays marked this long after its last new error, in seconds: long enough to be
  // seen, and longer than agents usually take from poll to poll.
  static constexpr double kMarked = 10.0;

  void see(Snapshot const& snapshot);
  bool rising(Snapshot const& snapshot, Intf const& intf) const;

 private:
  struct Seen {
    std::uint64_t errors = 0;
    double lastRise = 0.0;  // 0: never
  };
  std::map<Pekt::IntfId, Seen> _seen;
};

struct TopOptions {
  SortKey sort = SortKey::name;  // by name ascending, else the largest first
  bool totals = false;           // octets and packets in the place of their rates
  Basis basis = Basis::total;
};

// By the natural order of names where the key tells no difference; what has no value comes last.
void sort(Snapshot& snapshot, TopOptions const& options);

TextTable topTable(Snapshot const& snapshot, ErrorWatch const& errors, TopOptions const& options);

// What the rates and counts are, to follow the agent's line: "; rates from poll to poll; counts
// since the last clear".
std::string topNote(Snapshot const& snapshot, TopOptions const& options);

// "64 interfaces, 40 up, 3 with new errors".
std::string summary(Snapshot const& snapshot, ErrorWatch const& errors);

}  // namespace Show
