// A private copy of a table file's fixed words and schema, checked. Read with read calls, not
// through a mapping: a short file is an answer, not a fault; and nothing that is checked here can
// change afterwards.
#pragma once

#include <string>

#include "platform/glim/answer.h"
#include "platform/glim/layout.h"

namespace Glim {

struct HeaderCopy {
  Layout::FixedWords fixed{};
  Layout::Geometry geometry;
  std::string schema;
  Word fileBytes = 0;    // the file's size when it was looked at
  Word backedBytes = 0;  // of them, those that there is memory for

  Word schemaHash() const { return fixed[Layout::fixedSchemaHash]; }
};

// Bytes of a file that there is memory for, or 0 when that cannot be told. Whoever touches a hole
// has memory taken for it, or dies where there is none; no writer leaves one.
Word backedBytes(int fd);

// ok, notATable, otherLayout, truncated (shorter than its index) or unreadable.
Answer readHeader(int fd, HeaderCopy& header);

}  // namespace Glim
