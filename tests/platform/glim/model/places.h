// What the words of a table file are, for checks, for programs with something left out, and for
// traces. Locations are word numbers within the file.
#pragma once

#include <string>

#include "platform/glim/layout.h"
#include "tests/platform/glim/model/weak_memory.h"

namespace GlimModel {

struct Place {
  enum class Kind { header, indexVersion, bucket, slotVersion, meta, rowWord, padding };
  Kind kind = Kind::header;
  Word number = 0;  // of the bucket, or of the slot
  Word half = 0;
  Word word = 0;  // within the row, or within the header

  bool isRow() const { return kind == Kind::meta || kind == Kind::rowWord; }
};

Place placeOf(Glim::Layout::Geometry const& geometry, Location at);
std::string text(Place const& place);

Location indexVersionLocation();
Location bucketLocation(Glim::Layout::Geometry const& geometry, Word bucket);
Location slotLocation(Glim::Layout::Geometry const& geometry, Word slot);

}  // namespace GlimModel
