// The writer's own knowledge of its slots: which key is where, which version stands there, which
// slots are free. It is private memory: what the file says is compared with it, never believed
// instead of it.
//
// A slot stays at one place while its key is present, which is what makes direct writes possible.
// The lowest free slot is taken first, so that the file grows late.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <set>
#include <vector>

#include "platform/glim/atomic_words.h"
#include "platform/glim/row_shape.h"

namespace Glim {

class SlotDirectory {
 public:
  static constexpr std::uint32_t none = ~std::uint32_t{0};

  enum class Use : std::uint8_t {
    free,
    open,  // a direct write made the slot and has not been committed: no row yet
    live,
  };
  struct Own {
    Word version = 0;  // k of the row's version
    Word meta = 0;     // meta word of that version
    std::uint32_t hash = 0;
    Use use = Use::free;
    // A direct write has begun version k + 1: the slot's version word is odd. Outlives the freeing
    // of an open slot.
    bool beingWritten = false;
    std::uint64_t opening =
        0;  // the last direct write that opened the slot; 0 when none may commit
  };

  explicit SlotDirectory(RowShape const& shape);
  SlotDirectory(SlotDirectory const&) = delete;
  SlotDirectory& operator=(SlotDirectory const&) = delete;

  std::uint32_t slots() const { return static_cast<std::uint32_t>(_own.size()); }
  std::uint32_t members() const { return static_cast<std::uint32_t>(_byKey.size()); }
  Own& at(std::uint32_t slot) { return _own[slot]; }
  Own const& at(std::uint32_t slot) const { return _own[slot]; }
  void const* key(std::uint32_t slot) const { return _keys.data() + slot * _shape.keyBytes; }
  bool keyIs(std::uint32_t slot, void const* key) const {
    return std::memcmp(this->key(slot), key, _shape.keyBytes) == 0;
  }

  // More slots at the end, all free. Throws std::bad_alloc and changes nothing when there is no
  // memory for it.
  void grow(std::uint32_t slots);
  // A former writer's live row. Answers false, and takes nothing, when another slot has the key.
  bool adopt(std::uint32_t slot, void const* key, std::uint32_t hash);
  // All rows are adopted: the other slots are free.
  void adopted();

  // Slots with a row or a direct write.
  std::uint32_t taken() const { return slots() - static_cast<std::uint32_t>(_free.size()); }
  bool full() const { return _free.empty(); }
  // REQUIRES: not full(). The slot is open, under this key.
  std::uint32_t take(void const* key, std::uint32_t hash);
  // An open slot has its row now.
  void liveIs(std::uint32_t slot);
  // A live or open slot is free again; it keeps its version.
  void freeIs(std::uint32_t slot);
  // The open slot of this key, or none.
  std::uint32_t findOpen(void const* key) const;
  // Frees every open slot: their direct writes were abandoned.
  void freeOpen();

  // Live slots in the order of their keys. `after` need not be present any more.
  std::uint32_t first() const { return _byKey.empty() ? none : *_byKey.begin(); }
  std::uint32_t next(void const* after) const;

 private:
  struct ByKey {
    using is_transparent = void;
    SlotDirectory const* directory;
    bool operator()(std::uint32_t a, std::uint32_t b) const {
      return less(directory->key(a), directory->key(b));
    }
    bool operator()(void const* key, std::uint32_t slot) const {
      return less(key, directory->key(slot));
    }
    bool operator()(std::uint32_t slot, void const* key) const {
      return less(directory->key(slot), key);
    }
    // An order of keys may hold different keys for equivalent; their bytes then decide.
    bool less(void const* a, void const* b) const {
      if (directory->_shape.key.less(a, b)) return true;
      if (directory->_shape.key.less(b, a)) return false;
      return std::memcmp(a, b, directory->_shape.keyBytes) < 0;
    }
  };

  RowShape const& _shape;
  std::vector<Own> _own;
  std::vector<std::byte> _keys;
  std::vector<std::uint32_t> _free;  // heap, the lowest on top
  std::vector<std::uint32_t> _open;
  using InOrder = std::set<std::uint32_t, ByKey>;
  InOrder _byKey;
  // The slot that the last step of a walk came to: the next step begins there, without a search.
  mutable InOrder::const_iterator _walk = _byKey.end();
};

}  // namespace Glim
