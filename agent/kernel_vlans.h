// The VLANs of the bridge that this machine's kernel is: tells the agent's VLANs which there are.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "agent/event_loop.h"
#include "agent/options.h"
#include "agent/vlans.h"
#include "hardware/linux/bridge_monitor.h"
#include "hardware/linux/vlan_counters_helper.h"

namespace Agent {

class KernelVlans {
 public:
  // Keeps its counts' offsets in a table of its own. What it is given by reference must outlive it.
  KernelVlans(VlanOptions const& options, Tables& tables, Vlans& vlans,
              Kel::Ptr<Kel::Clock> const& clock);

  Kel::Ptr<Hardware::Linux::VlanCountersHelper> const& helper() const { return _helper; }
  void start(EventLoop& loop);
  void turn();

 private:
  using Bridge = Hardware::Linux::Bridge;

  void takeNews();
  void follow();
  void dropStrangers();
  void describe(Bridge const& bridge);
  bool isCounted(Bridge const& bridge);
  void drop(Bridging::VlanId vlanId);
  void tellOnce(std::string const& about);

  VlanOptions const _options;
  Vlans& _vlans;
  Kel::Ptr<Kel::Clock> const _clock;
  Kel::Ptr<Hardware::Linux::VlanCountersHelper> const _helper;
  Hardware::Linux::BridgeMonitor _monitor;
  EventLoop* _loop = nullptr;
  bool _isWatching = false;
  bool _isFirst = true;
  bool _newsIsDue = false;  // the last try to read it failed
  bool _offsetsFail = false;
  std::map<Bridging::VlanId, Bridging::VlanDescription> _told;  // to the VLANs
  bool _refused = false;                                        // some, for want of room
  std::optional<Kel::Seconds> _lastTry;
  std::string _toldOperator;
};

}  // namespace Agent
