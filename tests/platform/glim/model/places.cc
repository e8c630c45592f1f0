#include "tests/platform/glim/model/places.h"

namespace GlimModel {

namespace Layout = Glim::Layout;

Place placeOf(Layout::Geometry const& geometry, Location at) {
  Word const byte = Word{at} * sizeof(Word);
  if (byte == Layout::indexVersionOffset) return {.kind = Place::Kind::indexVersion};
  if (byte < geometry.indexOffset) return {.kind = Place::Kind::header, .word = at};
  if (byte < geometry.slotsOffset) {
    return {.kind = Place::Kind::bucket, .number = (byte - geometry.indexOffset) / sizeof(Word)};
  }
  Word const slot = (byte - geometry.slotsOffset) / geometry.stride;
  Word const word = (byte - geometry.slotsOffset) % geometry.stride / sizeof(Word);
  if (word == 0) return {.kind = Place::Kind::slotVersion, .number = slot};
  Word const half = (word - 1) / (1 + geometry.rowWords);
  Word const within = (word - 1) % (1 + geometry.rowWords);
  if (half > 1) return {.kind = Place::Kind::padding, .number = slot};
  if (within == 0) return {.kind = Place::Kind::meta, .number = slot, .half = half};
  return {.kind = Place::Kind::rowWord, .number = slot, .half = half, .word = within - 1};
}

std::string text(Place const& place) {
  auto const number = std::to_string(place.number);
  switch (place.kind) {
    case Place::Kind::header:
      return "header word " + std::to_string(place.word);
    case Place::Kind::indexVersion:
      return "index version";
    case Place::Kind::bucket:
      return "bucket " + number;
    case Place::Kind::slotVersion:
      return "version of slot " + number;
    case Place::Kind::meta:
      return "meta " + std::to_string(place.half) + " of slot " + number;
    case Place::Kind::rowWord:
      return "word " + std::to_string(place.word) + " of half " + std::to_string(place.half) +
             " of slot " + number;
    case Place::Kind::padding:
      return "padding of slot " + number;
  }
  return "";
}

Location indexVersionLocation() {
  return static_cast<Location>(Layout::indexVersionOffset / sizeof(Word));
}
Location bucketLocation(Layout::Geometry const& geometry, Word bucket) {
  return static_cast<Location>(geometry.indexOffset / sizeof(Word) + bucket);
}
Location slotLocation(Layout::Geometry const& geometry, Word slot) {
  return static_cast<Location>((geometry.slotsOffset + slot * geometry.stride) / sizeof(Word));
}

}  // namespace GlimModel
