// A full check of a table: every slot, the index against the slots, and what the header counts. For
// tools; readers and writers find damage by themselves where they meet it.
//
// The table may be written meanwhile. What a writer explains is no damage: each difference between
// index, slots and counts is looked at again until it is gone, or until the writer, which does one
// thing after another, has said that it lives and the same difference still stands. A writer that
// was killed can leave one step undone; that is told as unfinished, and the next writer mends it.
//
// The work is bounded by the file's size and by a number of passes, whatever the file holds.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/glim/table_file.h"

namespace Glim {

struct CheckOptions {
  // How the table's keys are hashed, and what is wrong with a key, if anything; where the caller
  // knows that. Without them the index is checked by the hashes that it holds.
  std::function<std::uint32_t(void const* key)> keyHash = {};
  std::function<std::string(void const* key)> keyProblem = {};
  // How a key is told.
  std::function<std::string(void const* key)> keyText = {};
  // Whether there is a process that may be writing the table.
  bool writerLives = false;
  // Called between passes over a table whose writer lives, to give it time: 1/20 of a second.
  std::function<void()> wait = {};
  unsigned passes = 60;
  // Called now and then with slots that were read, and how many there are.
  std::function<void(Word done, Word of)> progress = {};
  std::size_t mostFindings = 1000;  // that are told one by one
};

struct Finding {
  enum class Part { header, slot, index, count };
  Part part = Part::slot;
  std::optional<Word> slot;  // that it is about
  std::string text;          // one line; without the table's name, and with the slot's number
};

std::string_view text(Finding::Part part);

struct CheckReport {
  Word slots = 0;
  Word liveRows = 0;
  Word deadRows = 0;
  Word neverUsed = 0;    // slots
  Word halfWritten = 0;  // slots whose hidden half is being written, or was left so: legal
  Word corruptRows = 0;
  Word busyRows = 0;  // kept changing while they were read, and were not checked
  Word indexEntries = 0;
  Word passes = 0;
  bool overtaken = false;  // the index kept changing: it could not be compared with the slots
  bool replaced = false;   // the table was retired meanwhile: what was found is of the old file

  Word damage = 0;  // how many there are; the first of them are in `findings`
  std::vector<Finding> findings;
  std::vector<Finding> unfinished;
};

// REQUIRES: the file is open, and its header is good
CheckReport checkTable(TableFile const& file, CheckOptions const& options);

}  // namespace Glim
