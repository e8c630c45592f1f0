// The VLANs of the bridge that this machine's kernel is: tells the agent's VLANs which there are.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "agent/event_loop.h"
#include "agent/options.h"
#include "agent/vlans.h"
#include "hardware/linux/bridge_monitor.h"
#include "hardware/linux/vlan_counters_helper.h"

namespace Agent {

class KernelVlans {
 public:
  struct Parts {
    std::unique_ptr<Hardware::Linux::BridgeSource> bridges;
    Kel::Ptr<Hardware::Linux::VlanCountersHelper> helper;
  };
  // Those of this machine; the counts' offsets are kept in a table of their own.
  static Parts kernelParts(VlanOptions const& options, Tables& tables,
                           Kel::Ptr<Kel::Clock> const& clock);

  // REQUIRES: every part is given. `vlans` must outlive it.
  KernelVlans(VlanOptions const& options, Parts parts, Vlans& vlans);

  Kel::Ptr<Hardware::Linux::VlanCountersHelper> const& helper() const { return _helper; }
  void start(EventLoop& loop);
  void turn();
  // Whether the VLANs that there are were told: the bridges could be listed once.
  bool areTold() const { return !_isFirst; }
  void retellRefused();

 private:
  using Bridge = Hardware::Linux::Bridge;

  void takeNews();
  void follow();
  void dropStrangers();
  void describe(Bridge const& bridge);
  bool isCounted(Bridge const& bridge);
  void drop(Bridging::VlanId vlanId);

  VlanOptions const _options;
  Vlans& _vlans;
  std::unique_ptr<Hardware::Linux::BridgeSource> const _bridges;
  Kel::Ptr<Hardware::Linux::VlanCountersHelper> const _helper;
  EventLoop* _loop = nullptr;
  bool _isWatching = false;
  bool _isFirst = true;
  bool _newsIsDue = false;  // the last try to read it failed
  bool _offsetsFail = false;
  std::map<Bridging::VlanId, Bridging::VlanDescription> _told;  // to the VLANs
  SayOnce _sayOnce;
};

}  // namespace Agent
