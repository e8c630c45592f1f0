// A table as a reader sees it, to be compared with what it may be.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "platform/glim/table_reader.h"
#include "tests/platform/glim/crash/place.h"

namespace GlimCrash {

// What a table may be.
struct State {
  Rows rows{};
  std::set<std::uint64_t> unlinked{};      // keys of rows that the index does not lead to
  std::set<std::uint64_t> damaged{};       // keys whose rows are there and fail their checksum
  Glim::Answer answer = Glim::Answer::ok;  // to a reader that attaches
  std::string record = "Placed";           // the name of the rows' record
};

// What a reader saw of it.
struct View {
  Glim::Answer answer = Glim::Answer::ok;
  std::string record{};
  Rows byKey{};   // each key of interest, looked up
  Rows bySlot{};  // all rows, by a walk
  std::set<std::uint64_t> corruptKeys{};
  std::size_t corruptSlots = 0;
  Glim::Word epoch = 0;
  std::string trouble{};  // a torn row, a row met twice, an answer that is none
};

// REQUIRES: `answer` is what the reader answered when it was attached, or refreshed
View look(Glim::TableReader const& reader, Glim::Answer answer,
          std::set<std::uint64_t> const& keys);

// Whether what was looked up, or walked over, is exactly this state.
bool lookedUpIs(View const& view, State const& state);
bool walkedIs(View const& view, State const& state);

std::string text(View const& view);

// Version by slot of the table's file, half-written versions not counted.
struct Versions {
  ino_t inode = 0;
  std::vector<Glim::Word> bySlot{};
  bool wentBackTo(Versions const& later) const;
};
Versions versions(std::string const& file);

}  // namespace GlimCrash
