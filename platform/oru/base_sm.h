// Base of the agent's state machines.
#pragma once

#include <exception>

#include "platform/kel/notifier.h"

namespace Oru {

class OruCommonSmData;

// Holds the common data and the flag `initialized`.
//
// The agent starts a state machine with initializedIs(true), which sets the flag
// and runs handleInitialized() once; only a change counts. Where that throws, the
// flag is as it was before, so that the start can be tried again. A state machine whose
// handleInitialized() sets the flag itself, because it may also be called
// directly, opens an Initializing there; the hook is then not run a second time.
class OruBaseSm : public Kel::Notifier {
 public:
  // Slots, in contract order.
  virtual void handleInitialized() {}
  virtual void initializedIs(bool initialized);
  virtual void kelDoZombieReactors(bool zombie) { kelMarkedForDeletionIs(zombie); }

  bool initialized() const { return _initialized; }
  Kel::Ptr<OruCommonSmData> const& ocsd() const { return _ocsd; }

 protected:
  explicit OruBaseSm(Kel::Ptr<OruCommonSmData> const& ocsd);
  ~OruBaseSm() override;

  // Open while handleInitialized() runs, however it was reached. An exception that ends it takes
  // the flag back.
  class Initializing {
   public:
    explicit Initializing(OruBaseSm& sm)
        : _sm(&sm),
          _outer(sm._initializing),
          _initialized(sm._initialized),
          _exceptions(std::uncaught_exceptions()) {
      sm._initializing = true;
    }
    ~Initializing() {
      _sm->_initializing = _outer;
      if (std::uncaught_exceptions() > _exceptions) _sm->_initialized = _initialized;
    }
    Initializing(Initializing const&) = delete;
    Initializing& operator=(Initializing const&) = delete;

   private:
    Kel::Ptr<OruBaseSm> const _sm;  // a handler may remove it from where it is kept
    bool const _outer;
    bool const _initialized;
    int const _exceptions;
  };

 private:
  Kel::Ptr<OruCommonSmData> const _ocsd;
  bool _initialized = false;
  bool _initializing = false;
};

}  // namespace Oru
