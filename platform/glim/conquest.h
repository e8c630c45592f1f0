// What a writer found when it took its table.
#pragma once

#include <cstdint>
#include <string>

namespace Glim {

struct Conquest {
  enum class Kind {
    created,   // there was no file
    adopted,   // the file of a former writer, in place
    moved,     // its rows, into a larger file
    migrated,  // its rows, from an older schema of the record into a file of today's
    setAside,  // something else: it was kept under the name `keptAs`, and the table begins empty
  };
  Kind kind = Kind::created;
  std::uint32_t rows = 0;         // taken over
  std::uint32_t corruptRows = 0;  // found damaged and given up
  bool indexRebuilt = false;
  std::string keptAs;
  std::string why;  // the file was set aside

  // Whether somebody who looks after the tables will want to know.
  bool notable() const;
  // "adopted 12 rows, gave up 1 corrupt row"
  std::string text() const;
};

}  // namespace Glim
