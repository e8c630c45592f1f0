#include "platform/kel/ptr_interface.h"

#include "platform/kel/exceptions.h"
#include "platform/kel/system.h"

namespace Kel {

constinit std::uint8_t VFPtrInterface::enableThreadSafePointers = 0;

void throwNullPtr() { throwRangeException("null ValidPtr"); }

void PtrInterface::maybeDelete() const { delete this; }
NotifieeList const* PtrInterface::notifieeList() const { return nullptr; }
bool PtrInterface::referenceTrackingEnabled() const { return false; }
void PtrInterface::hasNotificationActiveIs(bool active) { flagIs(kActive, active); }
void PtrInterface::zeroReferencesIs(bool) {}
TypeNode const* PtrInterface::fwkType() const { return nullptr; }
PtrInterface::~PtrInterface() = default;

void* PtrInterface::kelMemAlloc(std::size_t size) noexcept { return System::allocate(size); }
void PtrInterface::kelMemFree(void* memory) noexcept { System::release(memory); }

void PtrInterface::flagIs(std::uint32_t bit, bool set) {
  if (VFPtrInterface::enableThreadSafePointers) {
    std::atomic_ref word(_word);
    if (set)
      word.fetch_or(bit, std::memory_order_relaxed);
    else
      word.fetch_and(~bit, std::memory_order_relaxed);
    return;
  }
  _word = set ? _word | bit : _word & ~bit;
}

// noexcept: a teardown that throws ends the process. The dying object keeps one
// reference to itself, so that a Ptr made and dropped by its own teardown does
// not bring it here a second time.
void PtrInterface::handleZeroRef() const noexcept {
  auto* self = const_cast<PtrInterface*>(this);
  self->newRef();
  self->zeroReferencesIs(true);
  self->maybeDelete();
}

}  // namespace Kel
