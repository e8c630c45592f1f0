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
  Word fileBytes = 0;  // the file's size when it was looked at

  Word schemaHash() const { return fixed[Layout::fixedSchemaHash]; }
};

// ok, notATable, otherLayout, truncated (shorter than its index) or unreadable.
Answer readHeader(int fd, HeaderCopy& header);

}  // namespace Glim
