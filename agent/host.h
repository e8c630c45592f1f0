// The host of the library: what it watches and writes, made and put together; and the agent's
// turn, which keeps it running.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "agent/chip.h"
#include "agent/clock_driver.h"
#include "agent/control_plane.h"
#include "agent/control_server.h"
#include "agent/link_names.h"
#include "agent/log.h"
#include "agent/options.h"
#include "agent/vlans.h"
#include "counters/counters_sm.h"

namespace Agent {

class Host {
 public:
  // Another chip than that of the options.
  using ChipMaker = std::function<std::unique_ptr<Chip>(Tables&, Interfaces&, Vlans&)>;

  // Takes the tables over; nothing else happens yet. Throws the Dov family as Tables does.
  explicit Host(Options const& options, ClockDriver::Steady steady = &ClockDriver::sinceBoot,
                Glim::TableLimits const& limits = {}, ChipMaker const& chipMaker = {});
  // Ends the pollers. Rows stay as they are.
  ~Host();

  // Takes in the interfaces that there are, cleans up after an agent before, and starts the
  // library. Throws std::system_error when the machine does not say what interfaces it has. The
  // loop must outlive the host.
  void start(EventLoop& loop);

  // "3 interfaces into /dev/shm/oru-counters, every 2 s". REQUIRES: it has started
  std::string counting() const;
  // There is no interface at all, not even one for which there is no room.
  bool countsNothing() const;

  // Everything that is due; answers in how many seconds it wants to be called again. Throws
  // TableLost.
  Kel::Seconds turn();

 private:
  void clockWasSetBy(Kel::Seconds step);
  void pollNews();
  void pollNow(Pekt::IntfId const& intfId);
  void startVlans();
  ControlDispatcher controlRequests();
  void retryRefused();
  void askForUnsupported();
  void askForQueues();
  void askForQueues(Pekt::IntfId const& intfId, std::string& failure);
  void beat();
  void keepControl();

  std::string const _directory;
  Kel::Seconds const _period;
  Kel::Ptr<Kel::Clock> const _clock;
  InterfaceEntities const _entities;
  ControlPlane _controlPlane;
  Tables _tables;
  Interfaces _interfaces;
  Vlans _vlans;
  LinkNames const _names;
  std::unique_ptr<Chip> const _chip;
  ClockDriver::Steady const _steady;
  ClockDriver _clockDriver;
  bool _clockWasSet = false;
  Kel::Seconds _lastBeat = 0.0;
  Kel::Seconds _lastValidation = 0.0;
  std::optional<Kel::Seconds> _lastRetry;
  bool _refusedIntfsTold = false;
  bool _refusedVlansTold = false;
  std::set<Pekt::IntfId> _unsupportedDue;
  std::optional<Kel::Seconds> _lastAsked;
  std::optional<Kel::Seconds> _queuesLastAsked;
  SayOnce _sayUnanswered, _sayQueuesUnanswered;
  Kel::Ptr<Oru::HwCliConfig> const _cliRequests = Kel::make<Oru::HwCliConfig>();
  Kel::Ptr<Oru::Counters::CountersSm> _counters;
  EventLoop* _loop = nullptr;               // once it has started
  std::unique_ptr<ControlServer> _control;  // none: the socket could not be made
  bool _controlFails = false;
};

}  // namespace Agent
