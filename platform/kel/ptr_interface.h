// Reference-counted objects and the strong pointer to them.
//
// Every shared object (state machine, reactor, entity, helper, table) derives
// from Kel::PtrInterface and is held by Kel::Ptr:
//
//   auto config = Kel::make<Oru::HwCliConfig>();      // Kel::Ptr<Oru::HwCliConfig>
//   Kel::Ptr<Oru::HwCliConfig const> input = config;  // the form in which inputs are held
//
// The count of a new object starts at one. That reference is its creator's and
// is taken over by Ptr::adopt, so a constructor may hand out Ptrs to `this`.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace Kel {

class NotifieeList;
class TypeNode;

struct VFPtrInterface {
  // While set, every change of a reference count or flag is an atomic
  // read-modify-write; while clear, a plain one. Set it before a second thread
  // touches any object.
  static std::uint8_t enableThreadSafePointers;
};

// Base of every shared object. One word holds the reference count, below 2^29,
// and two flags: bit 31 marks a zombie, bit 29 active notification.
class PtrInterface {
 public:
  class NotifieeConst;

  PtrInterface(PtrInterface const&) = delete;
  PtrInterface& operator=(PtrInterface const&) = delete;

  // The order of these slots is part of the contract.
  virtual void maybeDelete() const;
  virtual NotifieeList const* notifieeList() const;
  virtual bool referenceTrackingEnabled() const;
  virtual void hasNotificationActiveIs(bool active);
  // Called with true when the last reference has gone and the object is still
  // whole, so that virtual calls reach the leaf class. Teardown belongs here.
  virtual void zeroReferencesIs(bool zero);
  virtual TypeNode const* fwkType() const;
  virtual ~PtrInterface();

  bool hasNotificationActive() const { return (word() & kActive) != 0; }
  bool kelMarkedForDeletion() const { return static_cast<std::int32_t>(word()) < 0; }
  void kelMarkedForDeletionIs(bool marked) { flagIs(kZombie, marked); }
  std::uint32_t references() const { return word() & kCount; }

  void newRef() const { add(1); }
  void deleteRef() const {
    if ((add(~std::uint32_t{0}) & kCount) == 0) handleZeroRef();
  }

  // Where objects live. kelMemAlloc answers null when there is no memory;
  // Kel::instance and Kel::make turn that into the range error "null ValidPtr".
  static void* kelMemAlloc(std::size_t size) noexcept;
  static void kelMemFree(void* memory) noexcept;
  static void* operator new(std::size_t size) noexcept { return kelMemAlloc(size); }
  static void operator delete(void* memory) noexcept { kelMemFree(memory); }

 protected:
  PtrInterface() = default;

 private:
  static constexpr std::uint32_t kZombie = 0x80000000u;
  static constexpr std::uint32_t kActive = 0x20000000u;
  static constexpr std::uint32_t kCount = 0x5fffffffu;

  std::uint32_t word() const { return std::atomic_ref(_word).load(std::memory_order_relaxed); }
  // Returns the new word. Release on the way down orders the last use of the
  // object before its destruction by whichever thread drops the last reference.
  std::uint32_t add(std::uint32_t n) const {
    if (VFPtrInterface::enableThreadSafePointers)
      return std::atomic_ref(_word).fetch_add(n, std::memory_order_acq_rel) + n;
    return _word += n;
  }
  void flagIs(std::uint32_t bit, bool set);
  void handleZeroRef() const noexcept;

  mutable std::uint32_t _word = 1;
};

[[noreturn]] void throwNullPtr();  // the range error "null ValidPtr"

// Strong pointer. Following a null Ptr is the range error "null ValidPtr",
// never undefined behaviour.
template <class T>
class Ptr {
 public:
  Ptr() = default;
  Ptr(std::nullptr_t) {}
  explicit Ptr(T* object) : _object(object) {
    if (_object) _object->newRef();
  }
  Ptr(Ptr const& other) : Ptr(other._object) {}
  Ptr(Ptr&& other) noexcept : _object(std::exchange(other._object, nullptr)) {}
  template <class U>
  requires std::is_convertible_v<U*, T*> Ptr(Ptr<U> const& other)
      : Ptr(static_cast<T*>(other.get())) {}
  ~Ptr() {
    if (_object) _object->deleteRef();
  }
  Ptr& operator=(Ptr other) noexcept {
    std::swap(_object, other._object);
    return *this;
  }

  // Takes over the reference that a new object starts with.
  static Ptr adopt(T* object) {
    Ptr p;
    p._object = object;
    return p;
  }

  T* get() const { return _object; }
  T* operator->() const { return &**this; }
  T& operator*() const {
    if (!_object) throwNullPtr();
    return *_object;
  }
  explicit operator bool() const { return _object != nullptr; }
  template <class U>
  bool operator==(Ptr<U> const& other) const {
    return _object == other.get();
  }
  bool operator==(std::nullptr_t) const { return _object == nullptr; }

 private:
  T* _object = nullptr;
};

// Makes an entity, table or helper: anything that is not a state machine.
template <class T, class... Args>
Ptr<T> make(Args&&... args) {
  auto made = Ptr<T>::adopt(new T(std::forward<Args>(args)...));
  if (!made) throwNullPtr();
  return made;
}

}  // namespace Kel
