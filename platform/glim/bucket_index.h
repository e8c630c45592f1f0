// From a key's hash to the slots that may hold it: linear probing over words of hash and slot,
// without tombstones. The index is derived data; the rows are the truth.
//
// The writer works on a private copy and repeats each of its stores in the file, so that nothing
// which happens to the file can lead it astray. For readers:
//   - linking fills an empty bucket and disturbs no one;
//   - unlinking moves entries back. Each entry is copied before its old place is overwritten, and
//     the index version is raised by 2 before each store that overwrites: a reader that found
//     nothing trusts that only when the version stayed as it was;
//   - while the index is built anew its version is odd: readers then look through the slots
//     instead.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/glim/layout.h"

namespace Glim {

class BucketIndex {
 public:
  BucketIndex() = default;
  // `shared` has `buckets` words (a power of two); `version` is the file's index version.
  BucketIndex(Word* shared, Word buckets, Word* version);

  static constexpr std::uint32_t notFound = ~std::uint32_t{0};

  // The first slot under `hash` for which `isIt(slot)`, or notFound.
  template <class IsIt>
  std::uint32_t find(std::uint32_t hash, IsIt isIt) const {
    for (Word at = Layout::homeBucket(hash, size());; at = next(at)) {
      Word const entry = _own[at];
      if (entry == 0) return notFound;
      if (Layout::entryHash(entry) != hash) continue;
      auto const slot = static_cast<std::uint32_t>(Layout::entrySlot(entry));
      if (isIt(slot)) return slot;
    }
  }

  // REQUIRES: the slot is not linked, and fewer than half of the buckets are taken.
  void link(std::uint32_t hash, std::uint32_t slot);
  // REQUIRES: the slot is linked under this hash.
  void unlink(std::uint32_t hash, std::uint32_t slot);

  struct Link {
    std::uint32_t hash;
    std::uint32_t slot;
  };
  // Takes over an index that a former writer left: as it stands when it holds exactly these links,
  // each where a search finds it, else built anew. Answers whether it could stay.
  bool adopt(std::vector<Link> const& links);
  // Whether the file still holds what was stored there.
  bool validate() const;
  // Forgets the file.
  void detach() { _shared = nullptr; }

 private:
  Word size() const { return _own.size(); }
  Word next(Word bucket) const { return (bucket + 1) & (size() - 1); }
  void store(Word bucket, Word entry);
  void raiseVersion();
  void versionIs(Word version);
  bool holdsExactly(std::vector<Link> const& links) const;
  void rebuild(std::vector<Link> const& links);

  std::vector<Word> _own;
  Word* _shared = nullptr;
  Word* _version = nullptr;
  Word _versionNow = 0;  // what was last stored at _version
};

}  // namespace Glim
