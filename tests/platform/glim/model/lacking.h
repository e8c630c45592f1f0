// Programs of writers with something left out or done in another order: what the protocol would be
// without it. Each is made from a recorded program.
#pragma once

#include "tests/platform/glim/model/places.h"

namespace GlimModel {

class Lacking {
 public:
  Lacking(Glim::Layout::Geometry const& geometry, std::vector<Word> const& initial)
      : _geometry(geometry), _initial(initial) {}

  // The form for the thread sanitizer, where row words are stored with release instead.
  Program fences(Program const& program) const;

  // --- rows ---
  Program fenceAfterBeginMark(Program const& program) const;
  Program releaseOfBeginMark(Program const& program) const;
  Program releaseOfCommitMark(Program const& program) const;
  // A begin mark that a dead writer left is taken back by the next one, to what was there before.
  Program markOfTheDead(Program const& program) const;

  // --- the index ---
  Program raisedIndexVersion(Program const& program) const;
  Program oddIndexVersion(Program const& program) const;  // of rebuilding alone
  Program fenceAfterIndexVersion(Program const& program) const;
  Program releaseOfBuckets(Program const& program) const;
  // An entry's old place is emptied before the entry is copied: with more steps than the original.
  Program copyBeforeClearing(Program const& program) const;
  // A row is linked before it is published.
  Program publishingBeforeLinking(Program const& program) const;

 private:
  Place place(Step const& step) const { return placeOf(_geometry, step.at); }
  bool isStore(Step const& step, Place::Kind kind) const {
    return step.kind == Step::Kind::store && place(step).kind == kind;
  }
  bool isMark(Step const& step, bool begin) const {
    return isStore(step, Place::Kind::slotVersion) && (step.value % 2 == 1) == begin;
  }

  Glim::Layout::Geometry const& _geometry;
  std::vector<Word> const& _initial;
};

}  // namespace GlimModel
