// Clears counters as the command line asks for it: what was counted up to now is shown no more, and
// what comes after it is.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "agent/tables.h"
#include "platform/kel/ptr_interface.h"
#include "platform/oru/hw_cli_config.h"

namespace Agent {

class Clearing {
 public:
  // The time of the activity's clock: what was sampled before it was not polled for the clear.
  using Now = std::function<Kel::Seconds()>;

  // The tables must outlive it. `counters` is reached by name alone.
  Clearing(Kel::Ptr<Kel::PtrInterface> const& counters, Kel::Ptr<Oru::HwCliConfig> const& requests,
           Tables const& tables, Now now);

  // Both poll first, and then clear, so that traffic before the call is not shown as traffic after
  // it. REQUIRES: the activity's clock was brought to the present since the request for it came; a
  // chip may answer from one reading as long as the clock stands.
  //
  // Rows of interfaces that went, and are kept, are cleared just as well.
  //
  // Throw ControlError: unknownInterface where a name is not that of an interface with a row, and
  // nothing was cleared; failed where not all could be.

  // Answers how many there are.
  std::size_t all();
  // Names of interfaces, no patterns. Answers them in the order given, each once.
  std::vector<std::string> these(std::vector<std::string> const& names);

 private:
  void poll(Pekt::IntfId const& intfId);
  void requireCleared(Pekt::IntfId const& intfId) const;

  Kel::Ptr<Kel::PtrInterface> const _counters;
  Kel::Ptr<Oru::HwCliConfig> const _requests;
  Tables const& _tables;
  Now const _now;
};

}  // namespace Agent
