// What the outside world may say to a reader at any time. None of these is an error of the program.
#pragma once

#include <cstdint>
#include <string_view>

namespace Glim {

enum class Answer : std::uint8_t {
  ok,
  absent,       // no row under this key, or in this slot
  busy,         // the row was rewritten again and again while it was read: ask again later
  corrupt,      // the row fails its checksum
  retired,      // the file was replaced: attach again by path
  missing,      // no such file
  unreadable,   // no permission, or the file could not be opened or mapped
  unsafe,       // not a regular file, of an owner that is not trusted, or writable by others
  notATable,    // no table file, or its header is damaged
  otherLayout,  // a table file of another layout version
  otherSchema,  // a table of other records
  truncated,    // the file is shorter than its header says
};

std::string_view text(Answer answer);

}  // namespace Glim
