// What searches for a key in a recorded table may come to.
//
// What is right. At each stamp, the key's row is live or it is not; this is read off the slots, the
// index has no part in it. The key is in the table from the end of an operation that leaves its row
// live (at which the writer tells its caller so; taking a table over is one) until its row is dead.
// A search begins when everything up to some stamp has happened before it, and what it says is of a
// moment between that stamp and the newest store that it read:
//   ok       with a row that was live at such a moment
//   absent   at such a moment the key was not in the table
// and it says nothing else. This is linearizability, with one liberty: a row may be found when it
// is live, before the insertion that publishes it is done.
#pragma once

#include <string>
#include <vector>

#include "tests/platform/glim/model/model_reader.h"
#include "tests/platform/glim/model/model_rows.h"

namespace GlimModel {

struct FindFindings {
  std::size_t found = 0;
  std::size_t absent = 0;
  std::size_t longWays = 0;  // searches that began anew or went over the slots
  std::string wrong;  // the trace of the first answer that is not right; empty: there is none
  std::size_t runs = 0;
  std::size_t states = 0;
};

// All searches for the key, whatever the reader knew before.
// REQUIRES: `program` is the table's own, or the key's row is live throughout it.
FindFindings search(RecordedTable const& table, Program const& program, Key key,
                    ReaderLacks lacks = {});

// Whether one reader may find the key and miss it with its next search.
bool maybeFoundAndThenMissed(RecordedTable const& table, Key key);

}  // namespace GlimModel
