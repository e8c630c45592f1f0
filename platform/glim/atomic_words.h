// The only way to a shared word. Every store to a table file goes through here (but for the fields
// that the caller of a direct write fills in place), as 64-bit atomics on aligned words, so that
//   - no reader ever sees half a word;
//   - a test that compiles the folder with ORU_GLIM_STORE_HOOK sees, counts or stops at every
//     single store, or puts a memory of its own in the place of the machine's;
//   - the thread sanitizer, which does not understand fences, gets the same protocol without them:
//     each row word is then stored with release and loaded with acquire.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#if defined(__SANITIZE_THREAD__)
#define ORU_GLIM_FENCE_FREE 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define ORU_GLIM_FENCE_FREE 1
#endif
#endif
#ifndef ORU_GLIM_FENCE_FREE
#define ORU_GLIM_FENCE_FREE 0
#endif

// Direct writes fill a private copy instead of the file where plain stores to the file must not be.
#if ORU_GLIM_FENCE_FREE || defined(ORU_GLIM_STORE_HOOK)
#define ORU_GLIM_STAGED_DIRECT_WRITES 1
#else
#define ORU_GLIM_STAGED_DIRECT_WRITES 0
#endif

namespace Glim {

using Word = std::uint64_t;
static_assert(std::atomic_ref<Word>::is_always_lock_free);

namespace Words {

#ifdef ORU_GLIM_STORE_HOOK
// Called before each store; it may end the process or throw.
inline void (*storeHook)(Word* at, Word value) = nullptr;

// What a test may put in the place of this machine's memory: every access and every fence then goes
// there, with the order that it is made with.
class Memory {
 public:
  virtual void store(Word* at, Word value, std::memory_order order) = 0;
  virtual Word load(Word const* at, std::memory_order order) = 0;
  virtual void fence(std::memory_order order) = 0;
  // Told before a writer reads its own words at a stretch; they come from this machine's memory.
  virtual void aboutToRead(Word const* /*from*/, std::size_t /*words*/) {}

 protected:
  ~Memory() = default;
};
inline Memory* memory = nullptr;
#endif

inline constexpr bool fenceFree = ORU_GLIM_FENCE_FREE != 0;
inline constexpr auto rowStore = fenceFree ? std::memory_order_release : std::memory_order_relaxed;
inline constexpr auto rowLoad = fenceFree ? std::memory_order_acquire : std::memory_order_relaxed;

// All accesses and fences are these three.
template <std::memory_order order>
void store(Word* at, Word value) {
#ifdef ORU_GLIM_STORE_HOOK
  if (storeHook != nullptr) storeHook(at, value);
  if (memory != nullptr) return memory->store(at, value, order);
#endif
  std::atomic_ref<Word>(*at).store(value, order);
}
// A load never writes: the cast only serves atomic_ref, which has no const form before C++26, and
// the memory may be mapped read-only.
template <std::memory_order order>
Word load(Word const* at) {
#ifdef ORU_GLIM_STORE_HOOK
  if (memory != nullptr) return memory->load(at, order);
#endif
  return std::atomic_ref<Word>(*const_cast<Word*>(at)).load(order);
}
template <std::memory_order order>
void fence() {
#ifdef ORU_GLIM_STORE_HOOK
  if (memory != nullptr) return memory->fence(order);
#endif
  std::atomic_thread_fence(order);
}

// A writer reads what nobody else changes without any order, and not through here.
inline void aboutToRead([[maybe_unused]] Word const* from, [[maybe_unused]] std::size_t words) {
#ifdef ORU_GLIM_STORE_HOOK
  if (memory != nullptr) memory->aboutToRead(from, words);
#endif
}

// Marks and everything that publishes something else.
inline void storeRelease(Word* at, Word value) { store<std::memory_order_release>(at, value); }
// The words of a row, between two marks.
inline void storeRow(Word* at, Word value) { store<rowStore>(at, value); }

inline Word loadAcquire(Word const* at) { return load<std::memory_order_acquire>(at); }
inline Word loadRow(Word const* at) { return load<rowLoad>(at); }

// After the mark that opens a half, before its words.
inline void fenceAfterBeginMark() {
  if constexpr (!fenceFree) fence<std::memory_order_release>();
}
// After the words of a half, before the mark is looked at again.
inline void fenceBeforeRecheck() {
  if constexpr (!fenceFree) fence<std::memory_order_acquire>();
}

}  // namespace Words
}  // namespace Glim
