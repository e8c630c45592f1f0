// A reader that is held up in the middle of looking, for as long as it takes a writer to work, to
// be killed, and the next one to take the table.
#pragma once

#include "tests/platform/glim/crash/trial.h"

namespace GlimCrash {

// The plain memory of this machine.
class PlainMemory : public Glim::Words::Memory {
 public:
  void store(Glim::Word* at, Glim::Word value, std::memory_order order) override {
    std::atomic_ref<Glim::Word>(*at).store(value, order);
  }
  Glim::Word load(Glim::Word const* at, std::memory_order order) override {
    return std::atomic_ref<Glim::Word>(*const_cast<Glim::Word*>(at)).load(order);
  }
  void fence(std::memory_order order) override { std::atomic_thread_fence(order); }

 protected:
  ~PlainMemory() = default;
};

// Holds the reader up at each fifth of its loads, others for each step at which the writer is
// killed. What it finds must be of one of the states, each row for itself. Ends at the first
// trouble.
Enumeration holdReadersUp(Scenario const& scenario);

}  // namespace GlimCrash
