#include "platform/glim/header_check.h"

#include <cstdio>
#include <string_view>

#include "platform/glim/header_copy.h"
#include "platform/glim/schema.h"

namespace Glim {

namespace {

using namespace Layout;

using Problems = std::vector<std::string>;

std::string hex(Word word) {
  char text[32];
  std::snprintf(text, sizeof text, "0x%016llx", static_cast<unsigned long long>(word));
  return text;
}

std::string bytes(Word n) { return std::to_string(n) + (n == 1 ? " byte" : " bytes"); }

void derivedWord(Problems& problems, std::string_view name, Word said, Word follows) {
  if (said == follows) return;
  problems.push_back("the header says " + std::string(name) + " " + std::to_string(said) +
                     ", and from its other words follows " + std::to_string(follows));
}

Problems ofGeometry(FixedWords const& fixed, Geometry const& follows) {
  Problems problems;
  derivedWord(problems, "stride", fixed[fixedStride], follows.stride);
  derivedWord(problems, "buckets", fixed[fixedBuckets], follows.buckets);
  derivedWord(problems, "index offset", fixed[fixedIndexOffset], follows.indexOffset);
  derivedWord(problems, "slots offset", fixed[fixedSlotsOffset], follows.slotsOffset);
  derivedWord(problems, "file size", fixed[fixedFileBytes], follows.fileBytes);
  return problems;
}

// Rows are readable without it, and their fields only with it.
Problems ofSchema(HeaderCopy const& header) {
  auto const schema = parseSchema(header.schema, header.geometry.rowWords * sizeof(Word));
  if (!schema) return {"the schema text is none of a row's fields"};
  std::size_t end = 0;
  bool keyEnds = false;
  for (SchemaField const& field : schema->fields) {
    if (field.offset != end) return {"the schema's field " + field.name + " is out of its place"};
    end += field.size();
    keyEnds = keyEnds || end == header.geometry.keyBytes;
  }
  Problems problems;
  if (end != header.geometry.rowWords * sizeof(Word))
    problems.push_back("the schema's fields are " + bytes(end) + " of a row's " +
                       bytes(header.geometry.rowWords * sizeof(Word)));
  if (!keyEnds) problems.push_back("the key does not end where a field ends");
  return problems;
}

Problems ofSize(HeaderCopy const& header) {
  Geometry const& geometry = header.geometry;
  Word const size = header.fileBytes;
  if (size < geometry.slotsOffset)
    return {"the file has " + bytes(size) + ", and its slots would begin at " +
            std::to_string(geometry.slotsOffset)};
  if (size > geometry.fileBytes)
    return {"the file has " + bytes(size) + ", more than the " +
            std::to_string(geometry.fileBytes) + " of all its rows"};
  if (Word const rest = (size - geometry.slotsOffset) % geometry.stride; rest != 0)
    return {"the file ends within a slot, " + bytes(rest) + " behind its begin"};
  if (header.backedBytes < size)
    return {"the file has holes, as a sparse copy has: readers pass over what may be one"};
  return {};
}

}  // namespace

std::vector<std::string> headerProblems(int fd) {
  HeaderCopy header;
  Answer const answer = readHeader(fd, header);
  if (answer == Answer::unreadable) return {"the header cannot be read"};
  FixedWords const& fixed = header.fixed;
  if (header.fileBytes < sizeof fixed)
    return {"the file has " + bytes(header.fileBytes) + ", too few for a header"};
  if (fixed[fixedMagic] != magic) {
    if (fixed[fixedMagic] == __builtin_bswap64(magic))
      return {"the table is of a machine of the other byte order"};
    return {"the file does not begin with ORUGLIM1, as tables do"};
  }
  if (fixed[fixedLayoutVersion] != layoutVersion)
    return {"the layout version is " + std::to_string(fixed[fixedLayoutVersion]) +
            ", and this program knows " + std::to_string(layoutVersion)};
  auto const follows = Geometry::make(fixed[fixedRowWords], fixed[fixedKeyBytes],
                                      fixed[fixedMaxRows], fixed[fixedSchemaBytes]);
  if (!follows)
    return {"the header says " + std::to_string(fixed[fixedRowWords]) + " words a row, " +
            bytes(fixed[fixedKeyBytes]) + " a key, " + std::to_string(fixed[fixedMaxRows]) +
            " rows and " + bytes(fixed[fixedSchemaBytes]) +
            " of schema, which no table can have together"};
  if (Problems problems = ofGeometry(fixed, *follows); !problems.empty()) return problems;
  if (header.fileBytes < schemaOffset + header.schema.size())
    return {"the file has " + bytes(header.fileBytes) + ", and ends within its schema text"};

  if (!checksumAgrees(fixed, header.schema)) {
    Word const hash = schemaHashOf(header.schema);
    if (fixed[fixedSchemaHash] == hash) return {"the header's checksum fails"};
    return {"the header's checksum fails, and the schema's hash is " + hex(fixed[fixedSchemaHash]) +
            " where its text has " + hex(hash)};
  }
  Problems problems = ofSchema(header);
  for (std::string& problem : ofSize(header)) problems.push_back(std::move(problem));
  if (fixed[fixedReserved] != 0)
    problems.push_back("the reserved word of the header is " + hex(fixed[fixedReserved]));
  return problems;
}

}  // namespace Glim
