#include "tests/platform/glim/model/lacking.h"

#include <algorithm>

namespace GlimModel {

namespace Layout = Glim::Layout;

namespace {

// Without the fences that follow a store for which `marks`.
template <class Marks>
Program withoutFenceAfter(Program program, Marks marks) {
  bool marked = false;
  for (Step& step : program) {
    if (step.kind == Step::Kind::fence && marked) step = Step::nothing();
    marked = step.kind == Step::Kind::store && marks(step);
  }
  return program;
}

// Without the steps, each of them a store, for which `which`.
template <class Which>
Program withoutStores(Program program, Which which) {
  for (Step& step : program) {
    if (which(step)) step = Step::nothing();
  }
  return program;
}

template <class Which>
Program relaxed(Program program, Which which) {
  for (Step& step : program) {
    if (which(step)) step.order = std::memory_order_relaxed;
  }
  return program;
}

}  // namespace

Program Lacking::fences(Program const& program) const {
  Program lacking = program;
  for (Step& step : lacking) {
    if (step.kind == Step::Kind::fence) step = Step::nothing();
    if (step.kind == Step::Kind::store) step.order = std::memory_order_release;
  }
  return lacking;
}

Program Lacking::fenceAfterBeginMark(Program const& program) const {
  return withoutFenceAfter(program, [this](Step const& step) { return isMark(step, true); });
}

Program Lacking::releaseOfBeginMark(Program const& program) const {
  return relaxed(program, [this](Step const& step) { return isMark(step, true); });
}

Program Lacking::releaseOfCommitMark(Program const& program) const {
  return relaxed(program, [this](Step const& step) { return isMark(step, false); });
}

Program Lacking::markOfTheDead(Program const& program) const {
  std::vector<Word> words = _initial;
  Program lacking;
  for (Step const& step : program) {
    if (step.kind == Step::Kind::store) words[step.at] = step.value;
    lacking.push_back(step);
    if (step.kind != Step::Kind::nextWriter) continue;
    for (Word slot = 0; slot < _geometry.maxRows; ++slot) {
      Word& version = words[slotLocation(_geometry, slot)];
      if (version % 2 == 0) continue;
      lacking.push_back(
          Step::store(slotLocation(_geometry, slot), --version, std::memory_order_release));
    }
  }
  return lacking;
}

Program Lacking::raisedIndexVersion(Program const& program) const {
  return withoutStores(fenceAfterIndexVersion(program), [this](Step const& step) {
    return isStore(step, Place::Kind::indexVersion);
  });
}

Program Lacking::oddIndexVersion(Program const& program) const {
  return withoutStores(program, [this](Step const& step) {
    return isStore(step, Place::Kind::indexVersion) && step.value % 2 == 1;
  });
}

Program Lacking::fenceAfterIndexVersion(Program const& program) const {
  return withoutFenceAfter(
      program, [this](Step const& step) { return isStore(step, Place::Kind::indexVersion); });
}

Program Lacking::releaseOfBuckets(Program const& program) const {
  return relaxed(program, [this](Step const& step) { return isStore(step, Place::Kind::bucket); });
}

Program Lacking::copyBeforeClearing(Program const& program) const {
  std::vector<Word> words = _initial;
  Program lacking;
  for (Step const& step : program) {
    if (isStore(step, Place::Kind::bucket) && step.value != 0) {
      Location const first = bucketLocation(_geometry, 0);
      for (Location old = first; old < first + _geometry.buckets; ++old) {
        if (old == step.at || words[old] != step.value) continue;
        lacking.push_back(Step::store(old, 0, step.order));
        words[old] = 0;
      }
    }
    if (step.kind == Step::Kind::store) words[step.at] = step.value;
    lacking.push_back(step);
  }
  return lacking;
}

Program Lacking::publishingBeforeLinking(Program const& program) const {
  Program lacking;
  for (Step const& step : program) {
    bool const links = isStore(step, Place::Kind::bucket) && step.value != 0 && !lacking.empty() &&
                       isMark(lacking.back(), false) &&
                       place(lacking.back()).number == Layout::entrySlot(step.value);
    auto at = lacking.end();
    if (links) {
      while (!isMark(*--at, true)) {
      }
    }
    lacking.insert(at, step);
  }
  return lacking;
}

}  // namespace GlimModel
